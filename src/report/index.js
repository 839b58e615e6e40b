'use strict';
(() => {
  const at = (id) => document.getElementById(id);
  const body = at('images').tBodies[0];
  const rows = [...body.rows];  // in their own order, by subject and image
  const heads = [...document.querySelectorAll('#images thead th')];
  const words = rows.map((row) =>
      [...row.cells[2].childNodes].find((part) => part.nodeType === Node.TEXT_NODE).data.toLowerCase());
  const subjects = rows.map((row) => row.cells[0].textContent);
  const number = (cell) => parseFloat(cell.textContent);
  const given = (id) => at(id).value === '' ? NaN : Number(at(id).value);

  const isWanted = (row, n) => {
    const word = at('find').value.trim().toLowerCase().replace(/^sub-/, '');
    if (word && !words[n].includes(word) && !subjects[n].toLowerCase().includes(word)) return false;
    const session = at('session')?.value;
    if (session && row.cells[1].textContent !== session) return false;
    const verdict = at('verdict').value;
    if (verdict === 'outlier' ? !row.classList.contains('outlier')
                              : verdict && row.cells[3].textContent !== verdict) return false;
    if (at('outliers').checked && !row.classList.contains('outlier')) return false;
    const figure = at('figure').value;
    if (figure === '') return true;
    const value = number(row.cells[figure]), least = given('least'), most = given('most');
    return !Number.isNaN(value) && !(value < least) && !(value > most);
  };

  const show = () => {
    let shown = 0;
    rows.forEach((row, n) => {
      row.hidden = !isWanted(row, n);
      shown += row.hidden ? 0 : 1;
    });
    at('count').textContent = `${shown} of ${rows.length} ${rows.length === 1 ? 'image' : 'images'}`;
  };

  // What is no number stands last in either direction.
  const compare = (a, b, sign) => {
    if (Number.isNaN(a.number) && Number.isNaN(b.number)) {
      if (a.text === '' || b.text === '') return (a.text === '') - (b.text === '');
      return sign * a.text.localeCompare(b.text, undefined, { numeric: true });
    }
    if (Number.isNaN(a.number) || Number.isNaN(b.number))
      return Number.isNaN(a.number) - Number.isNaN(b.number);
    return sign * (a.number - b.number);
  };

  const sort = () => {
    const column = at('sort').value;
    const falling = at('order').getAttribute('aria-pressed') === 'true';
    const sign = falling ? -1 : 1;
    const isText = heads[column]?.dataset.text !== undefined;
    const keys = rows.map((row, n) => {
      const cell = column === '' ? undefined : row.cells[column];
      return { row, n, text: cell?.textContent ?? '', number: cell && !isText ? number(cell) : NaN };
    });
    keys.sort((a, b) => (column === '' ? sign * (a.n - b.n) : compare(a, b, sign)) || a.n - b.n);
    body.replaceChildren(...keys.map((key) => key.row));
    heads.forEach((head, n) => head.setAttribute('aria-sort',
        String(n) !== column ? 'none' : falling ? 'descending' : 'ascending'));
  };

  const press = (button, down) => button.setAttribute('aria-pressed', String(down));
  at('images').tHead.addEventListener('click', (event) => {
    const button = event.target.closest('[data-column]');
    if (!button) return;
    const again = at('sort').value === button.dataset.column;
    press(at('order'), again && at('order').getAttribute('aria-pressed') !== 'true');
    at('sort').value = button.dataset.column;
    sort();
  });
  at('order').addEventListener('click', () => {
    press(at('order'), at('order').getAttribute('aria-pressed') !== 'true');
    sort();
  });
  at('sort').addEventListener('change', sort);
  const form = document.querySelector('.filters');
  form.addEventListener('input', show);
  form.addEventListener('submit', (event) => event.preventDefault());
  form.hidden = false;
  show();
})();

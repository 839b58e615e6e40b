// Opens the index of a dataset in headless Chromium and says what it finds, as JSON on standard
// output. Usage: node indexbrowser.mjs CHROMIUM PAGE PROFILE [FOLDER FOR SCREENSHOTS]
import { writeFileSync } from 'node:fs';

import { accessibility, keyboard, sayOf } from './chromium.mjs';

const pictures = process.argv[5];

// Runs in the page.
const wider = () => [...document.querySelectorAll('main *')]
    .filter((element) => !element.closest('.unseen, thead, option') &&
                         element.getBoundingClientRect().right > document.documentElement.clientWidth + 1)
    .map((element) => `${element.tagName} ${element.id} ${element.textContent.slice(0, 40)}`);
const overlaps = () => {
  const boxes = [...document.querySelectorAll('.filters > *, .counts > *, tbody tr:nth-child(-n+3) > *')]
      .map((element) => ({ element, box: element.getBoundingClientRect() }));
  return boxes.flatMap((a, n) => boxes.slice(n + 1)
      .filter((b) => a.box.left < b.box.right - 1 && b.box.left < a.box.right - 1 &&
                     a.box.top < b.box.bottom - 1 && b.box.top < a.box.bottom - 1)
      .map((b) => `${a.element.textContent} over ${b.element.textContent}`));
};

await sayOf(process.argv.slice(2, 5), async (opened) => {
  const { tell, value, resize, press } = opened;
  const seen = {};
  seen.processorMs = await opened.processorMs();
  seen.loadMs = await value(
      `performance.getEntriesByType('navigation')[0].loadEventEnd -
       performance.getEntriesByType('navigation')[0].startTime`);
  seen.thumbnails = await value(`document.querySelectorAll('#images img[src^="data:image/png;base64,"]').length`);
  seen.decoded = await value(`[...document.images].filter((i) => i.complete && i.naturalWidth).length`);
  const count = () => value(`document.getElementById('count').textContent`);
  seen.start = await count();

  // By keyboard alone: tab to the search, type, and to a title of the table, press it.
  await value(`document.body.focus()`);
  let steps = 0;
  const isAt = (test) => value(`Boolean(document.activeElement?.matches('${test}'))`);
  while (steps < 40 && !await isAt('#find')) {
    await press('Tab', 'Tab');
    ++steps;
  }
  for (const letter of 'sub-007') await tell('Input.dispatchKeyEvent', { type: 'char', text: letter });
  seen.found = await count();
  const shown = () => value(`[...document.querySelectorAll('tbody tr')].filter((r) => !r.hidden)
      .map((r) => r.cells[0].textContent + ' ' + r.cells[4].textContent).slice(0, 3).join(', ')`);
  seen.foundRows = await shown();
  const set = (id, to) => value(`(() => { const e = document.getElementById('${id}');
      if (!e) return;
      if (e.type === 'checkbox') e.checked = ${JSON.stringify(to)}; else e.value = ${JSON.stringify(to)};
      e.dispatchEvent(new Event('input', { bubbles: true }));
      e.dispatchEvent(new Event('change', { bubbles: true })); })()`);
  await set('find', '');
  while (steps < 40 && !await isAt('[data-column="4"]')) {
    await press('Tab', 'Tab');
    ++steps;
  }
  seen.tabs = steps;
  const sorted = () => value(`document.querySelectorAll('thead th')[4].getAttribute('aria-sort')`);
  await press(' ', 'Space', ' ');
  seen.rising = [await sorted(), await shown()];
  await press(' ', 'Space', ' ');
  seen.falling = [await sorted(), await shown()];
  await set('sort', '');
  for (const [id, to] of [['verdict', 'doubtful'], ['session', 'b'], ['outliers', true]]) {
    await set(id, to);
    seen[id] = await count();
    await set(id, to === true ? false : '');
  }
  await set('figure', '4');
  await set('least', '20');
  await set('most', '30');
  seen.figure = await count();
  for (const id of ['figure', 'least', 'most']) await set(id, '');
  seen.end = await count();

  seen.sizes = {};
  for (const width of [360, 1000, 1600]) {
    await resize(width);
    seen.sizes[width] = {
      scrolls: await value(`document.documentElement.scrollWidth - document.documentElement.clientWidth`),
      wider: JSON.parse(await value(`JSON.stringify((${wider})().slice(0, 9))`)),
      overlaps: JSON.parse(await value(`JSON.stringify((${overlaps})().slice(0, 9))`)),
    };
    if (!pictures) continue;
    const { data } = await tell('Page.captureScreenshot', {});
    writeFileSync(`${pictures}/index-${width}.png`, Buffer.from(data, 'base64'));
  }
  seen.unnamed = await value(`[...document.querySelectorAll('input, select')]
      .filter((e) => !e.labels.length || !e.labels[0].textContent.trim()).length +
    [...document.querySelectorAll('button, a')].filter((b) => !b.textContent.trim()).length`);
  seen.accessibility = await accessibility(opened);
  // Of thousands of links a few tell as much.
  await set('find', 'sub-00');
  seen.keyboard = await keyboard(opened);
  return seen;
});

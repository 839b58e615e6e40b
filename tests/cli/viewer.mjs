// Goes through the images of a report's viewer in headless Chromium and says what it reads there,
// as JSON on standard output.
// Usage: node viewer.mjs CHROMIUM PAGE PROFILE [without]
import { accessibility, keyboard, layoutAt, sayOf, software3d } from './chromium.mjs';

const flags = process.argv[5] === 'without' ? ['--disable-3d-apis'] : software3d;
await sayOf([...process.argv.slice(2, 5), 1600, flags], async (opened) => {
  const { tell, value, until } = opened;
  await value(`document.getElementById('viewer').scrollIntoView()`);
  const state = `document.getElementById('viewer').dataset.state`;
  await until('viewer', () => value(`${state} !== undefined`));
  const said = { state: await value(state), reads: [], windows: [] };

  const part = (name) => `document.querySelector('[data-part="${name}"]')`;
  const read = async (how) => said.reads.push({
    how, ...JSON.parse(await value(`JSON.stringify({
      image: document.querySelector('#viewer input:checked').parentElement.textContent.trim(),
      voxel: ${part('voxel')}.value.split(', ').map(Number), value: ${part('value')}.value,
      field: ${part('field')}?.value, displacement: ${part('displacement')}.value,
      place: ${part('place')}?.value, slices: ['sagittal', 'coronal', 'axial'].map(
          (name) => document.querySelector(\`[data-part="\${name}"]\`).value) })`)) });
  const press = async (key) => {
    for (const type of ['keyDown', 'keyUp'])
      await tell('Input.dispatchKeyEvent', { type, key, code: key, windowsVirtualKeyCode:
          { ArrowLeft: 37, ArrowUp: 38, ArrowRight: 39, ArrowDown: 40, PageUp: 33, PageDown: 34 }[key] });
  };
  const box = async () => JSON.parse(await value(`(() => {
    ${part('canvas')}.scrollIntoView({ block: 'center' });
    const { left, top, width, height } = ${part('canvas')}.getBoundingClientRect();
    return JSON.stringify({ x: left, y: top, width, height });
  })()`));
  const picture = async () => {
    const { x, y, width, height } = await box();
    const offset = JSON.parse(await value(`JSON.stringify([scrollX, scrollY])`));
    return (await tell('Page.captureScreenshot',
        { clip: { x: x + offset[0], y: y + offset[1], width, height, scale: 1 } })).data;
  };

  if (said.state === 'ready') {
    await read('start');
    const count = await value(`document.querySelectorAll('#viewer input[type="radio"]').length`);
    for (let n = 0; n < count; ++n) {
      const radio = `document.querySelectorAll('#viewer input[type="radio"]')[${n}]`;
      await value(`${radio}.click()`);
      await until('image', () => value(`document.getElementById('viewer').dataset.shown === ${radio}.value`));
      await read('chosen');
      said.windows.push(JSON.parse(await value(`JSON.stringify([
          document.getElementById('viewer').dataset.window,
          ${radio}.dataset.low + ' ' + ${radio}.dataset.high])`)));
    }
    await value(`${part('canvas')}.focus()`);
    for (const key of ['ArrowLeft', 'ArrowLeft', 'ArrowUp', 'PageUp']) await press(key);
    await read('arrows');
    await value(`${part('axial')}.focus()`);
    await press('ArrowRight');
    await read('slider');
    const shown = await box();
    // A quarter of the way in: a place in the head, in one of the slices.
    const at = { x: shown.x + 0.25 * shown.width, y: shown.y + 0.3 * shown.height };
    await tell('Input.dispatchMouseEvent', { type: 'mouseMoved', ...at });
    await read('hover');
    await tell('Input.dispatchMouseEvent', { type: 'mousePressed', button: 'left', clickCount: 1, ...at });
    await tell('Input.dispatchMouseEvent', { type: 'mouseReleased', button: 'left', clickCount: 1, ...at });
    await tell('Input.dispatchMouseEvent', { type: 'mouseMoved', x: 1, y: 1 });
    await read('click');
    await tell('Input.dispatchMouseEvent', { type: 'mouseWheel', deltaX: 0, deltaY: 100, ...at });
    await until('wheel', async () => await value(`${part('voxel')}.value`) !== said.reads.at(-1).voxel.join(', '));
    await read('wheel');
    await tell('Emulation.setTouchEmulationEnabled', { enabled: true });
    const touched = { x: at.x + 0.05 * shown.width, y: at.y };
    await tell('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: [touched] });
    await tell('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
    await tell('Emulation.setTouchEmulationEnabled', { enabled: false });
    await read('touch');
    for (const name of ['sagittal', 'coronal', 'axial'])
      await value(`${part(name)}.value = 0, ${part(name)}.dispatchEvent(new Event('input'))`);
    await read('corner');
    await value(`document.querySelector('#viewer input[type="radio"]').click()`);
    await until('image', () => value(`document.getElementById('viewer').dataset.shown === 'viewer-image-0'`));
    await read('corner');
    const coloured = await picture();
    await value(`${part('opacity')}.value = 0, ${part('opacity')}.dispatchEvent(new Event('input'))`);
    said.colours = coloured !== await picture();
  }
  said.sizes = await layoutAt(opened, [360, 1600],
      'main > section, .choices, .sliders label, .canvas, .readout > div');
  said.pictures = await value(`[...document.images].filter((i) => i.complete && i.naturalWidth).length`);
  said.accessibility = await accessibility(opened);
  said.keyboard = await keyboard(opened);
  return said;
});

// Opens a page in headless Chromium and says what it finds, as JSON on standard output.
// Usage: node browser.mjs CHROMIUM PAGE PROFILE
import { accessibility, keyboard, layoutAt, sayOf } from './chromium.mjs';

await sayOf(process.argv.slice(2, 5), async (opened) => {
  const { tell, value } = opened;

  const shown = `getComputedStyle(document.querySelector('.pictures .before')).visibility`;
  const place = async () => JSON.parse(await value(`(() => {
    const stage = document.querySelector('.pictures .stage');
    stage.scrollIntoView({ block: 'center' });
    const box = stage.getBoundingClientRect();
    return JSON.stringify({ x: box.left + box.width / 2, y: box.top + box.height / 2,
                            clip: { x: box.left + scrollX, y: box.top + scrollY,
                                    width: box.width, height: box.height, scale: 1 } });
  })()`));
  const picture = async (clip) => (await tell('Page.captureScreenshot', { clip })).data;
  const at = await place();
  const states = { start: await value(shown) };
  const before = await picture(at.clip);
  await tell('Input.dispatchMouseEvent', { type: 'mouseMoved', x: at.x, y: at.y });
  states.hovered = await value(shown);
  const hovered = await picture(at.clip);
  await tell('Input.dispatchMouseEvent', { type: 'mouseMoved', x: 1, y: 1 });
  states.left = await value(shown);

  // By keyboard alone: the first button has the focus after one step.
  await value(`document.querySelector('[data-do="flip"]').focus()`);
  const press = () => opened.press(' ', 'Space', ' ');
  await press();
  states.pressed = await value(shown);
  await press();
  states.released = await value(shown);

  const sizes = await layoutAt(opened, [360, 1600], 'main > section, .card, .view, .chart');
  const unnamed = await value(`[...document.querySelectorAll('img:not([alt]), img[alt=""]')].length +
    [...document.querySelectorAll('button')].filter((b) => !b.textContent.trim()).length`);
  const broken = await value(`[...document.images].filter((i) => !i.complete || !i.naturalWidth).length`);
  return { states, pictureChanged: before !== hovered, sizes, unnamed, broken,
           accessibility: await accessibility(opened), keyboard: await keyboard(opened) };
});

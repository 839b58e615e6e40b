// Opens a page in headless Chromium and says what it finds, as JSON on standard output.
// Usage: node browser.mjs CHROMIUM PAGE PROFILE
import { open } from './chromium.mjs';

const [chromium, page, profile] = process.argv.slice(2);

// Runs in the page.
const overlaps = () => {
  const boxes = [...document.querySelectorAll('main > section, .card, .view, .chart')]
      .map((element) => ({ element, box: element.getBoundingClientRect() }));
  const found = [];
  for (const a of boxes)
    for (const b of boxes) {
      if (a === b || a.element.contains(b.element) || b.element.contains(a.element)) continue;
      if (a.box.left < b.box.right - 1 && b.box.left < a.box.right - 1 &&
          a.box.top < b.box.bottom - 1 && b.box.top < a.box.bottom - 1)
        found.push(`${a.element.className} over ${b.element.className}`);
    }
  return found;
};
const wider = () => [...document.querySelectorAll('main *')]
    .filter((element) => !element.closest('.unseen, thead, svg') &&
                         element.getBoundingClientRect().right > document.documentElement.clientWidth + 1)
    .map((element) => `${element.tagName} ${element.className}`);

let opened;
try {
  opened = await open(chromium, page, profile);
  const { tell, value, resize } = opened;
  const sizes = {};

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

  for (const width of [360, 1600]) {
    await resize(width);
    sizes[width] = {
      scrolls: await value(`document.documentElement.scrollWidth - document.documentElement.clientWidth`),
      overlaps: JSON.parse(await value(`JSON.stringify((${overlaps})())`)),
      wider: JSON.parse(await value(`JSON.stringify((${wider})())`)),
    };
  }
  const unnamed = await value(`[...document.querySelectorAll('img:not([alt]), img[alt=""]')].length +
    [...document.querySelectorAll('button')].filter((b) => !b.textContent.trim()).length`);
  const requests = opened.requests();
  const errors = opened.errors();
  const broken = await value(`[...document.images].filter((i) => !i.complete || !i.naturalWidth).length`);
  console.log(JSON.stringify(
      { states, pictureChanged: before !== hovered, sizes, unnamed, broken, requests, errors }, null, 1));
  await opened.end();
} catch (error) {
  console.log(JSON.stringify({ failed: String(error) }));
} finally {
  opened?.kill();
}
process.exit(0);

// Opens a page in headless Chromium and says what it finds, as JSON on standard output.
// Usage: node browser.mjs CHROMIUM PAGE PROFILE
import { spawn } from 'node:child_process';
import { pathToFileURL } from 'node:url';

const [chromium, page, profile] = process.argv.slice(2);
const browser = spawn(
    chromium,
    [
      '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync',
      `--user-data-dir=${profile}`, '--remote-debugging-pipe', 'about:blank',
    ],
    { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] });

// The protocol over pipes: messages end with a zero byte.
const waiting = new Map();
const events = [];
let last = 0;
let rest = '';
browser.stdio[4].setEncoding('utf8').on('data', (data) => {
  const parts = (rest + data).split('\0');
  rest = parts.pop();
  for (const part of parts) {
    const message = JSON.parse(part);
    if (message.id) waiting.get(message.id)(message);
    else events.push(message);
  }
});
const send = (method, params = {}, sessionId = undefined) => new Promise((done, fail) => {
  waiting.set(++last, (message) => message.error ? fail(new Error(message.error.message))
                                                 : done(message.result));
  browser.stdio[3].write(JSON.stringify({ id: last, method, params, sessionId }) + '\0');
});
const until = async (method) => {
  for (let n = 0; n < 600; ++n) {
    if (events.some((event) => event.method === method)) return;
    await new Promise((done) => setTimeout(done, 50));
  }
  throw new Error(`no ${method}`);
};

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

try {
  const { targetInfos } = await send('Target.getTargets');
  const { targetId } = targetInfos.find((target) => target.type === 'page');
  const { sessionId } = await send('Target.attachToTarget', { targetId, flatten: true });
  const tell = (method, params) => send(method, params, sessionId);
  const value = async (expression) => {
    const { result, exceptionDetails } =
        await tell('Runtime.evaluate', { expression, returnByValue: true });
    if (exceptionDetails) throw new Error(exceptionDetails.exception?.description ?? expression);
    return result.value;
  };
  const sizes = {};
  for (const domain of ['Page', 'Runtime', 'Network', 'Log']) await tell(`${domain}.enable`);
  const resize = (width) => tell('Emulation.setDeviceMetricsOverride',
      { width, height: 900, deviceScaleFactor: 1, mobile: false });
  await resize(1600);
  await tell('Page.navigate', { url: pathToFileURL(page).href });
  await until('Page.loadEventFired');

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
  const press = async () => {
    for (const type of ['keyDown', 'keyUp'])
      await tell('Input.dispatchKeyEvent',
          { type, key: ' ', code: 'Space', text: ' ', windowsVirtualKeyCode: 32 });
  };
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
  const requests = events.filter((event) => event.method === 'Network.requestWillBeSent')
      .map((event) => event.params.request.url)
      .filter((url) => !url.startsWith('data:') && url !== pathToFileURL(page).href);
  const errors = events
      .filter((event) => event.method === 'Runtime.exceptionThrown' ||
                         (event.method === 'Log.entryAdded' && event.params.entry.level === 'error') ||
                         (event.method === 'Runtime.consoleAPICalled' && event.params.type === 'error'))
      .map((event) => JSON.stringify(event.params).slice(0, 300));
  const broken = await value(`[...document.images].filter((i) => !i.complete || !i.naturalWidth).length`);
  console.log(JSON.stringify(
      { states, pictureChanged: before !== hovered, sizes, unnamed, broken, requests, errors }, null, 1));
  await send('Browser.close').catch(() => {});
} catch (error) {
  console.log(JSON.stringify({ failed: String(error) }));
} finally {
  browser.kill();
}
process.exit(0);

// A page in headless Chromium, driven by the remote-debugging protocol over pipes.
import { spawn } from 'node:child_process';
import { pathToFileURL } from 'node:url';

// WebGL without a graphics card.
export const software3d = [
  '--use-gl=angle', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--ignore-gpu-blocklist',
];

const open = async (chromium, page, profile, width = 1600, flags = ['--disable-gpu']) => {
  const browser = spawn(
      chromium,
      [
        '--headless', '--no-sandbox', '--disable-quic', '--no-first-run',
        '--disable-background-networking', '--disable-component-update', '--disable-sync',
        ...flags, `--user-data-dir=${profile}`, '--remote-debugging-pipe', 'about:blank',
      ],
      { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] });

  // Messages end with a zero byte.
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
  const until = async (what, holds) => {
    for (let n = 0; n < 600; ++n) {
      if (await holds()) return;
      await new Promise((done) => setTimeout(done, 50));
    }
    throw new Error(`no ${what}`);
  };

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
  const resize = (to) => tell('Emulation.setDeviceMetricsOverride',
      { width: to, height: 900, deviceScaleFactor: 1, mobile: false });
  for (const domain of ['Page', 'Runtime', 'Network', 'Log']) await tell(`${domain}.enable`);
  // Of its thread alone, whatever else the machine does.
  await tell('Performance.enable', { timeDomain: 'threadTicks' });
  await resize(width);
  const address = pathToFileURL(page).href;
  await tell('Page.navigate', { url: address });
  await until('load', () => events.some((event) => event.method === 'Page.loadEventFired'));

  return {
    tell, value, until, resize,
    processorMs: async () => 1000 * (await tell('Performance.getMetrics')).metrics
        .find((metric) => metric.name === 'TaskDuration').value,
    press: async (key, code, text) => {
      for (const type of ['keyDown', 'keyUp'])
        await tell('Input.dispatchKeyEvent',
            { type, key, code, text, windowsVirtualKeyCode: text ? text.charCodeAt(0) : 9 });
    },
    requests: () => events.filter((event) => event.method === 'Network.requestWillBeSent')
        .map((event) => event.params.request.url)
        .filter((url) => !url.startsWith('data:') && url !== address),
    errors: () => events
        .filter((event) => event.method === 'Runtime.exceptionThrown' ||
            (event.method === 'Log.entryAdded' && event.params.entry.level === 'error') ||
            (event.method === 'Runtime.consoleAPICalled' && event.params.type === 'error'))
        .map((event) => JSON.stringify(event.params).slice(0, 300)),
    end: async () => {
      await send('Browser.close').catch(() => {});
      browser.kill();
    },
    kill: () => browser.kill(),
  };
};

// Opens a page, looks at it and says what was found, what the page asked of a network and what went
// wrong in it, as JSON on standard output. The end of the process.
export const sayOf = async (where, look) => {
  let opened;
  try {
    opened = await open(...where);
    const seen = await look(opened);
    console.log(JSON.stringify(
        { ...seen, requests: opened.requests(), errors: opened.errors() }, null, 1));
    await opened.end();
  } catch (error) {
    console.log(JSON.stringify({ failed: String(error) }));
  } finally {
    opened?.kill();
  }
  process.exit(0);
};

// Runs in the page.
const overlaps = (selector) => {
  const boxes = [...document.querySelectorAll(selector)]
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

// What a screen reader is told: of controls and pictures those without a name, and how many there
// are of each kind.
const spoken = ['button', 'link', 'checkbox', 'radio', 'slider', 'spinbutton', 'searchbox', 'textbox',
                'combobox', 'image', 'img', 'application', 'table'];
export const accessibility = async ({ tell }) => {
  const { nodes } = await tell('Accessibility.getFullAXTree');
  const told = nodes.filter((node) => !node.ignored && spoken.includes(node.role?.value));
  const counts = {};
  for (const node of told) counts[node.role.value] = (counts[node.role.value] ?? 0) + 1;
  return { counts, nameless: told.filter((node) => !node.name?.value?.trim())
      .map((node) => `${node.role.value} ${node.nodeId}`) };
};

// The controls that the tabulator key comes by, from the beginning of the page to its end: how many,
// whether each stands behind the one before, and those in sight that it leaves out.
export const keyboard = async ({ value, press }) => {
  await value(`window.visited = []; (() => {
    const start = document.createElement('span');
    start.tabIndex = -1;
    document.body.prepend(start);
    start.focus();
  })()`);
  const step = `(() => { const e = document.activeElement;
    if (!e || e === document.body || visited.includes(e)) return false;
    visited.push(e); return true; })()`;
  do await press('Tab', 'Tab'); while (await value(step));
  return JSON.parse(await value(`JSON.stringify({
    count: visited.length,
    inOrder: visited.every((e, n) => !n || Boolean(
        visited[n - 1].compareDocumentPosition(e) & Node.DOCUMENT_POSITION_FOLLOWING)),
    leftOut: [...document.querySelectorAll('button, a[href], input, select, [tabindex="0"]')]
        .filter((e) => e.checkVisibility() && !visited.includes(e) &&
                       !(e.type === 'radio' && !e.checked)).map((e) => e.outerHTML.slice(0, 80)) })`));
};

// How elements of a page lie at each of some widths of the window.
export const layoutAt = async ({ resize, value }, widths, selector) => {
  const sizes = {};
  for (const width of widths) {
    await resize(width);
    sizes[width] = {
      scrolls: await value(`document.documentElement.scrollWidth - document.documentElement.clientWidth`),
      overlaps: JSON.parse(await value(`JSON.stringify((${overlaps})(${JSON.stringify(selector)}))`)),
      wider: JSON.parse(await value(`JSON.stringify((${wider})())`)),
    };
  }
  return sizes;
};

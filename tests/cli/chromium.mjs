// A page in headless Chromium, driven by the remote-debugging protocol over pipes.
import { spawn } from 'node:child_process';
import { pathToFileURL } from 'node:url';

export const open = async (chromium, page, profile, width = 1600) => {
  const browser = spawn(
      chromium,
      [
        '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
        '--disable-background-networking', '--disable-component-update', '--disable-sync',
        `--user-data-dir=${profile}`, '--remote-debugging-pipe', 'about:blank',
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
  const until = async (method) => {
    for (let n = 0; n < 600; ++n) {
      if (events.some((event) => event.method === method)) return;
      await new Promise((done) => setTimeout(done, 50));
    }
    throw new Error(`no ${method}`);
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
  await resize(width);
  const address = pathToFileURL(page).href;
  await tell('Page.navigate', { url: address });
  await until('Page.loadEventFired');

  return {
    tell, value, resize,
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

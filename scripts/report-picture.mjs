// Writes a picture of a report: its verdict and its viewer, without what stands between them.
// Usage: node report-picture.mjs CHROMIUM PAGE PROFILE PICTURE
import { writeFileSync } from 'node:fs';
import { open, software3d } from '../tests/cli/chromium.mjs';

const [chromium, file, profile, picture] = process.argv.slice(2);
const width = 1000;
const { tell, value, until, end } = await open(chromium, file, profile, width, software3d);
const resize = (height) => tell('Emulation.setDeviceMetricsOverride',
    { width, height, deviceScaleFactor: 1, mobile: false });
await resize(900);
await value(`document.querySelectorAll('main > section:not(.verdict):not(#viewer)')
    .forEach((section) => { section.style.display = 'none'; })`);
await until('viewer', () => value(`document.getElementById('viewer').dataset.state === 'ready'`));
// Where the field is strong, above the sinuses.
await value(`(() => {
  const slider = (name, at) => {
    const element = document.querySelector('[data-part="' + name + '"]');
    element.value = at;
    element.dispatchEvent(new Event('input'));
  };
  slider('axial', 19), slider('coronal', 78), slider('opacity', 100);
})()`);
const height = Math.ceil(await value(`document.body.getBoundingClientRect().bottom`));
await resize(height);
await new Promise((done) => setTimeout(done, 1000));
const { data } = await tell('Page.captureScreenshot', { clip: { x: 0, y: 0, width, height, scale: 1 } });
writeFileSync(picture, Buffer.from(data, 'base64'));
await end();
process.exit(0);

// The web component in a real browser, with the events that a person makes.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { gunzipSync } from 'node:zlib';
import { launch, openModel, openPage, useBrowser } from './browser.js';
import { dist, exampleFolder, fileBelow, sampleFolder, sourceFolder } from './support.js';

const web = await import(join(dist, 'index.js'));
const trolley = sampleFolder();
const tenLines = readFileSync(join(sourceFolder, 'docs/web.md'), 'utf8')
  .split('```html ten-lines.html\n')[1]
  .split('```')[0];
const example = exampleFolder();
const files = {
  '': tenLines,
  'viewer.js': readFileSync(join(dist, 'viewer.js')),
  'bad/index.gz': readFileSync(join(trolley, 'index.gz')).subarray(0, 300),
  'page/index.gz': '<!DOCTYPE html><title>Not found</title>',
  'cut/index.gz': example['index.gz'],
  'cut/grep/1.gz': example['grep/1.gz'].subarray(0, 70),
};
const used = useBrowser({ files, folders: { trolley } });

/** The ten lines, loaded; `viewer(f)` runs a function on the component. */
async function open() {
  const page = await openModel(used.browser, used.address);
  const viewer = (f, ...values) => page.$eval('mirel-viewer', f, ...values);
  return { page, viewer };
}

/** Pixels of the picture that are drawn, and their mean colour. */
const look = async viewer => {
  const pixels = await viewer(async element => {
    const bitmap = await createImageBitmap(await element.toBlob(120, 90));
    const context = new OffscreenCanvas(120, 90).getContext('2d');
    context.drawImage(bitmap, 0, 0);
    return [...context.getImageData(0, 0, 120, 90).data];
  });
  const sum = [0, 0, 0];
  let count = 0;
  for (let i = 0; i < pixels.length; i += 4) {
    if (pixels[i + 3] < 128) continue;
    count++;
    for (let k = 0; k < 3; ++k) sum[k] += pixels[i + k];
  }
  return { count, color: sum.map(value => value / Math.max(1, count)) };
};

test('the page of ten lines shows the model, and tells what is clicked', async () => {
  const { page, viewer } = await open();
  const whole = await look(viewer);
  assert.ok(whole.count > 1500, `${whole.count} pixels`);
  const area = await viewer(element => element.getBoundingClientRect().toJSON());
  const middle = [area.x + area.width / 2, area.y + area.height / 2];
  await page.mouse.click(...middle);
  assert.match(await page.$eval('#part', element => element.textContent), /Schublade/);
  const [row] = await viewer(element => element.selection);
  assert.match(
    await viewer(element => element.shadowRoot.querySelector('.spoken').textContent),
    /Schublade is selected/,
  );

  // Dragging turns, and selects nothing else.
  const before = await viewer(element => element.viewPoint.eye);
  await page.mouse.move(...middle);
  await page.mouse.down();
  await page.mouse.move(middle[0] + 60, middle[1] + 20, { steps: 4 });
  await page.mouse.up();
  assert.notDeepEqual(await viewer(element => element.viewPoint.eye), before);
  assert.deepEqual(await viewer(element => element.selection), [row]);

  await page.keyboard.press('h');
  assert.ok((await look(viewer)).color[2] < whole.color[2] - 4, 'a blue drawer is hidden');
  await page.keyboard.press('a');
  await page.keyboard.press('i');
  assert.ok((await look(viewer)).count < whole.count * 0.8);
  await page.keyboard.press('Escape');
  assert.deepEqual(await viewer(element => element.selection), []);
  await page.keyboard.press('a');
  await page.keyboard.press('1');
  const eye = await viewer(element => element.viewPoint);
  assert.ok(Math.abs(eye.eye[0] - eye.target[0]) < 1 && eye.eye[1] < eye.target[1]);
  await page.keyboard.press('p');
  assert.equal(await viewer(element => element.projection), 'parallel');
  // In parallel projection too keys come nearer, and what is fitted in is seen whole.
  const height = () => viewer(({ stage }) => (stage.render(), stage.camera.height));
  const fitted = await height();
  await page.keyboard.press('+');
  assert.ok(Math.abs((await height()) * 1.2 - fitted) < 1e-3 * fitted);
  await page.keyboard.press('f');
  assert.ok(Math.abs((await height()) - fitted) < 0.15 * fitted, `${fitted} ${await height()}`);
  await viewer(element => element.fit(element.find('drawer top')));
  assert.ok((await height()) < 0.7 * fitted);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test('sections cap what they cut, edges can be left out, parts move away', async () => {
  const { page, viewer } = await open();
  await viewer(element => element.setView('front'));
  const whole = await look(viewer);
  await viewer(element => element.setSections([{ normal: [0, -1, 0], offset: 0 }]));
  const cut = await look(viewer);
  assert.ok(Math.abs(cut.color[0] - whole.color[0]) + Math.abs(cut.color[2] - whole.color[2]) > 5);
  // In the middle of the deck: its own colour, a little lighter, between the lines of the hatch.
  const cap = await viewer(async element => {
    const deck = element.find('deck')[0];
    const [shape] = element.model.getShapesBelow(deck);
    const bounds = element.model.bounds[shape];
    const [x, y] = element.stage.project([bounds[0] + 30, 0, (bounds[2] + bounds[5]) / 2]);
    const { canvas } = element.stage;
    const bitmap = await createImageBitmap(await element.toBlob());
    const context = new OffscreenCanvas(canvas.width, canvas.height).getContext('2d');
    context.drawImage(bitmap, 0, 0);
    const { data } = context.getImageData(Math.round(x) - 10, Math.round(y) - 1, 20, 2);
    const seen = [0, 1, 2].map(i =>
      Math.max(...Array.from({ length: 40 }, (_, pixel) => data[4 * pixel + i])),
    );
    return { seen, color: element.model.getItem(shape).color };
  });
  for (const [i, component] of cap.color.entries()) {
    const light = ((component + 0.055) / 1.055) ** 2.4 * 0.92 + 0.06;
    assert.ok(
      Math.abs(cap.seen[i] - 255 * (1.055 * light ** (1 / 2.4) - 0.055)) < 6,
      `${cap.seen} ${cap.color}`,
    );
  }
  await viewer(element => element.setSections([]));
  await viewer(element => (element.edges = false));
  const plain = await look(viewer);
  assert.ok(plain.color[0] > whole.color[0], 'edges are dark');
  await viewer(element => element.explode(1));
  await viewer(element => element.fit());
  assert.notEqual((await look(viewer)).count, plain.count);
  await page.close();
});

test('with an overview there are boxes before the bodies, and a tap selects', async () => {
  const graphics = web.readPackage(new Uint8Array(gunzipSync(fileBelow(trolley, 'grep/1.gz'))));
  const bodies = graphics.map(({ id, bytes }) => {
    const { min, max } = web.readRecord(bytes).box;
    return { SId: id, Box: [...min, ...max] };
  });
  files['slow/index.gz'] = fileBelow(trolley, 'index.gz');
  files['slow/overview.json'] = JSON.stringify({ Version: 1, Packages: [{ Bytes: 1000, Bodies: bodies }] });
  let letGo;
  files['slow/grep/1.gz'] = new Promise(resolve => (letGo = () => resolve(fileBelow(trolley, 'grep/1.gz'))));
  const { page, viewer } = await open();
  const whole = await look(viewer);
  await viewer(element => element.setAttribute('overview', ''));
  await viewer(element => void element.open('slow/'));
  await page.waitForFunction(() => document.querySelector('mirel-viewer').model?.bounds.length > 0);
  const lines = await look(viewer);
  assert.ok(lines.count > 100 && lines.count < whole.count / 2, `${lines.count} of ${whole.count} pixels`);
  letGo();
  await page.waitForFunction(
    () => document.querySelector('mirel-viewer').shadowRoot.querySelector('progress').hidden,
  );
  assert.ok(Math.abs((await look(viewer)).count - whole.count) < 0.02 * whole.count);

  const area = await viewer(element => element.getBoundingClientRect().toJSON());
  await page.touchscreen.tap(area.x + area.width / 2, area.y + area.height / 2);
  assert.equal(await viewer(element => element.selection.length), 1);
  await page.close();
});

test('what goes wrong is told in a sentence', async () => {
  const { page, viewer } = await open();
  const cases = [
    ['nowhere/', /index.gz: not found: there is no model/],
    ['bad/', /index.gz: not a gzip file, or damaged/],
    ['page/', /index.gz: not JSON from character 0 on/],
    ['cut/', /Not all of the model is there: grep\/1.gz: not a gzip file, or damaged/],
  ];
  for (const [src, expected] of cases) {
    const told = await viewer(async (element, address) => {
      const end = new Promise(resolve => {
        for (const type of ['error', 'load'])
          element.addEventListener(type, () => setTimeout(resolve), { once: true });
      });
      element.src = address;
      await end;
      return element.shadowRoot.querySelector('.message').textContent;
    }, src);
    assert.match(told, expected);
  }
  await viewer(element => element.open('trolley/'));
  const lost = await viewer(async element => {
    const context = element.stage.canvas.getContext('webgl2').getExtension('WEBGL_lose_context');
    const once = type =>
      new Promise(resolve =>
        element.stage.canvas.addEventListener(type, () => setTimeout(resolve), { once: true }),
      );
    const message = () => element.shadowRoot.querySelector('.message').textContent;
    const gone = once('webglcontextlost');
    context.loseContext();
    await gone;
    const told = message();
    const back = once('webglcontextrestored');
    context.restoreContext();
    await back;
    return [told, message()];
  });
  assert.match(lost[0], /graphics card has lost the picture/);
  assert.equal(lost[1], '');
  assert.ok((await look(viewer)).count > 1500);
  await page.close();
});

test('without WebGL 2 the page says so', async () => {
  const blind = await launch('--disable-3d-apis');
  try {
    const page = await openPage(blind, used.address);
    // When the tree is there.
    const told = await page.waitForFunction(
      () => document.querySelector('mirel-viewer').shadowRoot.querySelector('.message').textContent,
    );
    assert.match(await told.jsonValue(), /has no WebGL 2/);
  } finally {
    await blind.close();
  }
});

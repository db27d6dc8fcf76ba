// The page around the component, used as a person does.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { openModel, useBrowser } from './browser.js';
import { dist, exampleFolder, sampleFolder } from './support.js';

const trolley = sampleFolder();
const template = readFileSync(join(dist, 'page.html'), 'utf8');
const fill = (src, files = '') =>
  template
    .replace(' overview', '')
    .replace('<!--compare-->', '')
    .replace('<!--src-->', src)
    .replaceAll('<!--title-->', 'Trolley')
    .replace('<!--files-->', files)
    .replace('<!--script-->', '<script src="page.js"></script>');
const hostileNames = [
  '<script>window.isHurt = 1</script>',
  '"><img src=x onerror="window.isHurt = 1">',
  '\u202egpj.exe\u200f',
  'x'.repeat(100_000),
];

const files = { '': fill('trolley/'), 'page.js': readFileSync(join(dist, 'page.js')) };
const used = useBrowser({ files, folders: { trolley } });

async function open(address = '') {
  const page = await openModel(used.browser, used.address + address, { width: 900, height: 600 });
  const inside = (f, ...values) => page.$eval('mirel-page', f, ...values);
  const find = selector => page.$(`mirel-page >>> ${selector}`);
  const click = async selector => (await find(selector)).click();
  const rowOf = name => `[role=treeitem][aria-label="${name}"]`;
  const selection = () =>
    inside(({ viewer }) => viewer.selection.map(row => viewer.model.occurrences.items[row].name));
  return { page, inside, find, click, rowOf, selection };
}

test('tree and picture are tied both ways', async () => {
  const { page, inside, find, click, rowOf, selection } = await open();
  await click(rowOf('drawer middle'));
  assert.deepEqual(await selection(), ['drawer middle']);
  await page.keyboard.press('ArrowUp');
  await page.keyboard.press('Enter');
  assert.deepEqual(await selection(), ['drawer top']);
  await (await find('input[type=search]')).type('caster');
  assert.equal(await inside(element => element.shadowRoot.querySelector('.count').textContent), '4 found');
  await click(rowOf('caster rear left'));
  await page.keyboard.press('h');
  assert.equal(await inside(({ viewer }) => viewer.visibility.hidden.size), 1);
  await click(`${rowOf('caster rear left')} .eye`);
  assert.equal(await inside(({ viewer }) => viewer.visibility.hidden.size), 0);

  // A click in the picture opens the tree at the part.
  const area = await inside(({ viewer }) => viewer.getBoundingClientRect().toJSON());
  await page.mouse.click(area.x + area.width / 2, area.y + area.height / 2);
  const shown = await inside(element =>
    element.shadowRoot.querySelector('[aria-selected=true]')?.getAttribute('aria-label'),
  );
  assert.equal(shown ?? 'drawer top', 'drawer top');
  assert.match(
    await inside(element => element.shadowRoot.querySelector('.properties').textContent),
    /Schublade.*Equal parts3.*plane/,
  );
  assert.deepEqual(page.errors, []);
  await page.close();
});

test('measures from exact surfaces are exact, and say so', async () => {
  const { page, inside, click } = await open();
  await inside(({ viewer }) => viewer.setView('front'));
  await inside(({ viewer }) => viewer.fit(viewer.find('deck')));
  await click('button[title^=Measure]');
  // Left and right side of the deck, from the side.
  const told = await inside(async ({ viewer, shadowRoot }) => {
    const [shape] = viewer.model.getShapesBelow(viewer.find('deck')[0]);
    const [x0, y0, z0, x1, y1, z1] = viewer.model.bounds[shape];
    const from = (x, direction) =>
      viewer.model.pick({ origin: [x, (y0 + y1) / 2, (z0 + z1) / 2], direction });
    for (const pick of [from(x0 - 10, [1, 0, 0]), from(x1 + 10, [-1, 0, 0])])
      viewer.dispatchEvent(new CustomEvent('pick', { detail: { pick }, cancelable: true }));
    return [shadowRoot.querySelector('.measure').textContent, x1 - x0];
  });
  assert.match(told[0], /plane, exactplane, exactdistance 600 mm, parallel, exact/);
  // From the cap of a section to the face that it cuts squarely.
  const cap = await inside(async ({ viewer, shadowRoot }) => {
    const [shape] = viewer.model.getShapesBelow(viewer.find('deck')[0]);
    const [x0, y0, z0, x1, y1, z1] = viewer.model.bounds[shape];
    const normal = [1, 0, 0];
    viewer.setSections([{ normal, offset: x1 - 100 }]);
    const from = (x, direction) =>
      viewer.model.pick({ origin: [x, (y0 + y1) / 2, (z0 + z1) / 2], direction });
    for (const pick of [from(x1 + 10, [-1, 0, 0]), from(x0 - 10, [1, 0, 0])])
      viewer.dispatchEvent(new CustomEvent('pick', { detail: { pick }, cancelable: true }));
    viewer.setSections([]);
    return shadowRoot.querySelector('.measure').textContent;
  });
  assert.match(cap, /plane of a section, exactplane, exactdistance 500 mm, parallel, exact/);
  // Between the axes of a wheel in front and one in the rear, which are one body.
  const wheels = await inside(async ({ viewer, shadowRoot }) => {
    const { model } = viewer;
    const [id] = model.occurrences.items
      .filter(item => item.type === 'Shape' && /Rad|wheel/i.test(item.name))
      .map(item => item.shapeId);
    const shapes = [...Array(model.shapeCount).keys()].filter(shape => model.getItem(shape).shapeId === id);
    const hit = shape => {
      const [x0, y0, z0, x1, y1] = model.bounds[shape];
      const up = { origin: [(x0 + x1) / 2, (y0 + y1) / 2, z0 - 10], direction: [0, 0, 1] };
      return model.pick(up);
    };
    for (const shape of [shapes[0], shapes[2]])
      viewer.dispatchEvent(new CustomEvent('pick', { detail: { pick: hit(shape) }, cancelable: true }));
    return shadowRoot.querySelector('.measure').textContent;
  });
  // In one plane, and one of them turned by 35 degrees.
  assert.match(wheels, /torus, radius 36 mm, tube 14 mm, exact.*distance 0 mm, angle 35°, exact/);

  // By hand, with the pointer: the handle is bent, and no surface of a kind that the record knows.
  await inside(({ viewer }) => viewer.fit(viewer.find('push handle')));
  const handle = await inside(({ viewer }) => {
    const { left, top, width, height } = viewer.getBoundingClientRect();
    for (let y = top; y < top + height; y += 2) {
      const pick = viewer.stage.pick(left + width / 2, y);
      if (/Griff/.test(pick?.item.name)) return [left + width / 2, y + 4];
    }
    return undefined;
  });
  await page.mouse.click(...handle);
  assert.equal(
    await inside(element => element.shadowRoot.querySelector('.measure').textContent),
    'point on a face, approximate',
  );
  await page.close();
});

test('a link brings the view to another tab', async () => {
  const { page, inside, click, rowOf } = await open();
  await click(rowOf('drawer top'));
  await page.keyboard.press('h');
  await click('.sections input[aria-label="Cut across Y"]');
  await click('button[aria-label="View from right"]');
  // The address follows after a moment of rest.
  await page.waitForFunction(() => {
    const [x] = document.querySelector('mirel-page').viewer.viewPoint.eye;
    return location.hash.includes(`view=${Number(x.toPrecision(7))},`) && /hide=.*cut=/.test(location.hash);
  });
  const state = () =>
    inside(({ viewer }) => ({
      hidden: [...viewer.visibility.hidden],
      selected: viewer.selection,
      cut: viewer.getSections(),
      eye: viewer.viewPoint.eye.map(x => Math.round(x)),
    }));
  const sent = await state();
  const other = await open(new URL(page.url()).hash);
  const arrived = await other.inside(({ viewer }) => ({
    hidden: [...viewer.visibility.hidden],
    selected: viewer.selection,
    cut: viewer.getSections(),
    eye: viewer.viewPoint.eye.map(x => Math.round(x)),
  }));
  assert.deepEqual(arrived, sent);
  await other.page.close();
  const part = await open('#part=Schublade');
  assert.deepEqual(await part.selection(), ['Schublade', 'Schublade', 'Schublade']);
  await part.page.close();
  await page.close();
});

test('names are text wherever they are shown', async () => {
  const shapes = hostileNames.map((name, i) => ({
    Type: 'Shape',
    Id: String(i + 1),
    SId: '7',
    Name: name,
    FColor: [],
  }));
  const index = {
    Metadata: { PkgGRep: 1 },
    Types: [],
    Items: [{ Type: 'Group', Id: '9', Name: hostileNames[0], Children: shapes }],
  };
  const folder = { 'index.gz': gzipSync(JSON.stringify(index)), 'grep/1.gz': exampleFolder()['grep/1.gz'] };
  const scripts = Object.entries(folder).map(
    ([file, bytes]) =>
      `<script type="application/octet-stream" data-folder="m" data-file="${file}">${Buffer.from(bytes).toString('base64')}</script>`,
  );
  files['hostile.html'] = fill('#m', scripts.join(''));
  const { page, inside } = await open('hostile.html');
  for (let row = 0; row <= hostileNames.length; ++row)
    await inside(({ viewer }, i) => viewer.select([i]), row);
  const names = await inside(element =>
    [...element.shadowRoot.querySelectorAll('.row .name')].map(name => name.textContent),
  );
  assert.deepEqual(names.slice(0, 4), [hostileNames[0], ...hostileNames.slice(0, 3)]);
  assert.ok(names[4].length <= 201);
  assert.equal(await page.evaluate(() => window.isHurt), undefined);
  assert.deepEqual(page.errors, []);
  await page.close();
});

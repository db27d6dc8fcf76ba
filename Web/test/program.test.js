// What `mirel page` and `mirel site` make, opened in a real browser.
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { existsSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { gunzipSync, gzipSync } from 'node:zlib';
import { compare, openModel, openPage, useBrowser } from './browser.js';
import {
  changeIndex as changeFolder,
  dist,
  exampleFolder,
  fileBelow,
  makeScratch,
  mirel,
  program,
  sourceFolder,
  writeFolder,
} from './support.js';

const web = await import(pathToFileURL(join(dist, 'index.js')));
const scratch = makeScratch('pages');
const sample = join(sourceFolder, 'Samples/trolley.step');
const trolley = join(scratch, 'trolley');
const used = useBrowser();

mirel('save', '-q', sample, trolley);

const changeIndex = (name, from, to) => changeFolder(trolley, join(scratch, name), from, to);
const open = (address, size = { width: 800, height: 500 }) => openModel(used.browser, address, size);

/** Of damaged models too. */
function makePage(input, name = 'page.html') {
  spawnSync(program, ['page', input, join(scratch, name)]);
  return pathToFileURL(join(scratch, name)).href;
}

test('a page of a STEP file opens from the disk, and fetches nothing', async () => {
  const address = makePage(sample);
  assert.ok(statSync(join(scratch, 'page.html')).size <= 900_000);
  const first = readFileSync(join(scratch, 'page.html'));
  makePage(sample);
  assert.ok(first.equals(readFileSync(join(scratch, 'page.html'))), 'the same page each time');

  const page = await open(address, { width: 1000, height: 640 });
  assert.equal(await page.title(), '工具车');
  assert.equal(await page.$eval('mirel-page', ({ viewer }) => viewer.model.shapeCount), 22);
  assert.deepEqual(page.requests, [address]);
  const blocked = await page.evaluate(async () => {
    const told = new Promise(resolve => addEventListener('securitypolicyviolation', resolve, { once: true }));
    const failed = await fetch('http://127.0.0.1:1/').catch(() => true);
    return failed === true && (await told).effectiveDirective;
  });
  assert.equal(blocked, 'connect-src');
  page.errors.length = 0;

  await page.$eval('mirel-page', ({ viewer }) => viewer.select(viewer.find('drawer top')));
  assert.equal(await page.$('mirel-page >>> button[title="Download the exact body"]'), null);

  // The picture of the documents is this page. Letters differ between machines, and take little of it.
  for (const name of ['Cut across Y', 'Keep the other side of Y'])
    await (await page.$(`mirel-page >>> input[aria-label="${name}"]`)).click();
  await page.mouse.move(960, 600);
  await page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
  const picture = await page.screenshot();
  const known = join(sourceFolder, 'docs/web-page.png');
  if (process.env.MIREL_UPDATE_DOCS) writeFileSync(known, picture);
  const difference = await compare(page, picture, readFileSync(known), { tolerance: 24, scale: 1 });
  assert.ok(difference < 0.03, `docs/web-page.png differs in ${difference} of its pixels`);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test('what people do works where nothing may be fetched', async () => {
  mirel('page', '--with-bodies', trolley, join(scratch, 'bodies.html'));
  const page = await open(pathToFileURL(join(scratch, 'bodies.html')).href, { width: 1000, height: 640 });
  const inside = (f, ...values) => page.$eval('mirel-page', f, ...values);
  const click = async selector => (await page.$(`mirel-page >>> ${selector}`)).click();
  const area = await inside(({ viewer }) => viewer.getBoundingClientRect().toJSON());
  const middle = [area.x + area.width / 2, area.y + area.height / 2];
  const eye = await inside(({ viewer }) => viewer.viewPoint.eye);
  await page.mouse.move(...middle);
  await page.mouse.down();
  await page.mouse.move(middle[0] + 40, middle[1] + 10, { steps: 3 });
  await page.mouse.up();
  assert.notDeepEqual(await inside(({ viewer }) => viewer.viewPoint.eye), eye);
  await page.mouse.click(...middle);
  assert.equal(await inside(({ viewer }) => viewer.selection.length), 1);
  await click('button[title^=Measure]');
  await page.mouse.click(...middle);
  assert.match(await inside(({ shadowRoot }) => shadowRoot.querySelector('.measure').textContent), /exact/);
  await click('button[title^=Measure]');
  await click('button[aria-label="View from front"]');

  // A part's exact body is one that the program takes back.
  const session = await used.browser.target().createCDPSession();
  await session.send('Browser.setDownloadBehavior', { behavior: 'allow', downloadPath: scratch });
  await inside(({ viewer }) => viewer.select(viewer.find('Griff Größe L')));
  await click('button[title="Download the exact body"]');
  const file = join(scratch, 'Griff Größe L.brep');
  for (let wait = 0; wait < 100 && !existsSync(file); ++wait) await new Promise(done => setTimeout(done, 50));
  mirel('save', '-q', '--strict', '--verify', file, join(scratch, 'handle'));
  await page.keyboard.press('h');
  assert.deepEqual(page.errors, []);
  assert.equal(page.requests.filter(url => !url.startsWith('blob:')).length, 1);
  await page.close();
});

test('the page shows what `mirel picture` draws', async () => {
  const [width, height] = [360, 270];
  const drawn = join(scratch, 'drawn.png');
  const plain = ['--size', `${width}x${height}`, '--background', 'none', '--edges', 'none'];
  mirel('picture', trolley, drawn, ...plain, '--ids', join(scratch, 'ids.png'));
  const { eye, target } = JSON.parse(readFileSync(join(scratch, 'ids.json'), 'utf8'));
  const look = async folder => {
    const page = await open(makePage(folder));
    const text = await page.$eval(
      'mirel-page',
      async ({ viewer }, viewPoint, width, height) => {
        viewer.edges = false;
        viewer.viewPoint = viewPoint;
        const bytes = new Uint8Array(await (await viewer.toBlob(width, height)).arrayBuffer());
        return btoa(Array.from(bytes, byte => String.fromCharCode(byte)).join(''));
      },
      { eye, target, isParallel: false },
      width,
      height,
    );
    const seen = Buffer.from(text, 'base64');
    const difference = await compare(page, readFileSync(drawn), seen, { tolerance: 40, scale: 1 / 2 });
    await page.close();
    return difference;
  };
  const same = await look(trolley);
  const wrong = {
    missing: await look(changeIndex('missing', '"SId":"3675093686547461063"', '"SId":"1"')),
    color: await look(changeIndex('color', '[1.0,0.800000011920929,0.0]', '[0.6,0.8,0.0]')),
    mirrored: await look(
      changeIndex('mirrored', '"drawer top","Transform":[1.0', '"drawer top","Transform":[-1.0'),
    ),
  };
  const limit = 0.002;
  assert.ok(same < limit, `${same}`);
  for (const [what, difference] of Object.entries(wrong))
    assert.ok(difference > limit, `${what}: ${difference}, where ${same} is right`);
});

test('hostile names do nothing in a page', async () => {
  const names = [
    '</script><script>window.isHurt = 1</script>',
    '<img src=x onerror="isHurt = 1">',
    '\u202e"\'&',
  ];
  const shapes = names.map((Name, i) => ({ Type: 'Shape', Id: `${i + 1}`, SId: '7', Name, FColor: [] }));
  const children = shapes.concat({ Type: 'Shape', Id: '8', SId: '7', Name: 'x'.repeat(100_000), FColor: [] });
  const index = {
    Metadata: { PkgGRep: 1 },
    Types: [],
    Items: [{ Type: 'Group', Id: '9', Name: names[0], Children: children }],
  };
  const folder = writeFolder(join(scratch, 'hostile'), {
    'index.gz': gzipSync(JSON.stringify(index)),
    'grep/1.gz': exampleFolder()['grep/1.gz'],
  });
  const page = await open(makePage(folder, 'hostile.html'));
  assert.equal(await page.title(), names[0]);
  const rows = await page.$eval('mirel-page', element => {
    element.viewer.select([1]);
    return [...element.shadowRoot.querySelectorAll('.row .name')].map(name => name.textContent);
  });
  assert.deepEqual(rows.slice(0, 4), [names[0], ...names]);
  assert.equal(await page.evaluate(() => window.isHurt), undefined);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test('a page that compares shows what is gone, new and changed', async () => {
  const index = JSON.parse(gunzipSync(readFileSync(join(trolley, 'index.gz'))));
  const [root] = index.Items;
  const named = name => root.Children.findIndex(({ Name }) => Name === name);
  const before = named('drawer top');
  assert.ok(before >= 0 && named('ballast') >= 0);
  const [drawer] = root.Children.splice(before, 1);
  const hostile = '<img src=x onerror="window.isHurt=1">';
  root.Children[named('ballast')].Transform = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 30, 0, 0, 1];
  root.Children[named('drawer middle')].Name = hostile;
  root.Children.push({
    ...drawer,
    Id: '77',
    Name: 'one more',
    Transform: [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2000, 0, 0, 1],
  });
  const newer = writeFolder(join(scratch, 'newer'), {
    'index.gz': gzipSync(JSON.stringify(index)),
    'grep/1.gz': readFileSync(join(trolley, 'grep/1.gz')),
    'model/1.gz': readFileSync(join(trolley, 'model/1.gz')),
  });
  const html = join(scratch, 'compared.html');
  mirel('page', '--compare', trolley, newer, html);
  const again = join(scratch, 'compared-again.html');
  mirel('page', '--compare', trolley, newer, again);
  assert.deepEqual(readFileSync(html), readFileSync(again));

  const page = await open(pathToFileURL(html).href);
  const list = await page.$eval('mirel-page', ({ shadowRoot }) =>
    [...shadowRoot.querySelectorAll('.difference')].map(entry => [entry.classList[1], entry.textContent]),
  );
  assert.ok(
    list.some(
      ([tint, text]) => tint === 'changed' && text.startsWith(`drawer middle: renamed, to ${hostile}`),
    ),
  );
  assert.ok(list.some(([tint, text]) => tint === 'changed' && text.startsWith('ballast: moved, by ')));
  assert.equal(await page.evaluate(() => window.isHurt), undefined);
  const tints = list.map(([tint]) => tint);
  const isMoved = list.some(([, text]) => text.startsWith('drawer top: moved'));
  assert.ok(isMoved || (tints.includes('gone') && tints.includes('added')), JSON.stringify(list));

  // Each in its colour, the rest as if of glass.
  const looks = await page.$eval('mirel-page', ({ viewer }) => {
    const { model, differences } = viewer;
    const isDifferent = shape =>
      differences.some(({ rows, isSeen }) =>
        rows.some(
          row => isSeen && model.getShapesBelow(row)[0] <= shape && shape < model.getShapesBelow(row)[1],
        ),
      );
    return Array.from({ length: model.shapeCount }, (_, shape) => [
      isDifferent(shape),
      model.isPickable(shape),
    ]);
  });
  assert.ok(looks.some(([isDifferent]) => isDifferent) && looks.some(([isDifferent]) => !isDifferent));
  for (const [isDifferent, isSolid] of looks) assert.equal(isSolid, isDifferent);

  // The arrow goes from one to the next, and a click in the picture finds the difference.
  const step = () =>
    page.evaluate(() => {
      const { viewer, shadowRoot } = document.querySelector('mirel-page');
      shadowRoot.querySelector('[title="Next difference"]').click();
      const current = [...shadowRoot.querySelectorAll('.difference')].findIndex(
        entry => entry.getAttribute('aria-current') === 'true',
      );
      return { current, rows: viewer.selection, wanted: viewer.differences[current].rows };
    });
  for (let i = 0; i < list.length; ++i) {
    const { current, rows, wanted } = await step();
    assert.equal(current, i);
    assert.deepEqual(rows, wanted);
    assert.ok(rows.length > 0, list[i][1]);
  }
  const ballast = list.findIndex(([, text]) => text.startsWith('ballast'));
  for (let at = list.length - 1; at !== ballast; at = (await step()).current);
  const area = await page.$eval('mirel-page', ({ viewer }) => viewer.getBoundingClientRect().toJSON());
  await page.mouse.click(area.x + area.width / 2, area.y + area.height / 2);
  const found = await page.$eval(
    'mirel-page',
    ({ shadowRoot }) => shadowRoot.querySelector('.difference[aria-current=true]')?.textContent,
  );
  assert.equal(found, list[ballast][1]);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test('a preview shows the site, boxes first', async () => {
  const site = join(scratch, 'site');
  const server = spawn(program, ['site', trolley, site, '--with-bodies', '--preview', '-q']);
  const ended = new Promise(done => server.on('exit', (code, signal) => done(signal)));
  const address = String(await new Promise(done => server.stdout.once('data', done))).trim();
  assert.match(address, /^http:\/\/127\.0\.0\.1:\d+\/$/);
  const page = await open(address);
  const name = url => url.slice(address.length);
  assert.deepEqual(page.requests.map(name), ['', 'page.js', 'index.lz', 'overview.json', 'draw/1.lz']);
  assert.equal(await page.$eval('mirel-page', ({ viewer }) => viewer.model.shapeCount), 22);
  // What faces lie on is fetched when somebody asks.
  const area = await page.$eval('mirel-page', ({ viewer }) => viewer.getBoundingClientRect().toJSON());
  await page.mouse.click(area.x + area.width / 2, area.y + area.height / 2);
  await page.waitForFunction(() =>
    /Face\d+, plane/.test(document.querySelector('mirel-page').shadowRoot.querySelector('dl')?.textContent),
  );
  assert.deepEqual(page.requests.slice(5).map(name), ['grep/1.gz']);
  assert.deepEqual(page.errors, []);
  await page.close();
  server.kill('SIGINT');
  assert.equal(await ended, 'SIGINT');

  // From the disk there is nothing that the page may fetch, and it says so.
  const local = await openPage(used.browser, pathToFileURL(join(site, 'index.html')).href);
  const message = () =>
    document.querySelector('mirel-page').viewer.shadowRoot.querySelector('.message').textContent;
  await local.waitForFunction(message);
  assert.match(await local.evaluate(message), /The model cannot be opened. index.gz: .*cannot be reached/);
  await local.close();
});

test('what a site draws is what the folder draws', async () => {
  const site = join(scratch, 'drawing');
  mirel('site', trolley, site);
  const read = async hasDrawing => {
    const folder = await web.ModelFolder.open(async file => fileBelow(site, file));
    const meshes = new Map();
    for await (const { shapeId, mesh } of folder.graphics(undefined, hasDrawing)) meshes.set(shapeId, mesh);
    return meshes;
  };
  const whole = await read();
  const drawing = await read(() => true);
  assert.deepEqual([...drawing.keys()], [...whole.keys()]);
  // Of each face, each from its smallest corner on, in order.
  const trianglesOf = ({ triangles, faceCornerStarts }) =>
    Array.from(faceCornerStarts.subarray(1), (end, face) => {
      const list = [];
      for (let at = faceCornerStarts[face]; at < end; at += 3) {
        const [a, b, c] = triangles.subarray(at, at + 3);
        list.push(a < b && a < c ? [a, b, c] : b < c ? [b, c, a] : [c, a, b]);
      }
      return list.map(String).sort();
    });
  const edges = mesh => Array.from(web.makeSegments(mesh), vertex => web.getPosition(mesh, vertex));
  for (const [id, mesh] of drawing) {
    const other = whole.get(id);
    const vertices = other.faceVertexStarts.at(-1);
    assert.equal(mesh.surfaces, undefined);
    assert.deepEqual(edges(mesh), edges(other));
    assert.deepEqual(mesh.positions.subarray(0, 3 * vertices), other.positions.subarray(0, 3 * vertices));
    assert.deepEqual(mesh.normals.subarray(0, 2 * vertices), other.normals.subarray(0, 2 * vertices));
    assert.deepEqual(trianglesOf(mesh), trianglesOf(other));
    for (const part of ['faceVertexStarts', 'faceCornerStarts', 'box', 'gridStep'])
      assert.deepEqual(mesh[part], other[part], part);
    web.addFeatures(mesh, other);
    assert.deepEqual([mesh.surfaces, mesh.sides], [other.surfaces, other.sides]);
  }
  const points = meshes => [...meshes.values()].reduce((sum, mesh) => sum + mesh.polylines.length, 0);
  assert.ok(points(drawing) < points(whole), 'hidden edges have no points');

  // One that is damaged or not there is done without.
  for (const damage of [
    () => writeFileSync(join(site, 'draw/1.lz'), 'x'),
    () => rmSync(join(site, 'draw/1.lz')),
  ]) {
    damage();
    assert.deepEqual(await read(() => true), whole);
  }
});

test('damaged models are shown as far as they go', async () => {
  const folder = changeIndex('damaged', '"PkgGRep":1', '"PkgGRep":2');
  const { status, stderr } = spawnSync(program, ['page', folder, join(scratch, 'damaged.html')]);
  assert.equal(status, 2);
  assert.match(String(stderr), /grep\/2.gz/);
  const page = await open(pathToFileURL(join(scratch, 'damaged.html')).href);
  assert.match(
    await page.$eval('mirel-page', ({ viewer }) => viewer.shadowRoot.querySelector('.message').textContent),
    /Not all of the model is there: grep\/2.gz/,
  );
  await page.close();
});

test('the overview of the worked example is as the document has it', () => {
  const files = exampleFolder();
  const index = gunzipSync(files['index.gz']).toString().replace('"PkgShape":1', '"PkgShape":0');
  const folder = writeFolder(join(scratch, 'example'), {
    'index.gz': gzipSync(index),
    'grep/1.gz': files['grep/1.gz'],
  });
  mirel('site', folder, join(scratch, 'example-site'));
  const written = readFileSync(join(scratch, 'example-site/overview.json'), 'utf8');
  const told = readFileSync(join(sourceFolder, 'docs/format.md'), 'utf8')
    .split('```json overview.json\n')[1]
    .split('```')[0];
  const sizes = {
    Bytes: statSync(join(folder, 'grep/1.gz')).size,
    Drawing: statSync(join(scratch, 'example-site/draw/1.lz')).size,
  };
  assert.equal(
    written,
    told.replace(/\n */g, '').replace(/"(Bytes|Drawing)":\d+/g, (_, name) => `"${name}":${sizes[name]}`),
  );
});

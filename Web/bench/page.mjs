// Measures what `mirel site` makes of a model folder, and of one with 100,000 placed bodies of 50 kinds, in headless Chromium with
// graphics in software; the reader alone; and sizes.
// usage: node page.mjs FOLDER        MIREL_BUILD is CMake's build tree
import { execFileSync } from 'node:child_process';
import { mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { gunzipSync, gzipSync } from 'node:zlib';
import { launch, openPage, serve } from '../test/browser.js';
import { buildFolder, dist, fileBelow, sampleFolder } from '../test/support.js';

const rounds = Number(process.env.MIREL_BENCH_ROUNDS ?? 5);
const sample = sampleFolder();
const folder = process.argv[2] ?? sample;
const program = join(buildFolder, 'bin/mirel');
const work = mkdtempSync(join(tmpdir(), 'mirel-bench-'));
process.on('exit', () => rmSync(work, { recursive: true }));
const { readPackage, readRecord } = await import(pathToFileURL(join(dist, 'index.js')));
const median = values => values.sort((a, b) => a - b)[values.length >> 1];
const packages = from =>
  readdirSync(join(from, 'grep')).map(name => gunzipSync(readFileSync(join(from, 'grep', name))));

/** Records decoded again and again: MB of them in a second of processor time, the first rounds left out. */
function measureReader() {
  const items = packages(folder).flatMap(content => readPackage(new Uint8Array(content)));
  const bytes = items.reduce((sum, item) => sum + item.bytes.length, 0);
  const times = [];
  for (let round = 0; round < 10 + 4 * rounds; ++round) {
    const began = process.cpuUsage();
    for (const item of items) readRecord(item.bytes);
    const { user, system } = process.cpuUsage(began);
    if (round >= 10) times.push((user + system) / 1000);
  }
  return bytes / 1000 / median(times);
}

/** 100,000 shapes in 1,000 groups, of 50 bodies which are all the simplest of the sample. */
function saveMany() {
  const many = join(work, 'many');
  mkdirSync(join(many, 'grep'), { recursive: true });
  const [simplest] = readPackage(new Uint8Array(packages(sample)[0])).sort((a, b) => a.size - b.size);
  const table = Buffer.alloc(4 + 16 * 50);
  table.writeUInt32LE(50);
  for (let i = 0; i < 50; ++i) {
    table.writeBigUInt64LE(BigInt(i + 1), 4 + 16 * i);
    table.writeUInt32LE(i * simplest.size, 12 + 16 * i);
    table.writeUInt32LE(simplest.size, 16 + 16 * i);
  }
  writeFileSync(join(many, 'grep/1.gz'), gzipSync(Buffer.concat([table, ...Array(50).fill(simplest.bytes)])));
  const place = (x, y, z) => [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1];
  const groups = Array.from({ length: 1000 }, (_, g) => ({
    Type: 'Group',
    Id: `${1_000_000 + g}`,
    Name: `row ${g}`,
    Transform: place(600 * (g % 32), 600 * Math.floor(g / 32), 0),
    Children: Array.from({ length: 100 }, (__, i) => ({
      Type: 'Shape',
      Id: `${g * 100 + i + 1}`,
      Name: `part ${g}-${i}`,
      SId: `${1 + ((g + i) % 50)}`,
      Color: [0.3 + (i % 5) / 10, 0.5, 0.7],
      FColor: [],
      Transform: place(50 * (i % 10), 50 * Math.floor(i / 10), 20 * (i % 7)),
    })),
  }));
  const index = { Version: 1, Metadata: { PkgShape: 0, PkgGRep: 1 }, Types: [], Items: groups };
  writeFileSync(join(many, 'index.gz'), gzipSync(JSON.stringify(index)));
  return many;
}

/**
 * Milliseconds from when the script is there: until tree and boxes are seen, to the last pixel, when `isForBoxes`; until all is there;
 * those of a frame. The processor time of the page's thread until all is there, in which no drawing is; MB of heap, with the arrays.
 */
async function openSite(browser, site, isForBoxes) {
  const server = await serve(path => fileBelow(site, path || 'index.html'));
  const page = await openPage(browser, 'about:blank', { width: 800, height: 600 });
  const session = await page.createCDPSession();
  await session.send('Performance.enable');
  const threadTime = async () =>
    1000 *
    (await session.send('Performance.getMetrics')).metrics.find(({ name }) => name === 'ThreadTime').value;
  await page.evaluateOnNewDocument(isForBoxes => {
    globalThis.figures = {};
    const note = name => (globalThis.figures[name] ??= performance.now());
    customElements.whenDefined('mirel-page').then(() => {
      const { viewer } = document.querySelector('mirel-page');
      globalThis.figures.began = performance
        .getEntriesByType('resource')
        .find(({ name }) => /page\.js$/.test(name)).responseEnd;
      const look = () => {
        if (!(viewer.model?.bounds.length > 0)) return requestAnimationFrame(look);
        viewer.stage.render();
        const gl = viewer.stage.canvas.getContext('webgl2');
        gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, new Uint8Array(4));
        note('boxes');
      };
      if (isForBoxes) requestAnimationFrame(look);
      viewer.addEventListener('load', () => note('all'));
    });
  }, isForBoxes);
  const before = await threadTime();
  await page.goto(server.address);
  await page.waitForFunction(() => globalThis.figures?.all, { timeout: 300_000, polling: 50 });
  if (isForBoxes) {
    const boxes = await page.evaluate(() => globalThis.figures.boxes - globalThis.figures.began);
    await page.close();
    server.close();
    return { boxes };
  }
  const cpu = (await threadTime()) - before;
  const figures = await page.evaluate(async () => {
    const { viewer } = document.querySelector('mirel-page');
    const pixel = new Uint8Array(4);
    const gl = viewer.stage.canvas.getContext('webgl2');
    const frame = () => {
      const began = performance.now();
      viewer.stage.render();
      gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, pixel);
      return performance.now() - began;
    };
    frame();
    const { began, all } = globalThis.figures;
    return { all: all - began, frame: frame() };
  });
  const rows = await page.evaluate(async () => {
    const began = performance.now();
    const { viewer, shadowRoot } = document.querySelector('mirel-page');
    viewer.select([viewer.model.occurrences.items.length - 1]);
    shadowRoot.querySelector('[role=tree]')?.getBoundingClientRect();
    return performance.now() - began;
  });
  const { usedSize, backingStorageSize } = await session.send('Runtime.getHeapUsage');
  const heap = (usedSize + backingStorageSize) / 1e6;
  await page.close();
  server.close();
  return { ...figures, cpu, rows, heap };
}

async function measure(name, from) {
  const site = join(work, name);
  execFileSync(program, ['site', '-q', from, site]);
  const list = [];
  for (let round = 0; round < rounds; ++round) {
    const browser = await launch();
    list.push({ ...(await openSite(browser, site, true)), ...(await openSite(browser, site, false)) });
    await browser.close();
  }
  const of = key => median(list.map(figures => figures[key])).toFixed(0);
  console.log(
    `${name} | ${of('boxes')} ms | ${of('all')} ms | ${of('cpu')} ms | ${of('frame')} ms | ${of('rows')} ms | ${of('heap')} MB`,
  );
}

console.log(
  `reader alone, warm: ${measureReader().toFixed(0)} MB of inflated records in a second of processor time`,
);
console.log(`reader, minified and gzipped: ${gzipSync(readFileSync(join(dist, 'index.js'))).length} bytes`);
execFileSync(program, ['page', '-q', sample, join(work, 'trolley.html')]);
console.log(`trolley.html: ${statSync(join(work, 'trolley.html')).size} bytes`);
console.log('site | tree and boxes | all | of it processor time | one frame | a part selected | heap');
await measure('model', folder);
await measure('100,000 bodies', saveMany());

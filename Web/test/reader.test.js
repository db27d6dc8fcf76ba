// What the reader does beyond what it shares with the C++ readers.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { join } from 'node:path';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';
import { gunzipSync, gzipSync } from 'node:zlib';
import { dist, exampleFolder, fuzzInputs } from './support.js';

const library = join(dist, 'index.js');
const web = await import(library);

async function readAll(folder, numbers) {
  const meshes = new Map();
  for await (const { shapeId, mesh } of folder.graphics(numbers)) meshes.set(shapeId, mesh);
  return meshes;
}

/** The worked example of docs/format.md with changes to its files. */
function exampleSource(changes = {}) {
  const files = { ...exampleFolder(), ...changes };
  return async file => files[file];
}

test('the worked example says what the document says', async () => {
  const folder = await web.ModelFolder.open(exampleSource());
  assert.equal(folder.index.items[0].name, '例子');
  const rows = web.unfold(folder.index);
  assert.deepEqual(
    rows.items.map(item => item.id),
    ['1', '4', '3', '5', '3'],
  );
  assert.deepEqual([...rows.parents], [-1, 0, 1, 0, 3]);
  assert.deepEqual([...rows.ends], [5, 3, 3, 5, 5]);
  assert.deepEqual([...rows.shapeRows], [2, 4]);
  assert.equal(rows.placements[16 + 14], 12.5);
  const mesh = (await readAll(folder)).get('7');
  assert.deepEqual(
    [0, 1, 2].map(i => web.getPosition(mesh, i)),
    [
      [0, 0, 0],
      [40, 0, 0],
      [0, 30, 0],
    ],
  );
  assert.deepEqual([...mesh.triangles], [2, 0, 1]);
  assert.deepEqual([...web.makeSegments(mesh)], [0, 1, 1, 2, 2, 0]);
  assert.deepEqual(web.getSurface(mesh, 0), {
    kind: 'plane',
    hollow: false,
    origin: [0, 0, 0],
    axis: [0, 0, 1],
    radius: 0,
    second: 0,
  });
});

test('damaged packages are passed over and told', async () => {
  const good = exampleFolder();
  const graphics = new Uint8Array(gunzipSync(good['grep/1.gz']));
  const twoItems = Buffer.concat([
    Buffer.from([2, 0, 0, 0]),
    graphics.subarray(4, 20),
    graphics.subarray(4, 20),
    graphics.subarray(20),
  ]);
  const cases = [
    [undefined, /^grep\/1.gz: not found$/],
    [good['grep/1.gz'].subarray(0, 60), /^grep\/1.gz: not a gzip file, or damaged$/],
    [graphics.subarray(0, 10), /not a package, or its table is cut short/],
    [graphics.subarray(0, 150), /item 1 of 1, id 7, 188 bytes, is cut short: .*inside the header/],
    [twoItems, /item 2 of 2, .* cut short/],
  ];
  for (const [bytes, expected] of cases) {
    const messages = [];
    const folder = await web.ModelFolder.open(exampleSource({ 'grep/1.gz': bytes }), {
      onMessage: m => messages.push(m),
    });
    assert.equal((await readAll(folder)).size, bytes === twoItems ? 1 : 0);
    assert.match(messages.join('\n'), expected);
  }
});

test('what is no model is refused with a reason', async () => {
  const open = (content, options) => web.ModelFolder.open(exampleSource({ 'index.gz': content }), options);
  await assert.rejects(open(undefined), /^ReadError: index.gz: not found: there is no model$/);
  await assert.rejects(open(new TextEncoder().encode('<!DOCTYPE html>')), /not JSON from character 0 on/);
  await assert.rejects(open(gzipSync('{}')), /not the index of a model/);
  await assert.rejects(open(gzipSync(' '.repeat(1 << 25))), /out of proportion/);
  await assert.rejects(
    open(gzipSync(`"${'ab'.repeat(500)}"`), { memoryLimit: 10_000 }),
    /memory than the limit allows/,
  );
  const messages = [];
  const manyMissing = gzipSync('{"Metadata":{"PkgGRep":4294967295},"Types":[],"Items":[]}');
  await readAll(await open(manyMissing, { onMessage: m => messages.push(m) }), [2, 3]);
  assert.equal(messages.length, 2);
  messages.length = 0;
  await readAll(await open(manyMissing, { onMessage: m => messages.push(m) }));
  assert.equal(messages.length, 101);
});

test('over HTTP: progress, files inflated on the way, errors, and an end by signal', async t => {
  const files = exampleFolder();
  let hang = false;
  const server = createServer((request, response) => {
    const file = decodeURIComponent(request.url).slice('/a model/'.length);
    if (file === 'grep/1.gz' && hang) return;
    if (request.url.startsWith('/broken/')) return response.writeHead(503).end();
    if (!files[file]) return response.writeHead(404).end();
    if (file === 'index.gz') response.setHeader('Content-Encoding', 'gzip');
    response.setHeader('Content-Length', files[file].length);
    response.end(files[file]);
  });
  await new Promise(done => server.listen(0, '127.0.0.1', done));
  t.after(() => {
    server.closeAllConnections();
    server.close();
  });
  const base = `http://127.0.0.1:${server.address().port}`;
  const progress = [];
  const folder = await web.ModelFolder.open(`${base}/a model`, { onProgress: p => progress.push(p) });
  assert.equal((await readAll(folder)).size, 1);
  assert.deepEqual(progress.at(-1), {
    file: 'grep/1.gz',
    loaded: files['grep/1.gz'].length,
    total: files['grep/1.gz'].length,
  });
  assert.match(new TextDecoder().decode(await folder.brepText('7')), /^\nCASCADE Topology V3/);
  assert.equal(await folder.brepText('8'), undefined);
  await assert.rejects(web.ModelFolder.open(`${base}/broken/`), /index.gz: the server answers 503/);

  hang = true;
  const controller = new AbortController();
  const opened = await web.ModelFolder.open(`${base}/a model`, { signal: controller.signal });
  setTimeout(() => controller.abort(new Error('enough')), 20);
  await assert.rejects(readAll(opened), /enough|aborted/i);
});

test('walks through types end', async () => {
  const instance = id => `{"Type":"Instance","Id":"1","TId":"${id}"}`;
  const group = (id, children) => `{"Type":"Group","Id":"${id}","Children":[${children}]}`;
  const index = (types, items) =>
    web.readIndex(new TextEncoder().encode(`{"Types":[${types}],"Items":[${items}]}`));
  const messages = [];
  const self = web.unfold(index(group(7, instance(7)), [instance(7), instance(8)]), m => messages.push(m));
  assert.equal(self.items.length, 2);
  assert.match(messages.join('\n'), /type contains itself\n.*does not have its type/);
  const doubled = Array.from({ length: 40 }, (_, i) => group(i + 1, [instance(i + 2), instance(i + 2)]));
  const huge = web.unfold(index([...doubled, group(41, '')], instance(1)), m => messages.push(m));
  assert.equal(huge.items.length, 10_000_000);
  assert.equal(messages.filter(message => message.includes('more than 10000000')).length, 1);
});

test('it works in a worker, and is small', async () => {
  assert.ok(gzipSync(readFileSync(library), { level: 9 }).length <= 12_000);
  const packages = fuzzInputs('GRepPackageFuzz');
  const worker = new Worker(
    `const { parentPort, workerData } = require('node:worker_threads');
     import(workerData.library).then(({ readPackage, readRecord }) =>
       parentPort.postMessage(workerData.packages.flatMap(readPackage).map(item => readRecord(item.bytes))));`,
    { eval: true, workerData: { library, packages } },
  );
  const read = await new Promise((resolve, reject) => worker.on('message', resolve).on('error', reject));
  await worker.terminate();
  const here = packages.flatMap(web.readPackage).map(item => web.readRecord(item.bytes));
  assert.ok(here.some(mesh => mesh.triangles?.length > 100));
  assert.deepEqual(read, here);
});

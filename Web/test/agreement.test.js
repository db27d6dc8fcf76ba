// The reader and the C++ readers get the same bytes, and agree on what is accepted and on every number.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { gunzipSync, gzipSync } from 'node:zlib';
import { buildFolder, dist, fuzzInputs, makeRandom, mirel, sampleFolder } from './support.js';

const web = await import(join(dist, 'index.js'));
const headerBytes = 132;

class Checksum {
  sum = 2166136261;
  #real = new Float64Array(1);
  #bytes = new Uint8Array(this.#real.buffer);
  byte(value) {
    this.sum = Math.imul(this.sum ^ value, 16777619) >>> 0;
  }
  add(...values) {
    for (const value of values) {
      this.#real[0] = value;
      for (const byte of this.#bytes) this.byte(byte);
    }
  }
  addId(id) {
    this.add(Number(BigInt(id) >> 32n), Number(BigInt(id) & 0xffffffffn));
  }
}

function addMesh(sum, mesh) {
  const state = ['empty', 'finite', 'infinite'].indexOf(mesh.box.state);
  sum.add(state);
  if (state === 1) sum.add(...mesh.box.min, ...mesh.box.max);
  sum.add(...mesh.gridOrigin, mesh.gridStep, mesh.linearDeflection, mesh.angularDeflection);
  for (let i = 0; i < web.countVertices(mesh); ++i)
    sum.add(...mesh.positions.subarray(3 * i, 3 * i + 3), ...mesh.normals.subarray(2 * i, 2 * i + 2));
  for (const corner of mesh.triangles) sum.add(corner);
  for (let i = 1; i <= web.countFaces(mesh); ++i) sum.add(mesh.faceCornerStarts[i], mesh.faceVertexStarts[i]);
  for (const point of mesh.polylines) sum.add(point);
  for (const end of mesh.edgePointStarts.subarray(1)) sum.add(end);
  mesh.surfaces?.kinds.forEach((kind, i) =>
    sum.add(kind, mesh.surfaces.hollow[i], ...mesh.surfaces.numbers.subarray(8 * i, 8 * i + 8)),
  );
  mesh.sides?.kinds.forEach((kind, i) => sum.add(kind, ...mesh.sides.faces.subarray(2 * i, 2 * i + 2)));
}

const identity = Float64Array.from({ length: 16 }, (_, i) => (i % 5 === 0 ? 1 : 0));

function addItem(sum, item) {
  sum.byte(item.type.charCodeAt(0));
  if (item.id) sum.addId(item.id);
  for (const c of item.name) if (c < '\x80') sum.byte(c.charCodeAt(0));
  sum.add(...item.color, ...(item.transform ?? identity));
  if (item.type === 'Instance') sum.addId(item.typeId);
  if (item.type === 'Shape') {
    sum.addId(item.shapeId);
    for (const [face, color] of [...item.faceColors].sort(([a], [b]) => a - b)) sum.add(face, ...color);
  }
  if (item.type === 'Group') {
    sum.add(item.children.length);
    for (const child of item.children) addItem(sum, child);
  }
}

const readers = {
  async i(sum, bytes) {
    const index = web.readIndex(bytes);
    sum.add(index.shapePackages, index.graphicsPackages);
    const byId = ([a], [b]) => (BigInt(a) < BigInt(b) ? -1 : 1);
    for (const [, type] of [...index.types].filter(([id]) => id).sort(byId)) addItem(sum, type);
    for (const item of index.items) addItem(sum, item);
    return true;
  },
  async r(sum, bytes) {
    const mesh = web.readRecord(bytes);
    if (typeof mesh !== 'string') addMesh(sum, mesh);
    return typeof mesh !== 'string';
  },
  async p(sum, bytes) {
    const items = web.readPackage(bytes);
    const meshes = new Map();
    for (const item of items) {
      const mesh = web.readRecord(item.bytes);
      if (typeof mesh !== 'string') meshes.set(BigInt(item.id), mesh);
    }
    for (const [id, mesh] of [...meshes].sort(([a], [b]) => (a < b ? -1 : 1))) {
      sum.addId(id);
      addMesh(sum, mesh);
    }
    return items.length > 0;
  },
  async t(sum, bytes) {
    const items = web.readPackage(bytes);
    for (const { id, size } of items) {
      sum.addId(id);
      sum.add(size);
    }
    return items.length > 0;
  },
  async g(sum, bytes) {
    for (const byte of await web.inflateFile(bytes, 'input', new web.MemoryBudget(64 * 2 ** 30)))
      sum.byte(byte);
    return true;
  },
  async l(sum, bytes) {
    for (const byte of await web.unpackFile(bytes, 'input.lz', new web.MemoryBudget(64 * 2 ** 30)))
      sum.byte(byte);
    return true;
  },
};

async function readHere({ kind, bytes }) {
  const sum = new Checksum();
  try {
    return (await readers[kind](sum, bytes)) ? sum.sum.toString(16).padStart(8, '0') : 'no';
  } catch (error) {
    assert.ok(error instanceof web.ReadError, `${error.stack}`);
    return 'no';
  }
}

function readThere(inputs) {
  const folder = mkdtempSync(join(tmpdir(), 'mirel-'));
  try {
    const file = join(folder, 'inputs');
    const parts = inputs.flatMap(({ kind, bytes }) => {
      const head = Buffer.alloc(5);
      head.write(kind, 'latin1');
      head.writeUInt32LE(bytes.length, 1);
      return [head, bytes];
    });
    writeFileSync(file, Buffer.concat(parts));
    return execFileSync(join(buildFolder, 'bin/MirelReaderValues'), [file], { maxBuffer: 1 << 26 })
      .toString()
      .trimEnd()
      .split('\n');
  } finally {
    rmSync(folder, { recursive: true });
  }
}

/** Reads all inputs on both sides; the number of those that were accepted. */
async function compare(inputs) {
  const there = readThere(inputs);
  assert.equal(there.length, inputs.length);
  let accepted = 0;
  for (const [i, input] of inputs.entries()) {
    const here = await readHere(input);
    const what = `input ${i}, ${input.kind}: ${Buffer.from(input.bytes).toString('latin1').slice(0, 2000)}`;
    assert.equal(here, there[i], what);
    if (here !== 'no') accepted++;
  }
  return accepted;
}

const interesting = [
  0,
  1,
  2,
  3,
  4,
  6,
  7,
  8,
  9,
  127,
  128,
  129,
  255,
  256,
  65535,
  65536,
  2 ** 31 - 1,
  2 ** 31,
  2 ** 32 - 1,
];
const reals = [0, -0, 1, -1, 0.002, 1e-300, 40, 1e12, -1e12, 1.1e12, Infinity, NaN];

/** Changes one thing in a record, and mostly lets the header tell the size of the payload. */
function mutateRecord(record, random) {
  const view = bytes => new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
  if (record.length < headerBytes) return record;
  let out = record.slice();
  const at = random(out.length);
  const inPayload = headerBytes + random(Math.max(1, out.length - headerBytes));
  switch (random(8)) {
    case 0:
      out[at] = random(256);
      return out;
    case 1:
      return out.slice(0, at);
    case 2: {
      const field = 8 + 4 * random(7);
      const old = view(out).getUint32(field, true);
      view(out).setUint32(
        field,
        random(2) ? old + random(3) - 1 : interesting[random(interesting.length)],
        true,
      );
      return out;
    }
    case 3:
      view(out).setFloat64(36 + 8 * random(12), reals[random(reals.length)], true);
      return out;
    case 4:
      out[4 + random(4)] = random(4);
      return out;
    default: {
      // A number of the payload becomes another, comes or goes.
      const number = [];
      let value = random(2) ? random(16) : interesting[random(interesting.length)];
      for (; value > 127; value = Math.floor(value / 128)) number.push((value % 128) + 128);
      number.push(value);
      const kind = random(3);
      const middle = kind === 2 ? [] : number;
      out = Uint8Array.from([
        ...out.subarray(0, inPayload),
        ...middle,
        ...out.subarray(inPayload + (kind === 1 ? 0 : 1)),
      ]);
      if (out.length >= headerBytes) view(out).setUint32(8, out.length - headerBytes, true);
      return out;
    }
  }
}

const tokens = (
  '"Type" "Id" "Name" "Color" "Transform" "SId" "FColor" "FId" "Children" "TId" "Types" "Items" "Metadata" "PkgGRep" "Shape" ' +
  '"Group" "Instance" "7" "007" "-1" "18446744073709551615" "18446744073709551616" "a\\u0000b" "\\ud83d\\ude00" "\\ud800" ' +
  '"\\udc00" {} [] [[]] null true -1 0 -0 1.0 -0.0 1e2 0e-30 0e999 1e-400 -1e-400 1e400 1.5e309 0.00001e313 0.1e310 3.5e38 ' +
  '4294967295 4294967296 -2147483649 18446744073709551616 9007199254740993 0.1000000000000000055511151231257827 , : { } [ ] \\'
).split(' ');

/** Changes a text by its tokens, now and then by its bytes. */
function mutateIndex(bytes, random) {
  const text = Buffer.from(bytes).toString('latin1');
  const parts = text.match(/"(?:[^"\\]|\\.)*"|[-+.\w]+|\s+|./gs) ?? [];
  const at = random(parts.length);
  switch (random(5)) {
    case 0: {
      const out = bytes.slice();
      out[random(out.length)] = random(256);
      return out;
    }
    case 1:
      parts.splice(at, 1 + random(3));
      break;
    case 2:
      parts.splice(at, 0, ...parts.slice(random(parts.length)).slice(0, 1 + random(40)));
      break;
    case 3:
      // A member once more, with another value.
      parts.splice(at, 0, tokens[random(14)], ':', tokens[random(tokens.length)], ',');
      break;
    default:
      parts[at] = tokens[random(tokens.length)];
  }
  return new Uint8Array(Buffer.from(parts.join(''), 'latin1'));
}

const asInputs = (kind, inputs) => inputs.map(bytes => ({ kind, bytes }));
const sample = sampleFolder();
mirel('site', sample, `${sample}-site`);
const siteFile = name => new Uint8Array(readFileSync(join(`${sample}-site`, name)));
const recordsOf = bytes => web.readPackage(bytes).map(item => item.bytes.slice());
const drawings = recordsOf(
  await web.unpackFile(siteFile('draw/1.lz'), 'draw/1.lz', new web.MemoryBudget(64 * 2 ** 30)),
);
const records = [...fuzzInputs('GRepPackageFuzz').flatMap(recordsOf), ...drawings];

/** Mutants of mutants, so that several changes come together. */
function mutants(seeds, mutate, count, seed) {
  const random = makeRandom(seed);
  return Array.from({ length: count }, () => {
    let bytes = seeds[random(seeds.length)];
    for (let times = 1 + random(2); times > 0 && bytes.length > 0; --times) bytes = mutate(bytes, random);
    return bytes;
  });
}

test('the readers agree on all seeds and regressions', async () => {
  const inputs = [
    ...asInputs('p', fuzzInputs('GRepPackageFuzz')),
    ...asInputs('t', fuzzInputs('ShapePackageFuzz')),
    ...asInputs('i', fuzzInputs('IndexFuzz')),
    ...asInputs('g', fuzzInputs('GzipFuzz')),
  ];
  assert.ok(inputs.length > 45);
  assert.ok((await compare(inputs)) > 40);
});

test('the readers agree on 10,000 mutated records', async () => {
  const accepted = await compare(asInputs('r', mutants(records, mutateRecord, 10_000, 1)));
  assert.ok(accepted > 500 && accepted < 9500, `${accepted} of them are accepted`);
});

test('the readers agree on mutated indexes, packages and gzip files', async () => {
  const indexes = mutants(fuzzInputs('IndexFuzz'), mutateIndex, 5000, 2);
  const depths = [499, 500, 501, 502, 503, 1003, 1004, 1005].map(depth => {
    const group = '{"Type":"Group","Id":"1","Children":[';
    return new TextEncoder().encode(`{"Types":[],"Items":[${group.repeat(depth)}${']}'.repeat(depth)}]}`);
  });
  const anyByte = (bytes, random) => {
    const out = bytes.slice(0, random(4) ? bytes.length : random(bytes.length));
    out[random(out.length)] = random(256);
    return out;
  };
  const packages = mutants(fuzzInputs('GRepPackageFuzz'), anyByte, 2000, 3);
  const members = [gzipSync('a'), gzipSync('b'.repeat(70_000)), gzipSync(''), ...fuzzInputs('GzipFuzz')].map(
    b => new Uint8Array(b),
  );
  const twice = members.map(bytes => Uint8Array.from([...members[1], ...bytes]));
  const files = mutants([...members, ...twice], anyByte, 2000, 4).filter(
    ([a, b]) => a === 0x1f && b === 0x8b,
  );
  for (const inputs of [
    asInputs('i', [...indexes, ...depths]),
    asInputs('p', packages),
    asInputs('g', [...twice, ...files]),
  ])
    assert.ok((await compare(inputs)) > 20);
  // A checksum lets hardly any change pass.
  const packed = [siteFile('index.lz'), siteFile('draw/1.lz')];
  assert.ok((await compare(asInputs('l', [...packed, ...mutants(packed, anyByte, 1000, 5)]))) >= 2);
});

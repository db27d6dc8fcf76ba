// What the tests share: where things lie, inputs, and bytes by hand.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gunzipSync, gzipSync } from 'node:zlib';

export const sourceFolder = fileURLToPath(new URL('../..', import.meta.url));
/** CMake's build tree. */
export const buildFolder = process.env.MIREL_BUILD ?? join(sourceFolder, 'build/dev');
export const dist = join(buildFolder, 'Web/dist');

/** The seeds and regressions of a fuzz target. */
export function fuzzInputs(target) {
  return ['seeds', 'regressions'].flatMap(kind => {
    const folder = join(sourceFolder, 'Fuzz', target, kind);
    try {
      return readdirSync(folder)
        .sort()
        .map(name => new Uint8Array(readFileSync(join(folder, name))));
    } catch {
      return [];
    }
  });
}

/** The sample assembly as a model folder, saved anew for each file of tests. */
export function sampleFolder() {
  const folder = join(makeScratch('sample'), 'trolley');
  mirel('save', '-q', join(sourceFolder, 'Samples/trolley.step'), folder);
  return folder;
}

export const program = join(buildFolder, 'bin/mirel');
export const mirel = (...words) => execFileSync(program, words, { encoding: 'utf8' });

/** A folder for what one file of tests makes; it goes with the process. */
export function makeScratch(name) {
  const folder = join(buildFolder, 'Web', `${name}-${process.pid}`);
  process.on('exit', () => rmSync(folder, { recursive: true, force: true }));
  mkdirSync(folder, { recursive: true });
  return folder;
}

export function writeFolder(folder, files) {
  for (const [file, bytes] of Object.entries(files)) {
    mkdirSync(dirname(join(folder, file)), { recursive: true });
    writeFileSync(join(folder, file), bytes);
  }
  return folder;
}

/** A copy of a model folder whose index is changed. */
export function changeIndex(from, to, before, after) {
  const index = gunzipSync(readFileSync(join(from, 'index.gz'))).toString();
  assert.ok(index.includes(before), before);
  return writeFolder(to, {
    'index.gz': gzipSync(index.replace(before, after)),
    'grep/1.gz': readFileSync(join(from, 'grep/1.gz')),
    'model/1.gz': readFileSync(join(from, 'model/1.gz')),
  });
}

/** A file below a folder; undefined when it is not there. */
export function fileBelow(folder, name) {
  try {
    return readFileSync(join(folder, name));
  } catch {
    return undefined;
  }
}

/** Random numbers that are the same each time: below `count`. */
export function makeRandom(seed) {
  let state = seed;
  return count => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return Math.floor((state / 2 ** 32) * count);
  };
}

/** The files of the worked example of docs/format.md. */
export function exampleFolder() {
  const blocks = readFileSync(join(sourceFolder, 'docs/format.md'), 'utf8').split('\n```');
  const block = info => blocks.find(text => text.startsWith(info + '\n')).slice(info.length + 1);
  const bytes = info =>
    block(info)
      .split('\n')
      .flatMap(line => line.slice(6, 53).trim().split(/\s+/))
      .map(hex => parseInt(hex, 16));
  const brep = block('text model/1.gz, item 0').replace(/\n(CASCADE|Locations|Curve2ds)/g, '\n$1');
  const table = [1, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, brep.length & 255, brep.length >> 8, 0, 0];
  const files = {
    'index.gz': block('json index.gz'),
    'grep/1.gz': Uint8Array.from(bytes('text grep/1.gz')),
    'model/1.gz': Buffer.concat([Buffer.from(table), Buffer.from(brep)]),
  };
  for (const name of Object.keys(files)) files[name] = new Uint8Array(gzipSync(files[name]));
  return files;
}

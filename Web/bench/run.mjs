// Measures the web viewer against other ways to show the same model in a browser, in headless Chromium with graphics in software.
// usage: npm ci && node run.mjs FILE.step SITE MERGED.glb
// SITE is what `mirel site` makes of the file, MERGED.glb what `mirel-bench prepare` does. MIREL_BENCH_ROUNDS says how often,
// MIREL_BENCH_STEP for how many minutes the STEP file may be read in the browser (10), 0 not at all.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, readdirSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { build } from 'esbuild';
import { launch, openPage, serve } from '../test/browser.js';

const rounds = Number(process.env.MIREL_BENCH_ROUNDS ?? 5);
const stepMinutes = Number(process.env.MIREL_BENCH_STEP ?? 10);
const [step, folder, glb] = process.argv.slice(2);
if (!glb) {
  console.error('usage: node run.mjs FILE.step SITE MERGED.glb');
  process.exit(1);
}
const here = dirname(fileURLToPath(import.meta.url));
const require = createRequire(import.meta.url);
const work = mkdtempSync(join(tmpdir(), 'mirel-bench-'));
process.on('exit', () => rmSync(work, { recursive: true }));
await build({
  entryPoints: [join(here, 'ours.ts'), join(here, 'peers.ts')],
  bundle: true,
  minify: true,
  format: 'esm',
  target: 'es2022',
  banner: { js: 'globalThis.began = performance.now();' },
  outdir: work,
});
/** What gltfpack makes of the GLB file. */
function pack(name, ...options) {
  const packed = join(work, name);
  const script = join(dirname(require.resolve('gltfpack/package.json')), 'cli.js');
  execFileSync(process.execPath, [script, '-i', glb, '-o', packed, '-cc', '-kn', ...options]);
  return packed;
}
const packed = pack('packed.glb');

const occt = dirname(require.resolve('occt-import-js'));
const page = script =>
  `<!DOCTYPE html><body>${script.includes('peers') ? '<script src="occt-import-js.js"></script>' : ''}<script type="module" src="${script}"></script>`;
const files = path => {
  if (path === 'ours.html' || path === 'peers.html') return page(path.replace('html', 'js'));
  const file = path.startsWith('model/')
    ? join(folder, path.slice(6))
    : ({ 'merged.glb': glb, 'packed.glb': packed, 'model.step': step }[path] ??
      (path.startsWith('occt') ? join(occt, path) : join(work, path)));
  try {
    return readFileSync(file);
  } catch {
    return undefined;
  }
};
const server = await serve(files);

const ways = {
  site: 'ours.html',
  'GLB, merged faces': 'peers.html#merged.glb',
  'the same by gltfpack -cc': 'peers.html#packed.glb',
  'STEP by occt-import-js': 'peers.html#model.step',
};
const results = Object.fromEntries(Object.keys(ways).map(name => [name, []]));
for (let round = 0; round < rounds; ++round) {
  for (const [name, path] of Object.entries(ways)) {
    const isStep = name.startsWith('STEP');
    if (isStep && (round > 0 || stepMinutes === 0)) continue; // takes minutes
    const browser = await launch();
    const tab = await openPage(browser, 'about:blank', { width: 800, height: 600 });
    tab.on('pageerror', error => {
      throw error;
    });
    const session = await tab.createCDPSession();
    await session.send('Performance.enable');
    await tab.goto(`${server.address}${path}`);
    const timeout = 60_000 * (isStep ? stepMinutes : 20);
    try {
      await tab.waitForFunction(() => globalThis.result, { timeout });
    } catch (error) {
      if (!isStep || error.name !== 'TimeoutError') throw error;
      console.log(`${name}: not done after ${stepMinutes} minutes`);
      browser.process().kill('SIGKILL');
      continue;
    }
    const { metrics } = await session.send('Performance.getMetrics');
    const cpu = 1000 * metrics.find(({ name }) => name === 'ThreadTime').value;
    results[name].push({ ...(await tab.evaluate(() => globalThis.result)), cpu });
    await browser.close();
  }
}
server.close();

// A way that was not taken has none.
const median = values => values.sort((a, b) => a - b)[values.length >> 1] ?? NaN;
const gzipped = file => gzipSync(readFileSync(file), { level: 6 }).length;
const own = [
  'index.lz',
  'overview.json',
  ...readdirSync(join(folder, 'draw')).map(name => `draw/${name}`),
].reduce((sum, name) => sum + readFileSync(join(folder, name)).length, 0);
const bytes = [own, gzipped(glb), gzipped(packed), gzipped(step)];
console.log(
  'way | bytes fetched | to the first picture, less one frame | frame | tree | processor, the page alone',
);
Object.entries(results).forEach(([name, list], i) => {
  const of = key => median(list.map(result => result[key] ?? 0)).toFixed(0);
  console.log(
    `${name} | ${bytes[i]} | ${median(list.map(({ first, frame }) => first - frame)).toFixed(0)} ms | ${of('frame')} ms | ${of('opened')} ms | ${of('cpu')} ms`,
  );
});
console.log(
  `the same by gltfpack -cc -vp 16, positions of 16 bits: ${gzipped(pack('fine.glb', '-vp', '16'))} bytes`,
);

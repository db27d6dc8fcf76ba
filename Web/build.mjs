// Bundles what is published: the reader, the three.js objects and the web component, each minified, for browsers and node;
// and the viewer with all that it needs in one script, for pages that load nothing else.
// usage: node build.mjs [FOLDER]     default: dist
import { copyFileSync, writeFileSync } from 'node:fs';
import { build } from 'esbuild';

const outdir = process.argv[2] ?? 'dist';
const common = {
  bundle: true,
  minify: true,
  target: 'es2022',
  legalComments: 'none',
  logLevel: 'warning',
  outdir,
};

await Promise.all([
  build({ ...common, format: 'esm', entryPoints: { index: 'src/index.ts' } }),
  build({ ...common, format: 'esm', entryPoints: { three: 'src/three/index.ts' }, external: ['three'] }),
  build({ ...common, format: 'esm', entryPoints: { viewer: 'src/viewer/index.ts' } }),
  build({ ...common, format: 'iife', entryPoints: { page: 'src/page/page.ts' } }),
]);
// What `mirel page` and `mirel site` fill in.
copyFileSync('src/page/page.html', `${outdir}/page.html`);
// The folder may lie anywhere; node takes what is in it for modules.
writeFileSync(`${outdir}/package.json`, '{ "type": "module" }\n');

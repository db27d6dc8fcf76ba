// What `mirel export` makes for others: glTF as its validator and three.js' own loader see it.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { build } from 'esbuild';
import validator from 'gltf-validator';
import { compare, openPage, useBrowser } from './browser.js';
import { changeIndex, makeScratch, mirel, program, sourceFolder } from './support.js';

const scratch = makeScratch('export');
const trolley = join(scratch, 'trolley');
mirel('save', '-q', join(sourceFolder, 'Samples/trolley.step'), trolley);

/** Exports with options, damaged models too; the path of the file. */
function exportTo(name, folder, ...options) {
  const file = join(scratch, name);
  spawnSync(program, ['export', folder, file, ...options]);
  return file;
}

test('the validator finds nothing', async () => {
  const files = [
    ['plain.glb'],
    ['text.gltf', '--edges'],
    ['faces.glb', '--faces', '--edges'],
    ['part.glb', '--only', 'push handle'],
    ['small.glb', '--meshopt', '--edges'],
    ['small-faces.glb', '--meshopt', '--faces'],
  ];
  for (const [name, ...options] of files) {
    const isCompressed = options.includes('--meshopt');
    const { issues } = await validator.validateBytes(
      new Uint8Array(readFileSync(exportTo(name, trolley, ...options))),
      {
        uri: name,
        externalResourceFunction: async uri => new Uint8Array(readFileSync(join(scratch, uri))),
        ignoredIssues: isCompressed ? ['UNSUPPORTED_EXTENSION'] : [],
      },
    );
    // It does not know this extension yet, nor that the bytes are used by it alone.
    const found = issues.messages.map(({ code, pointer }) => `${code} ${pointer}`);
    assert.deepEqual(found, isCompressed ? ['UNUSED_OBJECT /buffers/0'] : [], name);
  }
});

// The light is that of `mirel picture`; all else comes from the file.
const page = `
import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { MeshoptDecoder } from 'three/addons/libs/meshopt_decoder.module.js';
import { surfaceFragment } from './src/three/shaders.ts';

const vertexShader = \`
uniform vec3 baseColor;
out vec3 scenePoint, viewPoint, viewNormal, color;
out float mark;
void main() {
  vec4 point = modelViewMatrix * vec4(position, 1.0);
  scenePoint = viewPoint = point.xyz;
  viewNormal = normalMatrix * normal;
  color = baseColor;
  mark = 0.0;
  gl_Position = projectionMatrix * point;
}\`;

globalThis.draw = async (bytes, { eye, target }, width, height) => {
  const file = Uint8Array.from(atob(bytes), c => c.charCodeAt(0)).buffer;
  const { scene } = await new GLTFLoader().setMeshoptDecoder(MeshoptDecoder).parseAsync(file, '');
  scene.traverse(object => {
    if (!object.isMesh) return;
    const baseColor = object.material.color.clone().convertLinearToSRGB();
    object.material = new THREE.ShaderMaterial({
      glslVersion: THREE.GLSL3,
      side: THREE.DoubleSide,
      vertexShader,
      fragmentShader: surfaceFragment,
      uniforms: {
        baseColor: { value: baseColor },
        planes: { value: [0, 0, 0].map(() => new THREE.Vector4()) },
        planeCount: { value: 0 },
        opacity: { value: 1 },
        highlight: { value: new THREE.Vector3() },
        isParallel: { value: false },
      },
    });
  });
  // In millimetres with z up again.
  const world = new THREE.Group().add(scene);
  world.rotation.x = Math.PI / 2;
  world.scale.setScalar(1000);
  const distance = new THREE.Vector3(...eye).distanceTo(new THREE.Vector3(...target));
  const camera = new THREE.PerspectiveCamera(28, width / height, distance / 100, distance * 100);
  camera.up.set(0, 0, 1);
  camera.position.set(...eye);
  camera.lookAt(...target);
  const renderer = new THREE.WebGLRenderer({ antialias: true, alpha: true, preserveDrawingBuffer: true });
  renderer.outputColorSpace = THREE.LinearSRGBColorSpace;
  renderer.setSize(width, height);
  renderer.render(world, camera);
  return renderer.domElement.toDataURL('image/png').split(',')[1];
};`;

const bundled = await build({
  stdin: { contents: page, resolveDir: join(sourceFolder, 'Web'), loader: 'js' },
  bundle: true,
  format: 'iife',
  write: false,
  logLevel: 'warning',
});
const used = useBrowser({
  files: { '': '<!DOCTYPE html><script src="page.js"></script>', 'page.js': bundled.outputFiles[0].contents },
});

test("three.js' own loader draws the picture that `mirel picture` draws", async () => {
  const [width, height] = [360, 270];
  const drawn = join(scratch, 'drawn.png');
  const plain = ['--size', `${width}x${height}`, '--background', 'none', '--edges', 'none'];
  mirel('picture', trolley, drawn, ...plain, '--ids', join(scratch, 'ids.png'));
  const look = JSON.parse(readFileSync(join(scratch, 'ids.json'), 'utf8'));
  const page = await openPage(used.browser, used.address);
  const differ = async file => {
    const bytes = readFileSync(file).toString('base64');
    const seen = await page.evaluate((...words) => globalThis.draw(...words), bytes, look, width, height);
    return compare(page, readFileSync(drawn), Buffer.from(seen, 'base64'), { tolerance: 40, scale: 1 / 2 });
  };
  const limit = 0.002;
  for (const options of [[], ['--meshopt'], ['--faces']]) {
    const difference = await differ(exportTo('same.glb', trolley, ...options));
    assert.ok(difference < limit, `${options}: ${difference}`);
  }
  const wrong = {
    missing: ['"SId":"3675093686547461063"', '"SId":"1"'],
    color: ['[1.0,0.800000011920929,0.0]', '[0.6,0.8,0.0]'],
    mirrored: ['"drawer top","Transform":[1.0', '"drawer top","Transform":[-1.0'],
  };
  for (const [what, [from, to]] of Object.entries(wrong)) {
    const difference = await differ(
      exportTo(`${what}.glb`, changeIndex(trolley, join(scratch, what), from, to)),
    );
    assert.ok(difference > limit, `${what}: ${difference}`);
  }
  assert.deepEqual(page.errors, []);
  await page.close();
});

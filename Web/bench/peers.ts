// The same model by other ways: a GLB file, plain or compressed, and the STEP file itself.
import {
  Box3,
  BufferAttribute,
  BufferGeometry,
  DirectionalLight,
  Group,
  HemisphereLight,
  Mesh,
  MeshStandardMaterial,
  PerspectiveCamera,
  Scene,
  Vector3,
  WebGLRenderer,
  type Object3D,
} from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { MeshoptDecoder } from 'three/addons/libs/meshopt_decoder.module.js';
import { report } from './report.js';

async function loadGlb(address: string): Promise<Object3D> {
  const loader = new GLTFLoader();
  loader.setMeshoptDecoder(MeshoptDecoder);
  return (await loader.loadAsync(address)).scene;
}

interface StepMesh {
  color?: [number, number, number];
  attributes: { position: { array: number[] }; normal?: { array: number[] } };
  index: { array: number[] };
}

async function loadStep(address: string): Promise<Object3D> {
  const library = await (
    globalThis as unknown as {
      occtimportjs(): Promise<{ ReadStepFile(b: Uint8Array, o: null): { meshes: StepMesh[] } }>;
    }
  ).occtimportjs();
  const content = new Uint8Array(await (await fetch(address)).arrayBuffer());
  const group = new Group();
  for (const { attributes, index, color } of library.ReadStepFile(content, null).meshes) {
    const geometry = new BufferGeometry();
    geometry.setAttribute('position', new BufferAttribute(Float32Array.from(attributes.position.array), 3));
    if (attributes.normal)
      geometry.setAttribute('normal', new BufferAttribute(Float32Array.from(attributes.normal.array), 3));
    geometry.setIndex(new BufferAttribute(Uint32Array.from(index.array), 1));
    group.add(
      new Mesh(
        geometry,
        new MeshStandardMaterial({
          color: color
            ? (Math.round(color[0] * 255) << 16) |
              (Math.round(color[1] * 255) << 8) |
              Math.round(color[2] * 255)
            : 0xb8bdc4,
        }),
      ),
    );
  }
  return group;
}

const what = location.hash.slice(1);
const renderer = new WebGLRenderer({ antialias: true });
renderer.setSize(800, 600);
document.body.append(renderer.domElement);
const model = await (what.endsWith('.step') ? loadStep(what) : loadGlb(what));
const scene = new Scene().add(
  model,
  new HemisphereLight(0xffffff, 0x888888, 2),
  new DirectionalLight(0xffffff, 2),
);
const box = new Box3().setFromObject(model);
const size = box.getSize(new Vector3()).length();
const camera = new PerspectiveCamera(28, 800 / 600, size / 100, size * 10);
camera.position.copy(box.getCenter(new Vector3())).add(new Vector3(1, 1, 1).setLength(2 * size));
camera.lookAt(box.getCenter(new Vector3()));
report(renderer.domElement, () => renderer.render(scene, camera));

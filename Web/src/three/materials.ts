import {
  AlwaysStencilFunc,
  BackSide,
  DecrementWrapStencilOp,
  DoubleSide,
  FrontSide,
  GLSL3,
  IncrementWrapStencilOp,
  NotEqualStencilFunc,
  ReplaceStencilOp,
  ShaderMaterial,
  Vector3,
  Vector4,
  type IUniform,
  type ShaderMaterialParameters,
} from 'three';
import type { Color } from '../reader/items.js';
import {
  capFragment,
  capVertex,
  countFragment,
  edgeFragment,
  edgeVertex,
  surfaceFragment,
  surfaceVertex,
} from './shaders.js';

/** Section planes at once. */
export const maxPlanes = 3;

/** What all materials of a model share: changing a value here changes them all. */
export interface SharedUniforms {
  [name: string]: IUniform;
  planes: IUniform<Vector4[]>;
  planeCount: IUniform<number>;
  explode: IUniform<number>;
  isParallel: IUniform<boolean>;
  /** By how much edges are drawn nearer in parallel projection, in mm. */
  nearer: IUniform<number>;
  highlight: IUniform<Vector3>;
  edgeColor: IUniform<Vector4>;
  pixelRatio: IUniform<number>;
}

export function makeSharedUniforms(): SharedUniforms {
  return {
    planes: { value: Array.from({ length: maxPlanes }, () => new Vector4()) },
    planeCount: { value: 0 },
    explode: { value: 0 },
    isParallel: { value: false },
    nearer: { value: 0 },
    highlight: { value: new Vector3(1, 0.55, 0.1) },
    edgeColor: { value: new Vector4(0.06, 0.07, 0.09, 0.8) },
    pixelRatio: { value: 1 },
  };
}

function makeMaterial(
  shared: SharedUniforms,
  own: { [name: string]: unknown },
  parameters: ShaderMaterialParameters,
): ShaderMaterial {
  const uniforms: { [name: string]: IUniform } = { ...shared };
  for (const [name, value] of Object.entries(own)) uniforms[name] = { value };
  const material = new ShaderMaterial({ glslVersion: GLSL3, ...parameters, uniforms });
  // Of bodies without colours of faces.
  material.defaultAttributeValues = {
    faceColor: [0, 0, 0, 0],
  } as unknown as typeof material.defaultAttributeValues;
  return material;
}

const surface = { vertexShader: surfaceVertex, fragmentShader: surfaceFragment };

export function makeSolidMaterial(shared: SharedUniforms, color: Color): ShaderMaterial {
  return makeMaterial(shared, { bodyColor: color, wanted: 0, opacity: 1 }, { ...surface, side: DoubleSide });
}

export function makeGhostMaterial(shared: SharedUniforms, color: Color): ShaderMaterial {
  return makeMaterial(
    shared,
    { bodyColor: color, wanted: 2, opacity: 0.13 },
    { ...surface, side: DoubleSide, transparent: true, depthWrite: false },
  );
}

/** What lights up a face: it lies on what it lights up. */
export function makeFaceMaterial(shared: SharedUniforms): ShaderMaterial {
  return makeMaterial(
    shared,
    { bodyColor: shared.highlight.value, wanted: 0, opacity: 1 },
    { ...surface, side: DoubleSide, polygonOffset: true, polygonOffsetFactor: -1, polygonOffsetUnits: -2 },
  );
}

export function makeEdgeMaterial(shared: SharedUniforms): ShaderMaterial {
  return makeMaterial(
    shared,
    {},
    { vertexShader: edgeVertex, fragmentShader: edgeFragment, transparent: true, depthWrite: false },
  );
}

/** Counts in the stencil how often the view enters (`isBack`) and leaves what is cut: what is left over is inside. */
export function makeCountMaterial(
  shared: SharedUniforms,
  ownPlane: number,
  isBack: boolean,
  isMirrored: boolean,
): ShaderMaterial {
  const operation = isBack ? IncrementWrapStencilOp : DecrementWrapStencilOp;
  return makeMaterial(
    shared,
    { bodyColor: [0, 0, 0], wanted: 0, ownPlane },
    {
      vertexShader: surfaceVertex,
      fragmentShader: countFragment,
      side: isBack === isMirrored ? FrontSide : BackSide,
      colorWrite: false,
      depthWrite: false,
      depthTest: false,
      stencilWrite: true,
      stencilFunc: AlwaysStencilFunc,
      stencilFail: operation,
      stencilZFail: operation,
      stencilZPass: operation,
    },
  );
}

/** Draws the cut where the count is not zero, and leaves zeros. */
export function makeCapMaterial(shared: SharedUniforms, color: Color, ownPlane: number): ShaderMaterial {
  return makeMaterial(
    shared,
    { bodyColor: color, ownPlane },
    {
      vertexShader: capVertex,
      fragmentShader: capFragment,
      side: DoubleSide,
      stencilWrite: true,
      stencilRef: 0,
      stencilFunc: NotEqualStencilFunc,
      stencilFail: ReplaceStencilOp,
      stencilZFail: ReplaceStencilOp,
      stencilZPass: ReplaceStencilOp,
    },
  );
}

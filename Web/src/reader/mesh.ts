/** What a box is of: nothing, something, or a body without bounds, of which nothing is drawn. */
export type BoxState = 'empty' | 'finite' | 'infinite';

/** A box in mm, x, y, z. The corners are zeros unless it is finite. */
export interface Box {
  state: BoxState;
  min: ArrayLike<number>;
  max: ArrayLike<number>;
}

/** Kinds of surfaces, as they are numbered in the record. */
export const surfaceKinds = ['other', 'plane', 'cylinder', 'cone', 'sphere', 'torus'] as const;
export type SurfaceKind = (typeof surfaceKinds)[number];

/** Kinds of edges, as they are numbered in the record. */
export const edgeKinds = ['loose', 'border', 'seam', 'smooth', 'sharp'] as const;
export type EdgeKind = (typeof edgeKinds)[number];

/** In the place of a face where an edge has none. */
export const noFace = 0xffffffff;

/**
 * The surfaces of all faces of a mesh: of face i the kind `kinds[i]`, whether the material lies outside of it `hollow[i]`,
 * and eight numbers from `numbers[8 * i]` on: a point, an axis, a radius and a second number; `getSurface` names them.
 */
export interface SurfaceTable {
  kinds: Uint8Array;
  hollow: Uint8Array;
  numbers: Float64Array;
}

/** What lies on both sides of each edge: its kind, and its two faces from `faces[2 * i]` on, or `noFace`. */
export interface SideTable {
  kinds: Uint8Array;
  faces: Uint32Array;
}

/**
 * What is drawn of one body. Lengths are millimetres, coordinates those of the body. Every array can be given to a graphics
 * interface as it is. Ranges are told by where they start: what belongs to number i stands from `starts[i]` to `starts[i + 1]`.
 */
export interface Mesh {
  /** What is drawn, before its positions were rounded to the grid. */
  box: Box;
  /** A position is `gridOrigin + gridStep * (x, y, z)`. */
  gridOrigin: Float64Array;
  gridStep: number;
  /** The largest distance between a triangle and its face, and between a polyline and its edge. */
  linearDeflection: number;
  /** The largest angle in radians between neighbouring segments on a curved edge. */
  angularDeflection: number;

  /** x, y, z of each vertex, in steps of the grid: 32 bits where 16 are too coarse. */
  positions: Uint16Array | Uint32Array;
  /** nx, ny of each vertex: an octahedral normal, see docs/format.md. May be a view into the bytes that were read. */
  normals: Int8Array;
  /** Three vertices for each triangle, counter-clockwise when seen from outside the material. */
  triangles: Uint16Array | Uint32Array;
  /** Where the vertices and the corners of each face start, and at last where they end. */
  faceVertexStarts: Uint32Array;
  faceCornerStarts: Uint32Array;
  /** The vertices of all polylines, and where those of each edge start. */
  polylines: Uint16Array | Uint32Array;
  edgePointStarts: Uint32Array;

  /** Not there in records of the first version. */
  surfaces?: SurfaceTable;
  sides?: SideTable;
}

/** The surface of a face: lengths are those of the exact body, not of its triangles. */
export interface Surface {
  kind: SurfaceKind;
  /** Whether the material lies outside, as around a hole. */
  hollow: boolean;
  /** Plane and cylinder: the point nearest to (0, 0, 0); cone: the apex; sphere and torus: the centre. */
  origin: number[];
  /** Plane: the normal out of the material; cone: from the apex into it; else of revolution. Zero for a sphere. */
  axis: number[];
  /** Of cylinder and sphere; of the circle that the tube of a torus follows; else 0. */
  radius: number;
  /** Plane: distance from (0, 0, 0) along the axis; cone: half angle; torus: radius of the tube; else 0. */
  second: number;
}

export function countVertices(mesh: Mesh): number {
  return mesh.positions.length / 3;
}

export function countFaces(mesh: Mesh): number {
  return mesh.faceCornerStarts.length - 1;
}

export function countEdges(mesh: Mesh): number {
  return mesh.edgePointStarts.length - 1;
}

/** The bytes of a mesh's arrays. */
export function countMeshBytes(mesh: Mesh): number {
  let bytes = 0;
  for (const part of [mesh, mesh.surfaces ?? {}, mesh.sides ?? {}]) {
    for (const array of Object.values(part)) if (ArrayBuffer.isView(array)) bytes += array.byteLength;
  }
  return bytes;
}

/** Gives a mesh the surfaces and sides of another one of the same body. */
export function addFeatures(mesh: Mesh, whole: Mesh): void {
  if (countFaces(mesh) !== countFaces(whole) || countEdges(mesh) !== countEdges(whole)) return;
  mesh.surfaces = whole.surfaces;
  mesh.sides = whole.sides;
}

/** A vertex in mm. */
export function getPosition(mesh: Mesh, vertex: number): [number, number, number] {
  const { positions, gridOrigin: origin, gridStep: step } = mesh;
  return [
    origin[0] + step * positions[3 * vertex],
    origin[1] + step * positions[3 * vertex + 1],
    origin[2] + step * positions[3 * vertex + 2],
  ];
}

/** The number of the last range that starts at `index` or before: the face of a corner, the edge of a point. */
export function findRange(starts: Uint32Array, index: number): number {
  let low = 0;
  let high = starts.length - 1;
  while (high - low > 1) {
    const middle = (low + high) >> 1;
    if (starts[middle] <= index) low = middle;
    else high = middle;
  }
  return low;
}

/** The face that a triangle belongs to. */
export function findFace(mesh: Mesh, triangle: number): number {
  return findRange(mesh.faceCornerStarts, 3 * triangle);
}

/** What a face lies on; undefined when the record does not say. */
export function getSurface(mesh: Mesh, face: number): Surface | undefined {
  if (!mesh.surfaces || face >= mesh.surfaces.kinds.length) return undefined;
  const numbers = mesh.surfaces.numbers.subarray(8 * face, 8 * face + 8);
  return {
    kind: surfaceKinds[mesh.surfaces.kinds[face]],
    hollow: mesh.surfaces.hollow[face] !== 0,
    origin: [...numbers.subarray(0, 3)],
    axis: [...numbers.subarray(3, 6)],
    radius: numbers[6],
    second: numbers[7],
  };
}

/**
 * Whether an edge is one that people who look at a drawing do not expect to see: a seam, or one where two faces go on smoothly. A
 * mesh that does not know its sides has none.
 */
export function isHiddenEdge(mesh: Mesh, edge: number): boolean {
  const kind = edgeKinds[mesh.sides?.kinds[edge] ?? 0];
  return kind === 'seam' || kind === 'smooth';
}

/** The polylines as pairs of vertices, one for each segment; hidden edges are left out. */
export function makeSegments(mesh: Mesh): Uint16Array | Uint32Array {
  const { polylines, edgePointStarts: starts } = mesh;
  const ArrayType = polylines.constructor as Uint32ArrayConstructor;
  const segments = new ArrayType(2 * polylines.length);
  let count = 0;
  for (let edge = 0; edge + 1 < starts.length; ++edge) {
    if (isHiddenEdge(mesh, edge)) continue;
    for (let point = starts[edge] + 1; point < starts[edge + 1]; ++point) {
      segments[count++] = polylines[point - 1];
      segments[count++] = polylines[point];
    }
  }
  return segments.subarray(0, count);
}

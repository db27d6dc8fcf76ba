import { ByteReader, unZigZag } from './bytes.js';
import { readSides, readSurfaces } from './features.js';
import { maxMeshCoordinate, maxMeshElements } from './limits.js';
import type { Box, BoxState, Mesh } from './mesh.js';
import { WalkReader } from './walks.js';

const magic = 0x70655247; // "GRep"
const headerBytes = 132;
const boxStates: BoxState[] = ['empty', 'finite', 'infinite'];

interface Header {
  hasFeatures: boolean;
  /** Arranged as packages for web pages have it. */
  isDrawing: boolean;
  isFine: boolean;
  box: Box;
  payloadBytes: number;
  vertices: number;
  places: number;
  triangles: number;
  faces: number;
  points: number;
  edges: number;
  reals: Float64Array;
}

/**
 * Reads one graphics record; what follows its payload is not looked at. A text is the reason why there is none. What is
 * returned is safe to draw: all indices lie in their arrays, all numbers are finite.
 */
export function readRecord(bytes: Uint8Array): Mesh | string {
  const header = readHeader(bytes);
  if (typeof header === 'string') return header;
  if (bytes.length - headerBytes < header.payloadBytes) return 'it ends inside the payload';
  return readPayload(new ByteReader(bytes.subarray(headerBytes, headerBytes + header.payloadBytes)), header);
}

function readHeader(bytes: Uint8Array): Header | string {
  if (bytes.length < headerBytes) return 'it ends inside the header';
  const reader = new ByteReader(bytes);
  if (reader.u32() !== magic) return 'it does not begin with GRep';
  const [version, versionHigh, flags, state] = reader.take(4);
  if (version < 1 || version > 3 || versionHigh !== 0) return 'its version is unknown';
  if (flags > 1 || state >= boxStates.length) return 'its flags are unknown';
  const payloadBytes = reader.u32();
  const [vertices, places, triangles, faces, points, edges] = Array.from({ length: 6 }, () => reader.u32());
  const reals = Float64Array.from({ length: 12 }, () => reader.real());
  const hasFeatures = version === 2;

  const isFinite = boxStates[state] === 'finite';
  const box = {
    state: boxStates[state],
    min: isFinite ? reals.slice(0, 3) : new Float64Array(3),
    max: isFinite ? reals.slice(3, 6) : new Float64Array(3),
  };
  const reason = checkReals(reals);
  if (reason) return reason;
  if (vertices > 0 && !isFinite) return 'it has vertices but no finite box';
  // The least that each element takes: 3 bytes a vertex, 3 a new place, 1 a triangle, 2 a face, 1 a point, 1 an edge; what
  // is known of it, 1 a face and 1 an edge.
  const known = hasFeatures ? 1 : 0;
  const least = 3 * vertices + 3 * places + triangles + (2 + known) * faces + points + (1 + known) * edges;
  if (least > payloadBytes || payloadBytes > maxMeshElements || triangles > Math.floor(maxMeshElements / 3))
    return 'its counts do not fit its size';
  return {
    hasFeatures,
    isDrawing: version === 3,
    isFine: flags === 1,
    box,
    payloadBytes,
    vertices,
    places,
    triangles,
    faces,
    points,
    edges,
    reals,
  };
}

function checkReals(reals: Float64Array): string | undefined {
  const isLength = (value: number) => value >= 0 && value <= maxMeshCoordinate;
  if (!reals.subarray(0, 9).every(value => Math.abs(value) <= maxMeshCoordinate))
    return 'a coordinate of its box or grid is no number';
  for (let axis = 0; axis < 3; ++axis) if (reals[axis] > reals[axis + 3]) return 'its box is inverted';
  if (!(isLength(reals[9]) && reals[9] > 0)) return 'its grid has no step';
  if (!isLength(reals[10]) || !isLength(reals[11])) return 'its deflections are no numbers';
  return undefined;
}

function readPayload(reader: ByteReader, header: Header): Mesh | string {
  const { vertices, faces, points, edges, reals } = header;
  const faceVertexStarts = new Uint32Array(faces + 1);
  const faceCornerStarts = new Uint32Array(faces + 1);
  const corners = 3 * header.triangles;
  for (let face = 0, vertexEnd = 0, cornerEnd = 0; face < faces; ++face) {
    vertexEnd += reader.number();
    cornerEnd += 3 * reader.number();
    if (vertexEnd > vertices || cornerEnd > corners) return 'its faces need more than it has';
    faceVertexStarts[face + 1] = vertexEnd;
    faceCornerStarts[face + 1] = cornerEnd;
  }
  if (faceCornerStarts[faces] !== corners) return 'its faces do not use all triangles';

  const edgePointStarts = new Uint32Array(edges + 1);
  for (let edge = 0, end = 0; edge < edges; ++edge) {
    const count = reader.number();
    end += count;
    if (end > points || count === 1) return 'its edges need more points than it has';
    edgePointStarts[edge + 1] = end;
  }
  if (edgePointStarts[edges] !== points) return 'its edges do not use all points';

  const positions = readPositions(reader, header);
  if (typeof positions === 'string') return positions;
  const plainNormals = reader.take(2 * vertices);
  const normals = header.isDrawing
    ? sumNormals(plainNormals)
    : new Int8Array(plainNormals.buffer, plainNormals.byteOffset, plainNormals.length);

  const IndexArray = vertices <= 0x10000 ? Uint16Array : Uint32Array;
  const triangles = new IndexArray(corners);
  const walks = header.isDrawing ? new WalkReader(reader) : undefined;
  for (let face = 0; face < faces; ++face) {
    const first = faceVertexStarts[face];
    const count = faceVertexStarts[face + 1] - first;
    const target = triangles.subarray(faceCornerStarts[face], faceCornerStarts[face + 1]);
    const reason = walks ? walks.face(first, count, target) : readStrips(reader, first, count, target);
    if (reason) return reason;
  }
  if (walks && !walks.isDone) return 'its walks leave far corners over';
  const polylines = new IndexArray(points);
  for (let i = 0, last = 0; i < points; ++i) {
    last = (last + reader.signed()) >>> 0;
    if (last >= vertices) return 'a polyline uses a vertex that is not there';
    polylines[i] = last;
  }

  const mesh: Mesh = {
    box: header.box,
    gridOrigin: reals.slice(6, 9),
    gridStep: reals[9],
    linearDeflection: reals[10],
    angularDeflection: reals[11],
    positions,
    normals,
    triangles,
    faceVertexStarts,
    faceCornerStarts,
    polylines,
    edgePointStarts,
  };
  if (header.hasFeatures) {
    const surfaces = readSurfaces(reader, faces);
    if (typeof surfaces === 'string') return surfaces;
    const sides = readSides(reader, edges, faces);
    if (typeof sides === 'string') return sides;
    mesh.surfaces = surfaces;
    mesh.sides = sides;
  }
  if (reader.failed) return 'its payload is cut short or holds a number that is too long';
  if (reader.remaining > 0) return 'its payload has bytes left over';
  return mesh;
}

// Normals as differences: all nx, then all ny.
function sumNormals(differences: Uint8Array): Int8Array {
  const normals = new Int8Array(differences.length);
  const count = differences.length / 2;
  for (let component = 0; component < 2; ++component)
    for (let i = 0, last = 0; i < count; ++i)
      normals[2 * i + component] = last = (last + differences[component * count + i]) & 255;
  return normals;
}

// A vertex either has a new place or refers to one that a vertex before has.
function readPositions(reader: ByteReader, header: Header): Uint16Array | Uint32Array | string {
  const count = header.vertices;
  const first = new Uint32Array(count); // the first vertex at the place of each
  const firstAtPlace = new Uint32Array(header.places);
  let known = 0;
  for (let i = 0, place = 0; i < count; ++i) {
    const code = reader.number();
    if (code === 0) {
      if (known === header.places) return 'its number of places is wrong';
      place = known++;
      firstAtPlace[place] = i;
    } else {
      place = (place + unZigZag(code - 1)) >>> 0;
      if (place >= known) return 'a vertex refers to a place that is not there yet';
    }
    first[i] = firstAtPlace[place];
  }
  if (known !== header.places) return 'its number of places is wrong';

  const positions = header.isFine ? new Uint32Array(3 * count) : new Uint16Array(3 * count);
  const greatest = header.isFine ? 0xffffffff : 0xffff;
  for (let axis = 0; axis < 3; ++axis) {
    for (let i = 0, last = 0; i < count; ++i) {
      if (first[i] === i) {
        last = (last + reader.signed()) >>> 0;
        if (last > greatest) return 'a place lies outside the grid';
      } else {
        last = positions[3 * first[i] + axis];
      }
      positions[3 * i + axis] = last;
    }
  }
  return positions;
}

// The triangles of one face: corners k, k + 1, k + 2 of a strip are one, the first two swapped when k is odd; one with two
// equal corners only turns the strip.
function readStrips(
  reader: ByteReader,
  firstVertex: number,
  vertexCount: number,
  corners: Uint16Array | Uint32Array,
): string | undefined {
  let beforeLast = 0;
  let last = 0;
  let at = 0;
  while (at < corners.length) {
    const length = reader.number();
    if (length < 3) return 'a strip has no triangle';
    if (length > reader.remaining) return 'its strips are cut short';
    for (let k = 0; k < length; ++k) {
      const corner = (beforeLast + reader.signed()) >>> 0;
      if (corner >= vertexCount) return 'a triangle uses a vertex that its face does not have';
      if (k >= 2 && corner !== last && corner !== beforeLast && last !== beforeLast) {
        if (at === corners.length) return 'a face has more triangles than it should';
        const odd = k & 1;
        corners[at + odd] = firstVertex + beforeLast;
        corners[at + 1 - odd] = firstVertex + last;
        corners[at + 2] = firstVertex + corner;
        at += 3;
      }
      beforeLast = last;
      last = corner;
    }
  }
  return reader.failed ? 'its strips are cut short' : undefined;
}

import type { ByteReader } from './bytes.js';
import { maxMeshCoordinate } from './limits.js';
import { edgeKinds, noFace, surfaceKinds, type SideTable, type SurfaceTable } from './mesh.js';

const [other, plane, cylinder, cone, sphere] = surfaceKinds.keys();
const smooth = edgeKinds.indexOf('smooth');

// Code of a surface: its kind in three bits, whether it is hollow, and its axis: 0 to 5 for +x, -x, +y, -y, +z, -z, or three
// numbers of the table.
const hollowBit = 8;
const axisShift = 4;
const freeAxis = 6;
const unitNoise = 1e-6;

// Where in the eight numbers of a surface things stand.
const axisAt = 3;
const radiusAt = 6;
const secondAt = 7;

/** Reads what faces lie on. A text is the reason why that is not possible. */
export function readSurfaces(reader: ByteReader, faceCount: number): SurfaceTable | string {
  const count = reader.number();
  if (count > reader.remaining / 8) return 'its table of numbers is cut short';
  const table = new Float64Array(count);
  for (let i = 0; i < count; ++i) {
    table[i] = reader.real();
    if (!(Math.abs(table[i]) <= maxMeshCoordinate)) return 'a number of its surfaces is none';
  }

  const kinds = new Uint8Array(faceCount);
  const hollow = new Uint8Array(faceCount);
  const numbers = new Float64Array(8 * faceCount);
  for (let face = 0; face < faceCount; ++face) {
    const code = reader.number();
    const kind = code & 7;
    const axis = code >>> axisShift;
    if (kind >= surfaceKinds.length || axis > freeAxis) return 'a surface is of an unknown kind';
    kinds[face] = kind;
    hollow[face] = code & hollowBit ? 1 : 0;
    const reason = readNumbers(reader, kind, axis, table, numbers.subarray(8 * face, 8 * face + 8));
    if (reason) return reason;
  }
  return { kinds, hollow, numbers };
}

function readNumbers(
  reader: ByteReader,
  kind: number,
  axis: number,
  table: Float64Array,
  target: Float64Array,
): string | undefined {
  if (kind === other) return undefined;
  let isInside = true;
  const read = (from: number, to: number) => {
    for (let at = from; at < to; ++at) {
      const place = reader.number();
      isInside &&= place < table.length;
      target[at] = table[place] ?? 0;
    }
  };
  const isAxisFree = kind !== sphere && axis === freeAxis;
  if (isAxisFree) read(axisAt, axisAt + 3);
  else if (kind !== sphere) target[axisAt + (axis >> 1)] = axis % 2 === 0 ? 1 : -1;
  if (kind !== plane) read(0, 3);
  if (kind !== plane && kind !== cone) read(radiusAt, radiusAt + 1);
  if (kind !== cylinder && kind !== sphere) read(secondAt, secondAt + 1);

  if (!isInside) return 'a surface uses a number that is not there';
  const [x, y, z] = target.subarray(axisAt, axisAt + 3);
  if (isAxisFree && !(Math.abs(Math.sqrt(x * x + y * y + z * z) - 1) < unitNoise))
    return 'the axis of a surface does not have length 1';
  if (kind === plane) {
    // Adding 0 makes 0 of -0.
    for (let i = 0; i < 3; ++i) target[i] = target[secondAt] * target[axisAt + i] + 0;
  } else if (target[radiusAt] < 0 || target[secondAt] < 0) {
    return 'a radius is negative';
  }
  return undefined;
}

/** Reads what lies on both sides of the edges. A text is the reason why that is not possible. */
export function readSides(reader: ByteReader, edgeCount: number, faceCount: number): SideTable | string {
  const kinds = new Uint8Array(edgeCount);
  const faces = new Uint32Array(2 * edgeCount).fill(noFace);
  let last = 0;
  for (let edge = 0; edge < edgeCount; ++edge) {
    const kind = reader.number();
    if (kind >= edgeKinds.length) return 'an edge is of an unknown kind';
    kinds[edge] = kind;
    const count = kind === 0 ? 0 : kind < smooth ? 1 : 2;
    for (let side = 0; side < count; ++side) {
      last = (last + reader.signed()) >>> 0;
      if (last >= faceCount) return 'an edge has a face that is not there';
      faces[2 * edge + side] = last;
    }
  }
  return { kinds, faces };
}

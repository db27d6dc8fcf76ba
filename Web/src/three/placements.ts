import type { Box, Mesh } from '../reader/mesh.js';

/** A box as six numbers: the least x, y, z, then the greatest. Without anything in it the former exceed the latter. */
export type Bounds = Float64Array;

export function emptyBounds(): Bounds {
  return Float64Array.of(Infinity, Infinity, Infinity, -Infinity, -Infinity, -Infinity);
}

export function isEmpty(bounds: Bounds): boolean {
  return !(bounds[0] <= bounds[3]);
}

export function extend(bounds: Bounds, other: ArrayLike<number>): void {
  for (let axis = 0; axis < 3; ++axis) {
    bounds[axis] = Math.min(bounds[axis], other[axis]);
    bounds[axis + 3] = Math.max(bounds[axis + 3], other[axis + 3]);
  }
}

export function getCenter(bounds: Bounds): [number, number, number] {
  return [(bounds[0] + bounds[3]) / 2, (bounds[1] + bounds[4]) / 2, (bounds[2] + bounds[5]) / 2];
}

/** The length of the diagonal. */
export function getSize(bounds: Bounds): number {
  return isEmpty(bounds)
    ? 0
    : Math.hypot(bounds[3] - bounds[0], bounds[4] - bounds[1], bounds[5] - bounds[2]);
}

/** The box of a box that is placed: around its eight corners. `matrix` has 16 numbers, column by column. */
export function placeBox(box: Pick<Box, 'min' | 'max'>, matrix: ArrayLike<number>): Bounds {
  const bounds = new Float64Array(6);
  for (let row = 0; row < 3; ++row) {
    bounds[row] = bounds[row + 3] = matrix[12 + row];
    for (let column = 0; column < 3; ++column) {
      const a = matrix[4 * column + row] * box.min[column];
      const b = matrix[4 * column + row] * box.max[column];
      bounds[row] += Math.min(a, b);
      bounds[row + 3] += Math.max(a, b);
    }
  }
  return bounds;
}

/** The determinant of the 3 x 3 part. */
export function getDeterminant(m: ArrayLike<number>): number {
  return (
    m[0] * (m[5] * m[10] - m[6] * m[9]) -
    m[4] * (m[1] * m[10] - m[2] * m[9]) +
    m[8] * (m[1] * m[6] - m[2] * m[5])
  );
}

/** Coordinates in mm of what can be drawn: the square still fits into single precision. */
const maxCoordinate = 1e12;

/** Whether a body can be drawn where it stands. */
export function isDrawable(matrix: ArrayLike<number>): boolean {
  for (let i = 0; i < 16; ++i) if (!(Math.abs(matrix[i]) <= maxCoordinate)) return false;
  const lengths = [0, 4, 8].reduce(
    (product, i) => product * Math.hypot(matrix[i], matrix[i + 1], matrix[i + 2]),
    1,
  );
  // What is flattened has no inside, and normals that point nowhere.
  return lengths > 1e-30 && Math.abs(getDeterminant(matrix)) > 1e-6 * lengths;
}

/**
 * The placement of a mesh as three rows of four floats, from steps of its grid to the scene, whose origin is at `origin` in
 * coordinates of the model: what is far from zero keeps its digits.
 */
export function makeRows(mesh: Mesh, matrix: ArrayLike<number>, origin: ArrayLike<number>): Float32Array {
  const rows = new Float32Array(12);
  for (let row = 0; row < 3; ++row) {
    let offset = matrix[12 + row] - origin[row];
    for (let column = 0; column < 3; ++column) {
      rows[4 * row + column] = matrix[4 * column + row] * mesh.gridStep;
      offset += matrix[4 * column + row] * mesh.gridOrigin[column];
    }
    rows[4 * row + 3] = offset;
  }
  return rows;
}

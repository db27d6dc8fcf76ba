export type Vector = [number, number, number];

export function add(a: Vector, b: Vector): Vector {
  return [a[0] + b[0], a[1] + b[1], a[2] + b[2]];
}

export function subtract(a: Vector, b: Vector): Vector {
  return [a[0] - b[0], a[1] - b[1], a[2] - b[2]];
}

export function scale(a: Vector, by: number): Vector {
  return [a[0] * by, a[1] * by, a[2] * by];
}

export function dot(a: Vector, b: Vector): number {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

export function cross(a: Vector, b: Vector): Vector {
  return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
}

export function length(a: Vector): number {
  return Math.hypot(a[0], a[1], a[2]);
}

export function distance(a: Vector, b: Vector): number {
  return length(subtract(a, b));
}

export function normalize(a: Vector): Vector {
  return scale(a, 1 / length(a));
}

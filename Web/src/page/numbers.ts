/** A number that the record has exactly: all digits that it says, without zeros at the end. */
export function formatExact(value: number): string {
  return String(Number(value.toFixed(9)));
}

/** A number that comes from triangles: no more digits than these can tell. */
export function formatApproximate(value: number): string {
  const digits = value === 0 ? 1 : Math.floor(Math.log10(Math.abs(value)));
  return String(Number(value.toFixed(Math.min(6, Math.max(0, 3 - digits)))));
}

/** Radians as degrees. */
export function formatAngle(value: number): string {
  return `${Number(((value * 180) / Math.PI).toFixed(4))}°`;
}

declare global {
  // When the script began, the tree was there, and what came out.
  var began: number;
  var opened: number | undefined;
  var result: { first: number; frame: number; opened?: number } | undefined;
}

/** Draws the first picture and another one, each to its end, and tells the milliseconds: until the first, and of the other. */
export function report(canvas: HTMLCanvasElement, draw: () => void): void {
  const gl = canvas.getContext('webgl2')!;
  const pixel = new Uint8Array(4);
  const finish = () => {
    draw();
    gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, pixel);
    return performance.now();
  };
  const first = finish();
  globalThis.result = {
    first: first - began,
    frame: finish() - first,
    opened: globalThis.opened && globalThis.opened - began,
  };
}

import type { ByteReader } from './bytes.js';

// What a step of a walk says besides the four corners that are near in number.
const nothing = 0;
const farCorner = 5;

/** Reads the triangles of faces as records of drawings have them: as walks from triangle to neighbour. */
export class WalkReader {
  private readonly far: Int32Array;
  private farsRead = 0;
  /** Pairs of vertices: the sides behind which a walk may go on, the next one last. */
  private gates: number[] = [];

  constructor(private readonly reader: ByteReader) {
    const count = reader.number();
    this.far = new Int32Array(Math.min(count, reader.remaining + 1));
    for (let i = 0; i < this.far.length; ++i) this.far[i] = reader.signed();
  }

  /** Reads the triangles of one face into `corners`, which it must fill; a text is the reason why it cannot. */
  face(firstVertex: number, vertexCount: number, corners: Uint16Array | Uint32Array): string | undefined {
    const { reader, far } = this;
    const gates = this.gates;
    gates.length = 0;
    let last = 0;
    for (let at = 0; at < corners.length;) {
      let a: number, b: number, c: number;
      if (gates.length === 0) {
        if (this.farsRead + 3 > far.length) return 'its walks need more far corners than it has';
        a = (last + far[this.farsRead++]) >>> 0;
        b = (a + far[this.farsRead++]) >>> 0;
        c = last = (b + far[this.farsRead++]) >>> 0;
        gates.push(a, c, c, b, b, a);
      } else {
        b = gates.pop()!;
        a = gates.pop()!;
        const step = reader.number();
        if (reader.failed) return 'its walks are cut short';
        if (step === nothing) continue;
        if (step === 1) c = b + 1;
        else if (step === 2) c = a - 1;
        else if (step === 3) c = a + 1;
        else if (step === 4) c = b - 1;
        else if (step > farCorner) return 'a walk has a step that is unknown';
        else if (this.farsRead === far.length) return 'its walks need more far corners than it has';
        else c = last = (last + far[this.farsRead++]) >>> 0;
        gates.push(a, c, c, b);
      }
      if (a === b || b === c || c === a) return 'a triangle has two equal corners';
      if (a >= vertexCount || b >= vertexCount || c >= vertexCount || c < 0)
        return 'a triangle uses a vertex that its face does not have';
      corners[at++] = firstVertex + a;
      corners[at++] = firstVertex + b;
      corners[at++] = firstVertex + c;
    }
    return undefined;
  }

  /** Whether all far corners are used. */
  get isDone(): boolean {
    return this.farsRead === this.far.length;
  }
}

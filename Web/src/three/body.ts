import { BufferAttribute } from 'three';
import { countFaces, makeSegments, type Mesh } from '../reader/mesh.js';
import type { Palette } from './palette.js';

/** The graphics of a body as attributes, shared by all that draws it. */
export class Body {
  readonly position: BufferAttribute;
  readonly octahedral: BufferAttribute;
  readonly triangles: BufferAttribute;
  readonly segments: BufferAttribute;
  private closed?: boolean;

  constructor(readonly mesh: Mesh) {
    // Graphics interfaces have no floats of 32 bits: those of a fine grid are rounded to 24.
    const positions =
      mesh.positions instanceof Uint32Array ? Float32Array.from(mesh.positions) : mesh.positions;
    this.position = new BufferAttribute(positions, 3);
    this.octahedral = new BufferAttribute(mesh.normals, 2);
    this.triangles = new BufferAttribute(mesh.triangles, 1);
    this.segments = new BufferAttribute(makeSegments(mesh), 1);
  }

  /** Colours of vertices, each of which belongs to one face; undefined when no face has one of its own. */
  makeFaceColors(palette: Palette): BufferAttribute | undefined {
    if (palette.faces.size === 0) return undefined;
    const { positions, faceVertexStarts: starts } = this.mesh;
    const colors = new Uint8Array((positions.length / 3) * 4);
    for (const [face, color] of palette.faces) {
      const rgba = [...color.map(component => Math.round(255 * component)), 255];
      for (let vertex = starts[face]; vertex < starts[face + 1]; ++vertex) colors.set(rgba, 4 * vertex);
    }
    return new BufferAttribute(colors, 4, true);
  }

  /**
   * Whether the mesh bounds a solid, so that a cut through it has an inside: nearly every side of a triangle is another one's
   * in the other direction.
   */
  get isClosed(): boolean {
    this.closed ??= isClosedMesh(this.mesh);
    return this.closed;
  }

  get faceCount(): number {
    return countFaces(this.mesh);
  }
}

const maxOpenSides = 0.02;

function isClosedMesh(mesh: Mesh): boolean {
  const places = numberPlaces(mesh);
  const count = places.length;
  const sides = new Map<number, number>();
  let all = 0;
  const { triangles } = mesh;
  for (let corner = 0; corner < triangles.length; ++corner) {
    const from = places[triangles[corner]];
    const to = places[triangles[corner % 3 === 2 ? corner - 2 : corner + 1]];
    if (from === to) continue;
    all++;
    const [side, step] = from < to ? [from * count + to, 1] : [to * count + from, -1];
    sides.set(side, (sides.get(side) ?? 0) + step);
  }
  let open = 0;
  for (const left of sides.values()) open += Math.abs(left);
  return all > 0 && open <= maxOpenSides * all;
}

/** For each vertex the first one at its place: faces have vertices of their own. */
function numberPlaces({ positions }: Mesh): Uint32Array {
  const first = new Map<string, number>();
  return Uint32Array.from({ length: positions.length / 3 }, (_, vertex) => {
    const place = `${positions[3 * vertex]},${positions[3 * vertex + 1]},${positions[3 * vertex + 2]}`;
    const known = first.get(place);
    if (known === undefined) first.set(place, vertex);
    return known ?? vertex;
  });
}

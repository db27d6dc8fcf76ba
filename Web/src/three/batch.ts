import {
  DynamicDrawUsage,
  Group,
  InstancedBufferAttribute,
  InstancedBufferGeometry,
  LineSegments,
  Sphere,
  Mesh as ThreeMesh,
  type BufferAttribute,
  type ShaderMaterial,
} from 'three';
import type { Color, ShapeItem } from '../reader/items.js';
import type { Body } from './body.js';
import { makeEdgeMaterial, makeGhostMaterial, makeSolidMaterial, type SharedUniforms } from './materials.js';
import { findMaterial, type Palette } from './palette.js';
import { makeRows } from './placements.js';
import { tints, type Tint } from './tints.js';

/** How a body is drawn: as it is, not at all, or as if made of glass. */
export const looks = ['solid', 'hidden', 'ghost'] as const;
export type Look = (typeof looks)[number];

/** How a body is marked. */
export const marks = ['none', 'selected', 'hovered'] as const;
export type Mark = (typeof marks)[number];

/** Bodies that are drawn with one call: the same graphics in the same colours, at many places. */
export class Batch extends Group {
  /** The surfaces that are drawn as they are; what counts for caps has the same geometry. */
  readonly solid: ThreeMesh<InstancedBufferGeometry, ShaderMaterial>;
  private readonly ghost: ThreeMesh<InstancedBufferGeometry, ShaderMaterial>;
  private readonly lines: LineSegments<InstancedBufferGeometry, ShaderMaterial>;
  private readonly look: InstancedBufferAttribute;
  private readonly shift: InstancedBufferAttribute;
  private ghosts = 0;

  constructor(
    readonly body: Body,
    readonly palette: Palette,
    /** One of those that are drawn so. */
    private readonly item: ShapeItem,
    /** Whether the placements mirror: what is counter-clockwise in the body is clockwise where it stands. */
    readonly isMirrored: boolean,
    /** For each instance the shape's number, see `Occurrences.shapeRows`. */
    readonly shapes: number[],
    matrices: Float64Array[],
    origin: ArrayLike<number>,
    shared: SharedUniforms,
  ) {
    super();
    const rows = new Float32Array(12 * shapes.length);
    matrices.forEach((matrix, i) => rows.set(makeRows(body.mesh, matrix, origin), 12 * i));
    const row = (at: number) =>
      new InstancedBufferAttribute(
        Float32Array.from({ length: 4 * shapes.length }, (_, i) => rows[12 * (i >> 2) + at + (i & 3)]),
        4,
      );
    this.look = new InstancedBufferAttribute(new Uint8Array(4 * shapes.length), 4).setUsage(DynamicDrawUsage);
    this.shift = new InstancedBufferAttribute(new Float32Array(3 * shapes.length), 3).setUsage(
      DynamicDrawUsage,
    );
    const instances = { row0: row(0), row1: row(4), row2: row(8), look: this.look, shift: this.shift };

    const faceColor = body.makeFaceColors(palette);
    const surface = makeGeometry(body.triangles, {
      position: body.position,
      octahedral: body.octahedral,
      ...(faceColor && { faceColor }),
      ...instances,
    });
    const edges = makeGeometry(body.segments, { position: body.position, ...instances });
    surface.instanceCount = edges.instanceCount = shapes.length;
    this.solid = new ThreeMesh(surface, makeSolidMaterial(shared, palette.body));
    this.ghost = new ThreeMesh(surface, makeGhostMaterial(shared, palette.body));
    this.ghost.visible = false;
    this.ghost.renderOrder = 2;
    this.lines = new LineSegments(edges, makeEdgeMaterial(shared));
    this.lines.renderOrder = 1;
    for (const object of [this.solid, this.ghost, this.lines]) {
      object.frustumCulled = false; // instances lie where three.js does not look
      this.add(object);
    }
  }

  /** The colour where the bodies are cut. */
  get material(): Color {
    return findMaterial(this.item, this.palette, this.body.mesh);
  }

  set edgesVisible(visible: boolean) {
    this.lines.visible = visible;
  }

  setLook(instance: number, look: Look): void {
    const before = this.getLook(instance);
    if (look === before) return;
    this.look.array[4 * instance] = looks.indexOf(look);
    this.look.needsUpdate = true;
    this.ghosts += Number(look === 'ghost') - Number(before === 'ghost');
    this.ghost.visible = this.ghosts > 0;
  }

  getLook(instance: number): Look {
    return looks[this.look.array[4 * instance]];
  }

  setMark(instance: number, mark: Mark): void {
    this.look.array[4 * instance + 1] = marks.indexOf(mark);
    this.look.needsUpdate = true;
  }

  setTint(instance: number, tint: Tint): void {
    this.look.array[4 * instance + 2] = tints.indexOf(tint);
    this.look.needsUpdate = true;
  }

  /** Where the instance goes when the model is exploded by 1, in mm. */
  setShift(instance: number, shift: ArrayLike<number>): void {
    this.shift.array.set(shift, 3 * instance);
    this.shift.needsUpdate = true;
  }

  getShift(instance: number): ArrayLike<number> {
    return this.shift.array.subarray(3 * instance, 3 * instance + 3);
  }

  /** Frees what the graphics card holds; nothing is drawn any more. */
  override dispose(): void {
    this.removeFromParent();
    this.solid.geometry.dispose();
    this.lines.geometry.dispose();
    for (const object of [this.solid, this.ghost, this.lines]) object.material.dispose();
  }
}

function makeGeometry(
  index: BufferAttribute,
  attributes: { [name: string]: BufferAttribute },
): InstancedBufferGeometry {
  const geometry = new InstancedBufferGeometry();
  geometry.setIndex(index);
  for (const [name, attribute] of Object.entries(attributes)) geometry.setAttribute(name, attribute);
  // Where vertices lie says nothing of where instances do; three.js would go over all of them to sort what it draws.
  geometry.boundingSphere = new Sphere();
  return geometry;
}

import { BufferAttribute, InstancedBufferAttribute, InstancedBufferGeometry, LineSegments } from 'three';
import type { Box } from '../reader/mesh.js';
import { looks } from './batch.js';
import { makeEdgeMaterial, type SharedUniforms } from './materials.js';

/** The least and the greatest corner of a box, in mm. */
export type BoxCorners = Pick<Box, 'min' | 'max'>;

/** Boxes of bodies that are not there yet, all in one draw. */
export class Boxes extends LineSegments<InstancedBufferGeometry> {
  private readonly look: InstancedBufferAttribute;
  private readonly instances = new Map<number, number>();

  constructor(
    placed: { shape: number; box: BoxCorners; matrix: ArrayLike<number> }[],
    origin: ArrayLike<number>,
    shared: SharedUniforms,
  ) {
    const geometry = new InstancedBufferGeometry();
    super(geometry, makeEdgeMaterial(shared));
    this.frustumCulled = false;
    const corners = Float32Array.from({ length: 24 }, (_, i) => ((i / 3) >> (i % 3)) & 1);
    const pairs = [0, 1, 2, 3, 4, 5, 6, 7].flatMap(a =>
      [1, 2, 4].flatMap(bit => (a & bit ? [] : [a, a | bit])),
    );
    geometry.setIndex(pairs);
    geometry.setAttribute('position', new BufferAttribute(corners, 3));
    const rows = [0, 1, 2].map(() => new Float32Array(4 * placed.length));
    placed.forEach(({ shape, box, matrix }, instance) => {
      this.instances.set(shape, instance);
      rows.forEach((target, row) => {
        let offset = matrix[12 + row] - origin[row];
        for (let column = 0; column < 3; ++column) {
          const factor = matrix[4 * column + row];
          target[4 * instance + column] = factor * (box.max[column] - box.min[column]);
          offset += factor * box.min[column];
        }
        target[4 * instance + 3] = offset;
      });
    });
    rows.forEach((row, i) => geometry.setAttribute(`row${i}`, new InstancedBufferAttribute(row, 4)));
    this.look = new InstancedBufferAttribute(new Uint8Array(4 * placed.length), 4);
    geometry.setAttribute('look', this.look);
    geometry.setAttribute('shift', new InstancedBufferAttribute(new Float32Array(3 * placed.length), 3));
    geometry.instanceCount = placed.length;
  }

  /** The body is there, or is not to be seen. */
  hide(shape: number): void {
    const instance = this.instances.get(shape);
    if (instance === undefined) return;
    this.look.array[4 * instance] = looks.indexOf('hidden');
    this.look.needsUpdate = true;
  }

  override dispose(): void {
    this.geometry.dispose();
    this.removeFromParent();
  }
}

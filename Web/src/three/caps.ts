import { Group, Mesh, PlaneGeometry, Quaternion, Vector3, type ShaderMaterial } from 'three';
import type { Batch } from './batch.js';
import { makeCapMaterial, makeCountMaterial, type SharedUniforms } from './materials.js';
import { getCenter, getSize, isEmpty, type Bounds } from './placements.js';

/** A plane that cuts: what lies in front of it, where its normal points, is not drawn. */
export interface SectionPlane {
  /** Of unit length. */
  normal: [number, number, number];
  /** Of the plane from the origin along the normal, in mm. */
  offset: number;
}

/**
 * The cuts through bodies. For each plane and batch, what enters and what leaves the bodies is counted in the stencil, and a
 * large square in the plane, in the colour of the bodies, is drawn where something is left over. Bodies that bound no solid
 * have no inside and stay open.
 */
export class Caps extends Group {
  private readonly square = new PlaneGeometry(1, 1);

  constructor(private readonly shared: SharedUniforms) {
    super();
  }

  /** Makes what the planes in `shared` need. */
  update(batches: Batch[], bounds: Bounds, origin: ArrayLike<number>): void {
    this.clearAll();
    if (isEmpty(bounds) || this.shared.planeCount.value === 0) return;
    let order = 10;
    for (let plane = 0; plane < this.shared.planeCount.value; ++plane) {
      for (const batch of batches) {
        if (!batch.body.isClosed) continue;
        for (const isBack of [true, false]) {
          const count = new Mesh(
            batch.solid.geometry,
            makeCountMaterial(this.shared, plane, isBack, batch.isMirrored),
          );
          this.addInOrder(count, order++);
        }
        const cap = new Mesh(this.square, makeCapMaterial(this.shared, batch.material, plane));
        this.layInPlane(cap, plane, bounds, origin);
        this.addInOrder(cap, order++);
      }
    }
  }

  override dispose(): void {
    this.clearAll();
    this.square.dispose();
  }

  private addInOrder(mesh: Mesh, order: number): void {
    mesh.renderOrder = order;
    mesh.frustumCulled = false;
    this.add(mesh);
  }

  private layInPlane(cap: Mesh, number: number, bounds: Bounds, origin: ArrayLike<number>): void {
    const { x, y, z, w } = this.shared.planes.value[number];
    const normal = new Vector3(x, y, z);
    const center = new Vector3(...getCenter(bounds)).sub(new Vector3(origin[0], origin[1], origin[2]));
    cap.quaternion.copy(new Quaternion().setFromUnitVectors(new Vector3(0, 0, 1), normal));
    cap.position.copy(center.addScaledVector(normal, w - normal.dot(center)));
    cap.scale.setScalar(2 * getSize(bounds));
  }

  private clearAll(): void {
    for (const child of [...this.children]) {
      ((child as Mesh).material as ShaderMaterial).dispose();
      child.removeFromParent();
    }
  }
}

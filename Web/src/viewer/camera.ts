import { OrthographicCamera, PerspectiveCamera, Vector3 } from 'three';
import { isEmpty, type Bounds } from '../three/placements.js';

/** Half of what is seen from top to bottom at a distance of 1: 28 degrees, as `mirel picture` has it. */
const tangent = Math.tan((14 * Math.PI) / 180);
/** Of the picture's shorter side, on each side of what fits. */
const margin = 0.04;
/** How near to the z axis the camera may look along it. */
const poleDistance = 1e-3;

/** The views by name: where they look from. */
export const views = {
  front: [0, -1, 0],
  back: [0, 1, 0],
  left: [-1, 0, 0],
  right: [1, 0, 0],
  top: [0, 0, 1],
  bottom: [0, 0, -1],
  iso: [1, -1, 1],
} as const;
export type ViewName = keyof typeof views;

/** From where the model is seen: in coordinates of three.js, with z up. */
export interface ViewPoint {
  eye: [number, number, number];
  target: [number, number, number];
  isParallel: boolean;
}

/**
 * The camera, in both projections: they look from the same place, and what lies at the target has the same size. The active
 * one is what controls move; `update` makes the other follow.
 */
export class ViewCamera {
  readonly perspective = new PerspectiveCamera((2 * Math.atan(tangent) * 180) / Math.PI);
  readonly parallel = new OrthographicCamera();
  readonly target = new Vector3();
  isParallel = false;
  private aspect = 1;

  constructor() {
    for (const camera of [this.perspective, this.parallel]) camera.up.set(0, 0, 1);
    this.lookFrom(views.iso);
  }

  get active(): PerspectiveCamera | OrthographicCamera {
    return this.isParallel ? this.parallel : this.perspective;
  }

  /** The height in mm of what is seen at the target. */
  get height(): number {
    return 2 * tangent * this.perspective.position.distanceTo(this.target);
  }

  /** Turns to look from a direction, and keeps target and distance. */
  lookFrom(direction: ArrayLike<number>): void {
    const distance = this.perspective.position.distanceTo(this.target) || 1;
    const offset = new Vector3(direction[0], direction[1], direction[2]).setLength(distance);
    // Straight down or up there is no telling where the camera's own up is: y is, a hair's breadth beside.
    if (Math.hypot(offset.x, offset.y) < poleDistance * distance) offset.y -= poleDistance * distance;
    this.moveTo(this.target.clone().add(offset), this.target);
  }

  /** Turns about the target: `azimuth` to the left and `elevation` upwards, in radians. */
  orbit(azimuth: number, elevation: number): void {
    const offset = this.perspective.position.clone().sub(this.target);
    const distance = offset.length();
    const angle = Math.atan2(offset.y, offset.x) - azimuth;
    const limit = Math.PI / 2 - poleDistance;
    const height = Math.min(limit, Math.max(-limit, Math.asin(offset.z / distance) + elevation));
    offset.set(Math.cos(height) * Math.cos(angle), Math.cos(height) * Math.sin(angle), Math.sin(height));
    this.moveTo(this.target.clone().addScaledVector(offset, distance), this.target);
  }

  /** Moves by a part of the picture's height, to the right and upwards. */
  pan(right: number, up: number): void {
    const { matrix } = this.perspective;
    this.perspective.updateMatrix();
    const by = new Vector3().setFromMatrixColumn(matrix, 0).multiplyScalar(right * this.height);
    by.addScaledVector(new Vector3().setFromMatrixColumn(matrix, 1), up * this.height);
    this.moveTo(this.perspective.position.clone().add(by), this.target.clone().add(by));
  }

  /** Comes nearer by a factor above 1. */
  zoom(factor: number): void {
    this.moveTo(
      this.perspective.position.clone().sub(this.target).divideScalar(factor).add(this.target),
      this.target,
    );
  }

  /** Moves so that boxes are seen as large as they can be, and keeps the direction. */
  fit(boxes: Iterable<Bounds>): void {
    const forward = this.target.clone().sub(this.perspective.position).normalize();
    const right = forward.clone().cross(this.perspective.up).normalize();
    const up = right.clone().cross(forward);
    const shorter = Math.min(1, this.aspect);
    const part = [this.aspect - 2 * margin * shorter, 1 - 2 * margin * shorter];
    const slope = part.map(size => (this.isParallel ? 0 : tangent * size));
    const low = [Infinity, Infinity, Infinity];
    const high = [-Infinity, -Infinity, -Infinity];
    const point = new Vector3();
    for (const box of boxes) {
      if (isEmpty(box)) continue;
      for (let corner = 0; corner < 8; ++corner) {
        point.set(box[corner & 1 ? 3 : 0], box[corner & 2 ? 4 : 1], box[corner & 4 ? 5 : 2]);
        const depth = point.dot(forward);
        [right, up].forEach((axis, i) => {
          const across = point.dot(axis);
          low[i] = Math.min(low[i], across + slope[i] * depth);
          high[i] = Math.max(high[i], across - slope[i] * depth);
        });
        low[2] = Math.min(low[2], depth);
        high[2] = Math.max(high[2], depth);
      }
    }
    if (low[2] > high[2]) return;
    const middle = (low[2] + high[2]) / 2;
    // Where the sides of what is seen just touch; in perspective in front of all points, at least.
    const touching = Math.max(
      (high[0] - low[0]) / (2 * tangent * part[0]),
      (high[1] - low[1]) / (2 * tangent * part[1]),
    );
    const distance = this.isParallel
      ? touching
      : Math.max(touching, 1e-3 * (high[2] - low[2]) - low[2]) + middle;
    const target = forward.clone().multiplyScalar(middle);
    target.addScaledVector(right, (low[0] + high[0]) / 2).addScaledVector(up, (low[1] + high[1]) / 2);
    this.moveTo(
      target.clone().addScaledVector(forward, -(distance > 1e-9 ? distance : 0.5 / tangent)),
      target,
    );
  }

  moveTo(eye: Vector3, target: Vector3): void {
    this.target.copy(target);
    for (const camera of [this.perspective, this.parallel]) {
      camera.position.copy(eye);
      camera.lookAt(this.target);
    }
    this.parallel.zoom = 1;
    this.parallel.top = this.height / 2;
  }

  getViewPoint(): ViewPoint {
    return {
      eye: this.perspective.position.toArray(),
      target: this.target.toArray(),
      isParallel: this.isParallel,
    };
  }

  /**
   * Makes the projection that is not active follow the one that is, which controls may have moved, and sees to it that all of a
   * sphere around what is drawn lies between near and far.
   */
  update(aspect: number, center: Vector3, radius: number): void {
    this.aspect = aspect;
    const { perspective, parallel } = this;
    if (this.isParallel) {
      const direction = parallel.position.clone().sub(this.target).normalize();
      const distance = (parallel.top / parallel.zoom || this.height / 2) / tangent;
      perspective.position.copy(this.target).addScaledVector(direction, distance);
      perspective.lookAt(this.target);
    } else {
      parallel.position.copy(perspective.position);
      parallel.quaternion.copy(perspective.quaternion);
      parallel.zoom = 1;
    }
    const half = (this.height / 2) * (this.isParallel ? parallel.zoom : 1);
    Object.assign(parallel, { top: half, bottom: -half, right: half * aspect, left: -half * aspect });
    const depth = center.clone().sub(this.active.position).dot(this.active.getWorldDirection(new Vector3()));
    perspective.near = Math.max(depth - radius, 1e-3 * radius, 1e-6);
    perspective.far = Math.max(depth + radius, 2 * perspective.near);
    parallel.near = depth - radius;
    parallel.far = Math.max(depth + radius, parallel.near + 1e-6);
    perspective.aspect = aspect;
    perspective.updateProjectionMatrix();
    parallel.updateProjectionMatrix();
  }
}

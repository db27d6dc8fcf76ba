import type { SectionPlane } from '../three/caps.js';
import { isEmpty } from '../three/placements.js';
import type { MirelViewer } from '../viewer/element.js';
import { make } from './dom.js';

const steps = 1000;

/** One plane across each axis, to be switched on, moved and turned round. */
export class SectionsPanel {
  readonly element = make('fieldset', { class: 'sections' }, make('legend', {}, 'Sections'));
  private readonly rows = ['X', 'Y', 'Z'].map(name => {
    const onChange = () => this.apply();
    const isOn = make('input', { type: 'checkbox', 'aria-label': `Cut across ${name}`, change: onChange });
    const place = make('input', {
      type: 'range',
      max: String(steps),
      value: String(steps / 2),
      input: onChange,
    });
    place.setAttribute('aria-label', `Where to cut across ${name}`);
    const isTurned = make('input', {
      type: 'checkbox',
      'aria-label': `Keep the other side of ${name}`,
      change: onChange,
    });
    this.element.append(
      make('label', {}, isOn, name),
      place,
      make('label', { title: 'Keep the other side' }, isTurned, '⇄'),
    );
    return { isOn, place, isTurned };
  });

  constructor(private readonly viewer: MirelViewer) {
    viewer.addEventListener('load', () => this.show(viewer.getSections()));
  }

  /** Sets the controls to planes that were set by other means, as far as they are across the axes. */
  show(planes: SectionPlane[]): void {
    const bounds = this.viewer.model?.getBounds();
    this.rows.forEach(({ isOn, place, isTurned }, axis) => {
      const plane = planes.find(({ normal }) => Math.abs(normal[axis]) > 0.999);
      isOn.checked = plane !== undefined;
      if (!plane || !bounds || isEmpty(bounds)) return;
      isTurned.checked = plane.normal[axis] < 0;
      const part =
        (plane.offset * plane.normal[axis] - bounds[axis]) / (bounds[axis + 3] - bounds[axis] || 1);
      place.value = String(Math.round(part * steps));
    });
  }

  private apply(): void {
    const bounds = this.viewer.model?.getBounds();
    if (!bounds || isEmpty(bounds)) return;
    const planes: SectionPlane[] = [];
    this.rows.forEach(({ isOn, place, isTurned }, axis) => {
      if (!isOn.checked) return;
      const sign = isTurned.checked ? -1 : 1;
      const normal: [number, number, number] = [0, 0, 0];
      normal[axis] = sign;
      const at = bounds[axis] + (place.valueAsNumber / steps) * (bounds[axis + 3] - bounds[axis]);
      planes.push({ normal, offset: sign * at });
    });
    this.viewer.setSections(planes);
  }
}

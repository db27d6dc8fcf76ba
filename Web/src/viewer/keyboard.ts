import type { MirelViewer } from './element.js';
import type { ViewName } from './camera.js';

const turn = Math.PI / 24;
const viewKeys: { [key: string]: ViewName } = {
  '1': 'front',
  '2': 'back',
  '3': 'left',
  '4': 'right',
  '5': 'top',
  '6': 'bottom',
  '7': 'iso',
};

/** What keys do while the picture has the focus. */
export const keyHelp =
  'Arrow keys turn the model, with Shift they move it, plus and minus come nearer and go away, F fits it in. 1 to 6 are the ' +
  'sides, 7 the view from a corner, P changes the projection, E shows edges. H hides what is selected, I shows it alone, ' +
  'G makes the rest glass, A shows all, Escape selects nothing.';

/** Does what a key is for; false when it is for nothing. */
export function pressKey(viewer: MirelViewer, event: KeyboardEvent): boolean {
  if (event.ctrlKey || event.metaKey || event.altKey) return false;
  const { camera } = viewer.stage;
  const arrow = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] }[event.key];
  const selected = viewer.selection;
  if (arrow) {
    const [right, up] = arrow;
    if (event.shiftKey) camera.pan(-right / 12, -up / 12);
    else camera.orbit(right * turn, up * turn);
    viewer.stage.isMoved = true;
    viewer.stage.changed();
    return true;
  }
  if (event.key in viewKeys) {
    viewer.setView(viewKeys[event.key]);
    return true;
  }
  switch (event.key) {
    case '+':
    case '=':
    case '-':
      camera.zoom(event.key === '-' ? 1 / 1.2 : 1.2);
      viewer.stage.isMoved = true;
      viewer.stage.changed();
      return true;
    case 'f':
      viewer.fit(selected);
      return true;
    case 'p':
      viewer.projection = viewer.projection === 'parallel' ? 'perspective' : 'parallel';
      return true;
    case 'e':
      viewer.edges = !viewer.edges;
      return true;
    case 'h':
      viewer.hide(selected);
      return true;
    case 'i':
    case 'g':
      viewer.isolate(selected, event.key === 'g');
      return true;
    case 'a':
      viewer.showAll();
      return true;
    case 'Escape':
      viewer.select([]);
      return true;
  }
  return false;
}

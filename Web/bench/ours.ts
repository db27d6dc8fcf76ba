// Opens what `mirel site` makes of the model folder as a page does that has nothing else on it.
import '../src/viewer/index.js';
import { report } from './report.js';

const viewer = document.createElement('mirel-viewer');
Object.assign(viewer.style, { width: '800px', height: '600px' });
viewer.addEventListener('open', () => (globalThis.opened = performance.now()));
viewer.addEventListener('load', () => report(viewer.stage.canvas, () => viewer.stage.render()));
viewer.setAttribute('overview', '');
viewer.src = 'model/';
document.body.append(viewer);

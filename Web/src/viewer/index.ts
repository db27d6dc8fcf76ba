/** The web component `<mirel-viewer>`; importing this defines it. */
import { MirelViewer } from './element.js';

export { MirelViewer };
export { views, type ViewName, type ViewPoint } from './camera.js';
export { findRows, fromPath, toPath } from './paths.js';

if (!customElements.get('mirel-viewer')) customElements.define('mirel-viewer', MirelViewer);

declare global {
  interface HTMLElementTagNameMap {
    'mirel-viewer': MirelViewer;
  }
}

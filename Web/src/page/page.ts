import '../viewer/index.js';
import { makeStyleSheet } from '../viewer/style.js';
import { ViewCube } from './cube.js';
import { DifferencesPanel } from './differences.js';
import { make } from './dom.js';
import { MeasureTool } from './measureTool.js';
import { PropertiesPanel } from './properties.js';
import { SectionsPanel } from './sections.js';
import { pageStyle } from './style.js';
import { makeToolbar } from './toolbar.js';
import { TreePanel } from './tree.js';
import { tieToAddress } from './urlState.js';

/**
 * `<mirel-page src="trolley/" label="Trolley">`: the component with all that people expect of a viewer around it. It takes the
 * attributes `src`, `compare` and `overview` of `<mirel-viewer>`, and fills what it is put into.
 */
export class MirelPage extends HTMLElement {
  readonly viewer = document.createElement('mirel-viewer');
  private readonly heading = make('bdi');

  constructor() {
    super();
    const { viewer } = this;
    const measure = new MeasureTool(viewer);
    const title = () => this.getAttribute('label') ?? 'Model';
    const sections = new SectionsPanel(viewer);
    const root = this.attachShadow({ mode: 'open' });
    root.adoptedStyleSheets = [makeStyleSheet(pageStyle)];
    root.append(
      make('header', {}, make('h1', {}, this.heading), makeToolbar(viewer, title, measure.button)),
      make(
        'aside',
        { class: 'side' },
        new TreePanel(viewer).element,
        new DifferencesPanel(viewer).element,
        sections.element,
        new PropertiesPanel(viewer).element,
      ),
      make('main', { class: 'stage' }, viewer, measure.marks, measure.output, new ViewCube(viewer).element),
    );
    tieToAddress(viewer);
    viewer.addEventListener('load', () => sections.show(viewer.getSections()));
  }

  connectedCallback(): void {
    this.heading.textContent = this.getAttribute('label') ?? '';
    this.viewer.toggleAttribute('overview', this.hasAttribute('overview'));
    this.viewer.setAttribute('compare', this.getAttribute('compare') ?? '');
    this.viewer.src = this.getAttribute('src');
  }
}

if (!customElements.get('mirel-page')) customElements.define('mirel-page', MirelPage);

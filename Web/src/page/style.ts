import { tintColors } from '../three/tints.js';

const toCss = (color: readonly number[]) => `rgb(${color.map(part => Math.round(part * 255)).join(' ')})`;

/** The look of the page. */
export const pageStyle = `
:host {
  color-scheme: light dark;
  --line: light-dark(#c9d1d9, #3a424b);
  --panel: light-dark(#f7f8fa, #20262c);
  --text: light-dark(#1c232b, #e6eaee);
  --accent: light-dark(#b85c00, #ffa64d);
  display: grid;
  grid: auto 1fr / minmax(12em, 20em) 1fr;
  height: 100%;
  background: var(--panel);
  color: var(--text);
  font: 14px system-ui, sans-serif;
}
header {
  grid-column: 1 / -1;
  display: flex;
  flex-wrap: wrap;
  align-items: center;
  gap: 0.4em 1em;
  padding: 0.4em 0.8em;
  border-bottom: 1px solid var(--line);
}
h1 {
  margin: 0;
  max-width: 20em;
  overflow: hidden;
  font-size: 1.1em;
  text-overflow: ellipsis;
  white-space: nowrap;
}
.toolbar {
  display: flex;
  flex-wrap: wrap;
  align-items: center;
  gap: 0.3em;
}
button,
select,
input[type='search'] {
  padding: 0.25em 0.6em;
  border: 1px solid var(--line);
  border-radius: 4px;
  background: light-dark(#fff, #2b3239);
  color: inherit;
  font: inherit;
}
button[aria-pressed='true'] {
  border-color: var(--accent);
  color: var(--accent);
}
:focus-visible {
  outline: 2px solid var(--accent);
}
label {
  display: inline-flex;
  align-items: center;
  gap: 0.3em;
}
input[type='range'] {
  width: 6em;
  accent-color: var(--accent);
}
.side {
  display: flex;
  min-height: 0;
  flex-direction: column;
  border-right: 1px solid var(--line);
}
.tree {
  display: grid;
  flex: 1;
  grid: auto 1fr / 1fr auto;
  gap: 0.4em;
  min-height: 6em;
  padding: 0.5em;
}
.tree .count {
  align-self: center;
  white-space: nowrap;
}
.scroller {
  position: relative;
  grid-column: 1 / -1;
  overflow: auto;
}
.rows {
  position: relative;
}
.row {
  position: absolute;
  display: flex;
  box-sizing: border-box;
  width: 100%;
  height: 24px;
  align-items: center;
  gap: 0.3em;
  cursor: default;
}
.row:hover,
.row.hovered {
  background: light-dark(#e8edf2, #2d353d);
}
.row[aria-selected='true'] {
  background: color-mix(in srgb, var(--accent) 30%, transparent);
}
.scroller:focus-visible .row.focused {
  outline: 1px dotted var(--accent);
}
.row.hidden .name {
  opacity: 0.5;
}
.twisty {
  width: 1em;
  flex: none;
  text-align: center;
}
.row[aria-expanded='true'] .twisty {
  transform: rotate(90deg);
}
.name {
  flex: 1;
  overflow: hidden;
  text-overflow: ellipsis;
  white-space: nowrap;
}
.number {
  opacity: 0.6;
}
.eye {
  border: 0;
  background: none;
}
.differences {
  overflow: auto;
  max-height: 40%;
  padding: 0.5em;
  border-top: 1px solid var(--line);
}
.differences ol {
  margin: 0.4em 0 0;
  padding: 0;
  list-style: none;
}
.difference {
  width: 100%;
  border-width: 0 0 0 6px;
  border-radius: 0;
  overflow-wrap: anywhere;
  text-align: start;
}
.difference.gone {
  border-color: ${toCss(tintColors.gone)};
}
.difference.added {
  border-color: ${toCss(tintColors.added)};
}
.difference.changed {
  border-color: ${toCss(tintColors.changed)};
}
.difference[aria-current='true'] {
  background: color-mix(in srgb, var(--accent) 30%, transparent);
}
.properties {
  overflow: auto;
  max-height: 45%;
  padding: 0.5em;
  border-top: 1px solid var(--line);
}
.properties h2 {
  margin: 0 0 0.4em;
  font-size: 1em;
  overflow-wrap: anywhere;
}
dl {
  display: grid;
  grid-template-columns: auto 1fr;
  gap: 0.1em 0.8em;
  margin: 0 0 0.5em;
}
dt {
  opacity: 0.7;
}
dd {
  margin: 0;
  overflow-wrap: anywhere;
}
.actions {
  display: flex;
  flex-wrap: wrap;
  gap: 0.3em;
}
.stage {
  position: relative;
  min-width: 0;
  min-height: 0;
}
mirel-viewer {
  width: 100%;
  height: 100%;
}
.marks {
  position: absolute;
  inset: 0;
  width: 100%;
  height: 100%;
  overflow: visible;
  pointer-events: none;
  fill: var(--accent);
  stroke: var(--accent);
  stroke-width: 2;
}
.measure {
  position: absolute;
  top: 0.6em;
  left: 0.6em;
  padding: 0.4em 0.7em;
  border-radius: 6px;
  background: var(--panel);
  pointer-events: none;
}
.sections {
  display: grid;
  grid-template-columns: auto 1fr auto;
  margin: 0 0.5em 0.5em;
  border: 1px solid var(--line);
}
.sections input[type='range'] {
  width: auto;
}
.cube-room {
  position: absolute;
  top: 0;
  right: 0;
  width: 110px;
  height: 110px;
  perspective: 400px;
}
.cube {
  position: absolute;
  top: 50%;
  left: 50%;
  transform-style: preserve-3d;
}
.cube button {
  position: absolute;
  width: 56px;
  height: 56px;
  padding: 0;
  border-radius: 0;
  background: light-dark(#ffffffd0, #2b3239d0);
  backface-visibility: hidden;
  font-size: 11px;
}
@media (max-width: 640px) {
  :host {
    grid: auto 1fr 40% / 1fr;
  }
  .side {
    grid-row: 3;
    overflow: auto;
    border: 0;
    border-top: 1px solid var(--line);
  }
  .tree {
    flex: none;
    height: 14em;
  }
  .properties {
    max-height: none;
    overflow: visible;
  }
}
`;

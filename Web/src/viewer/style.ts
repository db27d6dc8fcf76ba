/** The look of the component. Its colours are custom properties, so that pages may set them. */
export const style = `
:host {
  color-scheme: light dark;
  --mirel-background: linear-gradient(light-dark(#ccd9e8, #2b3138), light-dark(#fbfbfa, #14171a));
  --mirel-text: light-dark(#1c232b, #e6eaee);
  --mirel-panel: light-dark(#ffffffe6, #20262ce6);
  --mirel-accent: light-dark(#b85c00, #ffa64d);
  display: block;
  position: relative;
  overflow: hidden;
  min-height: 8em;
  background: var(--mirel-background);
  color: var(--mirel-text);
  font: 14px system-ui, sans-serif;
}
canvas {
  position: absolute;
  inset: 0;
  width: 100%;
  height: 100%;
  touch-action: none;
}
canvas:focus-visible {
  outline: 2px solid var(--mirel-accent);
  outline-offset: -2px;
}
.message {
  position: absolute;
  inset: auto 0 0 0;
  margin: 0.8em auto;
  max-width: min(40em, 90%);
  width: fit-content;
  padding: 0.5em 0.9em;
  border-radius: 6px;
  background: var(--mirel-panel);
  overflow-wrap: anywhere;
}
.message:empty {
  display: none;
}
progress {
  position: absolute;
  inset: 0 0 auto 0;
  width: 100%;
  height: 3px;
  border: 0;
  accent-color: var(--mirel-accent);
}
.spoken {
  position: absolute;
  width: 1px;
  height: 1px;
  overflow: hidden;
  clip-path: inset(50%);
}
`;

/** A style sheet that a page's Content-Security-Policy does not forbid. */
export function makeStyleSheet(text: string): CSSStyleSheet {
  const sheet = new CSSStyleSheet();
  sheet.replaceSync(text);
  return sheet;
}

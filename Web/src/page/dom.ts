type Properties = { [name: string]: string | number | boolean | EventListener | undefined };

/**
 * An element. Properties that are functions listen to the event of their name; "class" and what has a dash become attributes, and
 * all others properties. Texts are shown as they are, whatever they hold.
 */
export function make<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  properties: Properties = {},
  ...children: (Node | string)[]
): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (value === undefined) continue;
    if (typeof value === 'function') element.addEventListener(name, value);
    else if (name === 'class' || name === 'role' || name.includes('-'))
      element.setAttribute(name, String(value));
    else Object.assign(element, { [name]: value });
  }
  element.append(...children);
  return element;
}

/** A button that says what it does, also to those who cannot see its sign. */
export function makeButton(
  sign: string,
  title: string,
  onClick: () => void,
  part?: string,
): HTMLButtonElement {
  return make('button', { type: 'button', title, 'aria-label': title, click: onClick, part }, sign);
}

/** Saves bytes as a file of the user's. */
export function download(content: Blob, name: string): void {
  const address = URL.createObjectURL(content);
  make('a', { href: address, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(address), 60_000);
}

/** A name that every system takes for a file. */
export function toFileName(name: string): string {
  return (
    name.replace(/[\x00-\x1f<>:"/\\|?*\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, '_').slice(0, 80) || 'model'
  );
}

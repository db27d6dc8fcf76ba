import type { FolderSource } from '../reader/source.js';

/**
 * A folder that lies in the page: its files are `<script type="application/octet-stream" data-folder="NAME" data-file="index.gz">`
 * with their bytes in base64, which browsers do not run.
 */
export function embeddedSource(document: Document, folder: string): FolderSource {
  const scripts = new Map<string, HTMLElement>();
  for (const script of document.querySelectorAll<HTMLElement>('script[data-folder][data-file]'))
    if (script.dataset['folder'] === folder) scripts.set(script.dataset['file']!, script);
  return async file => {
    const text = scripts.get(file)?.textContent;
    return text ? Uint8Array.from(atob(text.trim()), c => c.charCodeAt(0)) : undefined;
  };
}

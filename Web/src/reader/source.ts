import { ReadError } from './failure.js';

/**
 * Where the files of a model folder come from: gives the bytes of a file, named relative to the folder ("grep/1.gz"), and
 * undefined when there is none. Other failures are thrown.
 */
export type FolderSource = (file: string, options: FetchOptions) => Promise<Uint8Array | undefined>;

export interface FetchOptions {
  signal?: AbortSignal;
  /** Is told what has come so far; `total` is undefined when the server does not say. */
  onBytes?: (loaded: number, total: number | undefined) => void;
}

/** A folder on a web server, given its address with or without the last slash. */
export function httpSource(folder: string | URL): FolderSource {
  const base = String(folder).replace(/\/*$/, '/');
  return async (file, { signal, onBytes }) => {
    let response: Response;
    try {
      response = await fetch(base + file, { signal });
    } catch (error) {
      signal?.throwIfAborted();
      throw new ReadError(file, `the server cannot be reached (${(error as Error).message})`);
    }
    if (response.status === 404) return undefined;
    if (!response.ok)
      throw new ReadError(file, `the server answers ${response.status} ${response.statusText}`.trimEnd());
    return collect(response, onBytes);
  };
}

async function collect(response: Response, onBytes: FetchOptions['onBytes']): Promise<Uint8Array> {
  if (!response.body || !onBytes) return new Uint8Array(await response.arrayBuffer());
  const length = Number(response.headers.get('Content-Length'));
  // An encoded body is longer than its length says.
  const total = length > 0 && !response.headers.get('Content-Encoding') ? length : undefined;
  const parts: Uint8Array[] = [];
  let loaded = 0;
  const reader = response.body.getReader();
  for (let part = await reader.read(); !part.done; part = await reader.read()) {
    parts.push(part.value);
    loaded += part.value.length;
    onBytes(loaded, total);
  }
  const bytes = new Uint8Array(loaded);
  let at = 0;
  for (const part of parts) {
    bytes.set(part, at);
    at += part.length;
  }
  return bytes;
}

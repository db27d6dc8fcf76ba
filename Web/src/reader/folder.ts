import { MemoryBudget } from './budget.js';
import { ReadError } from './failure.js';
import { unpackFile } from './content.js';
import { readIndex, type ModelIndex } from './items.js';
import { maxMissingPackages, memoryLimit } from './limits.js';
import { countMeshBytes, type Mesh } from './mesh.js';
import { readPackage } from './package.js';
import { readRecord } from './record.js';
import { httpSource, type FolderSource } from './source.js';

/** How far reading has got. */
export interface Progress {
  /** The file that is being fetched. */
  file: string;
  loaded: number;
  /** Undefined when the server does not say. */
  total?: number;
}

export interface OpenOptions {
  /** Ends opening and reading with the signal's reason. */
  signal?: AbortSignal;
  onProgress?: (progress: Progress) => void;
  /** Is told, in a sentence for people, what is damaged and was left out. */
  onMessage?: (message: string) => void;
  /** Bytes that opening may take in all; 64 GiB if nothing is said. */
  memoryLimit?: number;
  /** The folder was made for the web: the index may be had packed tighter. */
  isSite?: boolean;
}

/** The graphics of one body. */
export interface Graphics {
  shapeId: string;
  mesh: Mesh;
}

/** A model folder that has been opened: its index, and access to its packages. */
export class ModelFolder {
  private constructor(
    readonly index: ModelIndex,
    private readonly source: FolderSource,
    private readonly options: OpenOptions,
    private readonly budget: MemoryBudget,
  ) {}

  /**
   * Opens a folder: fetches its index and reads it. `source` is the folder's address, or what gives its files.
   * Throws a `ReadError` when there is no model, and the signal's reason.
   */
  static async open(source: string | URL | FolderSource, options: OpenOptions = {}): Promise<ModelFolder> {
    const files = typeof source === 'function' ? source : httpSource(source);
    const budget = new MemoryBudget(options.memoryLimit ?? memoryLimit);
    const content =
      (options.isSite && (await fetchContent('index.lz', files, options, budget).catch(passOver))) ||
      (await fetchContent('index.gz', files, options, budget));
    if (!content) throw new ReadError('index.gz', 'not found: there is no model');
    return new ModelFolder(readIndex(content), files, options, budget);
  }

  /**
   * Fetches packages of graphics and gives what is in them, body after body. `numbers` says which, and in what order; left
   * out, all. What is missing or damaged is left out after a message. Of two graphics of one body the later counts.
   *
   * Of packages that `hasDrawing` names, see `PackageOverview`, comes what a picture needs: meshes without surfaces and sides,
   * whose hidden edges have no points; `addFeatures` gives them the rest of the package.
   */
  async *graphics(
    numbers?: Iterable<number>,
    hasDrawing: (number: number) => boolean = () => false,
  ): AsyncGenerator<Graphics, void, undefined> {
    const count = this.index.graphicsPackages;
    const next = (numbers ?? countTo(count))[Symbol.iterator]();
    let missing = 0;
    // While bodies of one package are made use of, the next one is on its way.
    for (let coming = this.fetchGraphics(next, hasDrawing); ;) {
      const fetched = await coming;
      if (!fetched) return;
      const { file, content } = fetched;
      if (!content && ++missing >= maxMissingPackages) {
        this.say(
          `${file}: so many packages are missing that no more are asked for; the index counts ${count}`,
        );
        return;
      }
      coming = this.fetchGraphics(next, hasDrawing);
      coming.catch(() => {}); // is told when it is waited for
      for (const graphics of content ? this.readMeshes(content, file) : []) {
        this.options.signal?.throwIfAborted();
        yield graphics;
      }
    }
  }

  /** The next package; undefined behind the last. */
  private async fetchGraphics(
    numbers: Iterator<number>,
    hasDrawing: (number: number) => boolean,
  ): Promise<{ file: string; content?: Uint8Array } | undefined> {
    const { value: number, done } = numbers.next();
    if (done) return undefined;
    if (hasDrawing(number)) {
      const file = `draw/${number}.lz`;
      const content = await this.fetchPackage(file, false);
      // Some servers have a page for what they do not have.
      if (content && readPackage(content).length > 0) return { file, content };
    }
    const file = `grep/${number}.gz`;
    return { file, content: await this.fetchPackage(file) };
  }

  /**
   * The exact body with an id as BRep text; undefined when none of the packages `model/` that are there has it. `packageNumber`
   * says which is to be looked into; left out, all are, the last first.
   */
  async brepText(shapeId: string, packageNumber?: number): Promise<Uint8Array | undefined> {
    const last = packageNumber ?? Math.min(this.index.shapePackages, maxPackageSearch);
    for (let number = last; number >= (packageNumber ?? 1); --number) {
      const content = await this.fetchPackage(`model/${number}.gz`);
      const item =
        content &&
        readPackage(content)
          .filter(({ id }) => id === shapeId)
          .at(-1);
      if (item && item.bytes.length === item.size) return item.bytes;
    }
    return undefined;
  }

  /** `isNeeded`: it is told when the package cannot be had. */
  private async fetchPackage(file: string, isNeeded = true): Promise<Uint8Array | undefined> {
    try {
      const content = await fetchContent(file, this.source, this.options, this.budget);
      if (!content && isNeeded) this.say(`${file}: not found`);
      return content;
    } catch (error) {
      if (isNeeded && error instanceof ReadError) this.say(error.message);
      return passOver(error);
    }
  }

  private *readMeshes(content: Uint8Array, file: string): Generator<Graphics, void, undefined> {
    const items = readPackage(content);
    if (items.length === 0) this.say(`${file}: not a package, or its table is cut short`);
    for (const [i, { id, size, bytes }] of items.entries()) {
      let mesh = readRecord(bytes);
      if (typeof mesh !== 'string' && !this.budget.take(countMeshBytes(mesh)))
        mesh = 'it would take more memory than the limit allows';
      if (typeof mesh !== 'string') yield { shapeId: id, mesh };
      else
        this.say(
          `${file}: item ${i + 1} of ${items.length}, id ${id}, ${size} bytes` +
            `${bytes.length < size ? ', is cut short' : ''}: not a graphics record: ${mesh}`,
        );
    }
  }

  private say(message: string): void {
    this.options.onMessage?.(message);
  }
}

/** Packages that are looked through for one body. */
const maxPackageSearch = 10_000;

async function fetchContent(
  file: string,
  source: FolderSource,
  { signal, onProgress }: OpenOptions,
  budget: MemoryBudget,
): Promise<Uint8Array | undefined> {
  signal?.throwIfAborted();
  const onBytes = onProgress && ((loaded: number, total?: number) => onProgress({ file, loaded, total }));
  const bytes = await source(file, { signal, onBytes });
  signal?.throwIfAborted();
  const content = bytes && (await unpackFile(bytes, file, budget));
  signal?.throwIfAborted();
  return content;
}

/** What cannot be read is as if it were not there. */
function passOver(error: unknown): undefined {
  if (!(error instanceof ReadError)) throw error;
}

function* countTo(count: number): Generator<number> {
  for (let number = 1; number <= count; ++number) yield number;
}

/** What cannot be read, and why: a sentence for people, with the name of the file. */
export class ReadError extends Error {
  override name = 'ReadError';

  constructor(
    /** The file, relative to the folder. */
    readonly file: string,
    reason: string,
  ) {
    super(`${file}: ${reason}`);
  }
}

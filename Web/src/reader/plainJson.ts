import { maxIndexDepth } from './limits.js';

// In what JSON.parse and the reader's own parser may differ. All of it may stand in names without any harm; then the own parser,
// which is slower, reads the text.
const differences = [
  /\\/, // with escapes, quotes are no ends of strings
  /"\s+:/, // with blanks, members are not counted right
  /[[,:\s]-0(?![.\d])/, // JSON.parse keeps the sign of the integer
  /\d[eE][+-]?\d{3}/, // numbers that are too large, or too close to 0
  /":\s*-?(?:\d{16}|\d+[.eE])/, // members have to be integers, and exact
];
const tooManyZeros = '0'.repeat(300);
const tooLarge = 1e308;
/** Members, where there is no escape and no blank before a colon. */
const memberEnd = '":';

/**
 * What `JSON.parse` makes of a text; undefined when it may be something else than what the reader's own parser makes of it: when the
 * text is no JSON, when an object has two members of one name, for numbers at the limits, or when it is nested very deep. Numbers that
 * are members are integers.
 */
export function parsePlainJson(text: string): unknown {
  if (differences.some(difference => difference.test(text)) || text.includes(tooManyZeros)) return undefined;
  let root: unknown;
  try {
    root = JSON.parse(text);
  } catch {
    return undefined;
  }
  return countMembers(root, 0) === countTexts(text, memberEnd) ? root : undefined;
}

/** The members of all objects in a value; not a number when it is nested too deep, or has an element that is too large. */
function countMembers(value: unknown, depth: number): number {
  if (typeof value !== 'object' || value === null) return 0;
  if (depth >= maxIndexDepth) return NaN;
  let count = 0;
  if (Array.isArray(value)) {
    for (const element of value) {
      if (typeof element === 'number') count += Math.abs(element) <= tooLarge ? 0 : NaN;
      else count += countMembers(element, depth + 1);
    }
    return count;
  }
  for (const element of Object.values(value)) count += 1 + countMembers(element, depth + 1);
  return count;
}

function countTexts(text: string, part: string): number {
  let count = 0;
  for (let at = text.indexOf(part); at >= 0; at = text.indexOf(part, at + part.length)) count++;
  return count;
}

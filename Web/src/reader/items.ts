import { ReadError } from './failure.js';
import { JsonError, NumberText, parseJson, type Json, type JsonObject } from './json.js';
import { maxNesting } from './limits.js';

/** Red, green and blue from 0 to 1, sRGB. A negative red is none. */
export type Color = [number, number, number];

/** What all kinds of items have. */
interface ItemBase {
  /** Decimal digits; empty when the index gives none. */
  id: string;
  name: string;
  color: Color;
  /** 16 numbers, column by column: from the item's space to its parent's; undefined is the identity. */
  transform?: readonly number[];
}

/** A body, placed. */
export interface ShapeItem extends ItemBase {
  type: 'Shape';
  /** The id of the body and of its graphics; `"0"` names nothing. */
  shapeId: string;
  /** Colours of single faces, by their numbers. */
  faceColors: Map<number, Color>;
}

/** Items placed together. */
export interface GroupItem extends ItemBase {
  type: 'Group';
  children: Item[];
}

/** A type, placed. */
export interface InstanceItem extends ItemBase {
  type: 'Instance';
  typeId: string;
}

export type Item = ShapeItem | GroupItem | InstanceItem;

/** What index.gz says. */
export interface ModelIndex {
  /** The items that instances refer to, by their ids. */
  types: Map<string, Item>;
  items: Item[];
  /** How many packages there are said to be: of exact bodies and of graphics. */
  shapePackages: number;
  graphicsPackages: number;
}

const memberNames = new Set([
  'Metadata',
  'PkgShape',
  'PkgGRep',
  'Types',
  'Items',
  'Type',
  'Id',
  'Name',
  'Color',
  'Transform',
  'SId',
  'FColor',
  'FId',
  'Children',
  'TId',
]);
const greatestId = (1n << 64n) - 1n;
const greatestFloat = 3.4028234663852886e38;

/** Reads the inflated content of index.gz. Throws a `ReadError` when it is not a model's. */
export function readIndex(content: Uint8Array, file = 'index.gz'): ModelIndex {
  const nul = content.indexOf(0);
  const text = new TextDecoder('utf-8', { ignoreBOM: true }).decode(
    nul < 0 ? content : content.subarray(0, nul),
  );
  let root: Json;
  try {
    root = parseJson(text, memberNames);
  } catch (error) {
    if (error instanceof JsonError) throw new ReadError(file, error.message);
    throw error;
  }
  const types = arrayMember(root, 'Types');
  const items = arrayMember(root, 'Items');
  if (!types || !items) throw new ReadError(file, 'not the index of a model: it has no items');
  const metadata = member(root, 'Metadata');
  return {
    types: new Map(readItems(types, 0).map(type => [type.id, type])),
    items: readItems(items, 0),
    shapePackages: readCount(metadata, 'PkgShape'),
    graphicsPackages: readCount(metadata, 'PkgGRep'),
  };
}

function readItems(values: Json[], depth: number): Item[] {
  return values.map(value => readItem(value, depth)).filter(item => item !== undefined);
}

function readItem(value: Json, depth: number): Item | undefined {
  const id = textMember(value, 'Id');
  const base: ItemBase = {
    id: id === undefined ? '' : toId(id),
    name: textMember(value, 'Name') ?? '',
    color: readColor(arrayMember(value, 'Color'), -1),
    transform: readTransform(arrayMember(value, 'Transform')),
  };
  switch (textMember(value, 'Type')) {
    case 'Shape':
      return {
        type: 'Shape',
        ...base,
        shapeId: toId(textMember(value, 'SId') ?? ''),
        faceColors: readFaceColors(arrayMember(value, 'FColor') ?? []),
      };
    case 'Instance':
      return { type: 'Instance', ...base, typeId: toId(textMember(value, 'TId') ?? '') };
    case 'Group': {
      const children = arrayMember(value, 'Children');
      if (!children) return undefined;
      // The top-level item is level 1, and its children would be one level deeper than it.
      return {
        type: 'Group',
        ...base,
        children: depth + 2 > maxNesting ? [] : readItems(children, depth + 1),
      };
    }
  }
  return undefined;
}

function readColor(values: Json[] | undefined, missing: number): Color {
  const color: Color = [missing, missing, missing];
  for (let i = 0; values && i < Math.min(3, values.length); ++i) {
    const value = values[i];
    if (typeof value === 'number' && Math.abs(value) <= greatestFloat) color[i] = Math.fround(value);
  }
  return color;
}

function readTransform(values: Json[] | undefined): number[] | undefined {
  if (!values || values.length < 16) return undefined;
  values.length = 16;
  return values.every(value => Number.isFinite(value)) ? (values as number[]) : undefined;
}

function readFaceColors(entries: Json[]): Map<number, Color> {
  const colors = new Map<number, Color>();
  for (const entry of entries) {
    const face = readInteger(member(entry, 'FId'));
    if (face === undefined) continue;
    const number = typeof face === 'number' ? face >>> 0 : Number(BigInt.asUintN(32, face));
    colors.set(number, readColor(arrayMember(entry, 'Color'), 1));
  }
  return colors;
}

function readCount(metadata: Json | undefined, name: string): number {
  const value = readInteger(member(metadata, name));
  return value !== undefined && value >= 0 && value <= 0xffffffff ? Number(value) : 0;
}

function readInteger(value: Json | undefined): number | bigint | undefined {
  if (value instanceof NumberText) return value.integer;
  return typeof value === 'number' ? value : undefined;
}

/** An id in the form that all have, by which they are compared. What is none names nothing. */
function toId(text: string): string {
  if (/^[1-9]\d{0,18}$/.test(text)) return text;
  if (!/^\d+$/.test(text)) return '0';
  const id = BigInt(text);
  return id <= greatestId ? id.toString() : '0';
}

function member(value: Json | undefined, name: string): Json | undefined {
  const isObject =
    typeof value === 'object' && value !== null && !Array.isArray(value) && !(value instanceof NumberText);
  return isObject ? (value as JsonObject)[name] : undefined;
}

function arrayMember(value: Json | undefined, name: string): Json[] | undefined {
  const array = member(value, name);
  return Array.isArray(array) ? array : undefined;
}

/** Texts end at their first NUL character. */
function textMember(value: Json | undefined, name: string): string | undefined {
  const text = member(value, name);
  if (typeof text !== 'string') return undefined;
  const nul = text.indexOf('\0');
  return nul < 0 ? text : text.slice(0, nul);
}

/** What a body is coloured as, in the place of its own colours: what is gone, new or changed since an older version. */
export const tints = ['none', 'gone', 'added', 'changed'] as const;
export type Tint = (typeof tints)[number];

/** Red, green and yellow that those who confuse red and green tell apart by their brightness; sRGB, 0 to 1. */
export const tintColors = {
  gone: [0.8, 0.1, 0.1],
  added: [0.15, 0.7, 0.25],
  changed: [1, 0.82, 0.1],
} as const;

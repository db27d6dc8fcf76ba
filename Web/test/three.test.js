// Models as three.js objects, as far as no graphics card is needed: colours, placements, picks.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync, mkdtempSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { gunzipSync } from 'node:zlib';
import { dist, sampleFolder, sourceFolder } from './support.js';

const web = await import(join(dist, 'index.js'));
// The bundle leaves three.js to who uses it, and finds it beside the package.
const copy = mkdtempSync(join(sourceFolder, 'Web/node_modules/.mirel-'));
writeFileSync(join(copy, 'three.mjs'), readFileSync(join(dist, 'three.js')));
const { ModelObject, makePalette, defaultColor } = await import(join(copy, 'three.mjs'));
rmSync(copy, { recursive: true });

const matrix = (...diagonalAndShift) => {
  const [x, y, z, tx, ty, tz] = diagonalAndShift;
  return `"Transform":[${x},0,0,0,0,${y},0,0,0,0,${z},0,${tx},${ty},${tz},1]`;
};
// The deck of the trolley: a plate with round corners.
const plate = web
  .readPackage(new Uint8Array(gunzipSync(readFileSync(join(sampleFolder(), 'grep/1.gz')))))
  .map(item => web.readRecord(item.bytes))
  .find(mesh => mesh.box.max[0] === 300);

/** A model of plates: the members of its items besides type and body. */
function plates(...members) {
  const shapes = members.map((text, i) => `{"Type":"Shape","Id":"${i + 1}","SId":"7"${text && ','}${text}}`);
  const index = web.readIndex(new TextEncoder().encode(`{"Types":[],"Items":[${shapes}]}`));
  const model = new ModelObject(web.unfold(index));
  model.addMesh('7', plate);
  return model;
}

test('colours: the face, then the item, then the default', () => {
  const model = plates(
    '"Color":[0.5,2,-1]',
    '"Color":[-1,0.5,0.5],"FColor":[{"FId":2,"Color":[1,0,0]},{"FId":99,"Color":[1,0,0]}]',
  );
  assert.deepEqual(makePalette(model.getItem(0), 6).body, [0.5, 1, 0]);
  const second = makePalette(
    {
      ...model.getItem(1),
      faceColors: new Map([
        [2, [1, 0, 0]],
        [99, [1, 0, 0]],
        [3, [-1, 0, 0]],
      ]),
    },
    6,
  );
  assert.deepEqual(second.body, defaultColor);
  assert.deepEqual([...second.faces], [[2, [1, 0, 0]]]);
});

test('what is cut has the colour of the item, else of most of its surface', () => {
  // Top and bottom are larger than all that is round about.
  const colors = [...plate.surfaces.kinds.keys()].map(face => {
    const isFlat =
      Math.abs(web.getSurface(plate, face).axis[2]) === 1 && web.getSurface(plate, face).kind === 'plane';
    return `{"FId":${face},"Color":[${isFlat ? '1,0,0' : '0,0,1'}]}`;
  });
  const model = plates(`"FColor":[${colors}]`, `"Color":[0.5,0.5,0.5],"FColor":[${colors}]`);
  assert.deepEqual(
    model.batches.map(batch => batch.material),
    [
      [1, 0, 0],
      [0.5, 0.5, 0.5],
    ],
  );
});

test('one draw for each body and palette, one more where placements mirror', () => {
  const red = '"Color":[1,0,0]';
  const model = plates(
    red,
    `${red},${matrix(1, 1, 1, 100, 0, 0)}`,
    `${red},${matrix(-1, 1, 1, -50, 0, 0)}`,
    '',
    `${red},${matrix(0, 1, 1, 0, 0, 0)}`,
  );
  assert.deepEqual(
    model.batches.map(batch => batch.shapes),
    [[0, 1], [2], [3]],
  );
  assert.deepEqual(
    model.batches.map(batch => batch.isMirrored),
    [false, true, false],
  );
  assert.ok(model.batches.every(batch => batch.body.isClosed));
  const mirrored = model.getBounds([2]);
  assert.ok(
    Math.abs(mirrored[0] - (-50 - plate.box.max[0])) < 1e-9 &&
      Math.abs(mirrored[3] - (-50 - plate.box.min[0])) < 1e-9,
  );
});

test('picks give shape, path and face, and heed placements, sections and what is hidden', () => {
  const far = 1e6;
  const model = plates(matrix(1, 1, 1, far, 0, 0), matrix(-2, 1, 1, far - 2000, 0, 0));
  const [x0, y0, z0] = plate.box.min;
  const [x1, y1, z1] = plate.box.max;
  const middle = [far + (x0 + x1) / 2, (y0 + y1) / 2, (z0 + z1) / 2];
  const down = { origin: [middle[0], middle[1], z1 + 100], direction: [0, 0, -1] };
  const top = model.pick(down);
  assert.deepEqual([top.shape, top.item.id, top.path], [0, '1', [0]]);
  assert.ok(Math.abs(top.point[2] - z1) < 1e-3 && Math.abs(top.distance - 100) < 1e-3);
  assert.deepEqual(web.getSurface(plate, top.face).axis, [0, 0, 1]);
  const fromLeft = { origin: [far - 5000, middle[1], middle[2]], direction: [1, 0, 0] };
  const side = model.pick(fromLeft);
  assert.equal(side.shape, 1);
  // The mirror has turned the face that looked to the right.
  assert.deepEqual(web.getSurface(plate, side.face).axis, [1, 0, 0]);
  assert.ok(Math.abs(side.point[0] - (far - 2000 - 2 * x1)) < 0.01);
  assert.equal(model.pick({ ...down, origin: [middle[0], middle[1] + 1e4, z1 + 100] }), undefined);

  model.setLook(1, 'hidden');
  assert.equal(model.pick(fromLeft).shape, 0);
  model.setLook(1, 'ghost');
  assert.equal(model.pick(fromLeft).shape, 0);
  // With the upper half cut away, it is the cap that is seen, and from below the bottom.
  model.setSections([{ normal: [0, 0, 1], offset: middle[2] }]);
  assert.equal(model.getSections()[0].offset, middle[2]);
  const cap = model.pick(down);
  assert.deepEqual([cap.shape, cap.face, cap.section, cap.point], [0, -1, 0, middle]);
  assert.equal(model.pick({ ...down, origin: [far + x1 - 1e-3, y1 - 1e-3, z1 + 100] }), undefined);
  const bottom = model.pick({ origin: [middle[0], middle[1], z0 - 100], direction: [0, 0, 1] });
  assert.ok(bottom.section === undefined && Math.abs(bottom.point[2] - z0) < 1e-3);
  // A second plane cuts away what the first has a cap of on one side, and has one of its own.
  const across = { normal: [1, 0, 0], offset: middle[0] };
  model.setSections([{ normal: [0, 0, 1], offset: middle[2] }, across]);
  const aside = x => ({ origin: [middle[0] + x, middle[1], z1 + 100], direction: [0, 0, -1] });
  assert.equal(model.pick(aside(10)), undefined);
  assert.equal(model.pick(aside(-10)).section, 0);
  const inwards = { origin: [middle[0] + 1000, middle[1], (z0 + middle[2]) / 2], direction: [-1, 0, 0] };
  assert.deepEqual([model.pick(inwards).section, model.pick(inwards).point[0]], [1, middle[0]]);
  // A mirrored plate has an inside too; one that is not closed has none.
  model.setLook(1, 'solid');
  model.setSections([{ normal: [0, 0, 1], offset: middle[2] }]);
  assert.equal(model.pick({ ...down, origin: [far - 2000, middle[1], z1 + 100] }).section, 0);
  model.addMesh('7', { ...plate, triangles: plate.triangles.slice(0, plate.triangles.length - 30) });
  assert.equal(model.pick(down)?.section, undefined);
  model.addMesh('7', plate);
  model.setSections([]);
  model.setExplode(1);
  const [sx] = model.getShift(0);
  assert.ok(sx > 1);
  assert.notEqual(model.pick(down)?.shape, 0);
  assert.equal(model.pick({ ...down, origin: [middle[0] + sx, middle[1], z1 + 100] }).shape, 0);
});

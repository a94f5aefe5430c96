// The tour's numbers: what the page reckons beside what the driver sends and the board draws.
import assert from "node:assert/strict";
import { test } from "node:test";

import { KorvError } from "../engine/module.ts";
import type { PixelReport, TourRequest } from "../engine/types.ts";
import { reckon, rowAt, shown, valueAt } from "../page/tour/reckoning.ts";
import { kChips, kHeight, kWidth, requestOf } from "../page/tour/triangle.ts";
import { newModule } from "./rig.ts";

const korv = newModule();

function dice(seed: number): (most: number) => number {
  let state = seed;
  return (most) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return (state / 0x100000000) * most;
  };
}

function randomRequest(chip: string, throwDice: (most: number) => number): TourRequest {
  const eighths = (most: number) => Math.round(throwDice(most) * 8) / 8;
  const on = () => throwDice(2) < 1;
  return {
    chip,
    vertices: [0, 1, 2].map(() => ({
      x: eighths(kWidth), y: eighths(kHeight), z: throwDice(1), alpha: throwDice(1), fog: throwDice(1), u: throwDice(2), v: throwDice(2),
      colour: `#${Math.floor(throwDice(0x1000000)).toString(16).padStart(6, "0")}`,
    })),
    states: { smooth: on(), depth: on(), texture: chip !== "tx" && on(), fog: on(), blend: on() },
  };
}

// Each unit's colour follows from the one before, within a rounding.
function checkStages({ stages, fogFactor, fragment }: PixelReport, where: string): void {
  const { shaded, texel, textured, fogged, under, blended } = stages ?? {};
  const near = (unit: string, value: number, expected: number) =>
    assert.ok(Math.abs(value - Math.max(0, Math.min(255, expected))) <= 1.01, `${where}, ${unit}: ${value}, reckoned ${expected}`);
  for (const [channel, fog] of [["red", 0x98], ["green", 0xa8], ["blue", 0xb8]] as const) {
    if (textured) {
      near("texture", textured[channel], (shaded![channel] * texel![channel]) / 255);
    }
    const before = textured ?? shaded;
    if (fogged) {
      near("fog", fogged[channel], fog + Math.max(0, Math.min(1, fogFactor!)) * (before![channel] - fog));
    }
    if (fragment && before) {
      assert.equal(fragment[channel], (fogged ?? before)[channel], where);
    }
    if (blended) {
      near("blend", blended[channel], (fragment![channel] * fragment!.alpha + under![channel] * (255 - fragment!.alpha)) / 255);
    }
  }
}

for (const chip of kChips) {
  test(`numbers of random triangles, ${chip}`, () => {
    const throwDice = dice(chip.length);
    let lines = 0, rows = 0, pixels = 0;
    for (let i = 0; i < 60; ++i) {
      const request = randomRequest(chip, throwDice);
      const [a, b, c] = request.vertices;
      const area = Math.abs((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
      if (area < 40) {
        continue; // slopes of slivers have no bits left to compare
      }
      const { told } = korv.tour(request);
      assert.equal(told.faults, "");
      const reckoning = reckon(request, told);
      assert.ok(reckoning, `triangle ${i} is set up`);
      for (const { title, lines: group } of reckoning.groups) {
        for (const { name, value, fixed, step, note } of group) {
          // Singles have 24 bits, of what goes into a slope too.
          const room = 2 * step + Math.abs(value) * 2 ** -20 + (title === "depth" ? 65535 * 2 ** -18 : title === "Edges" ? 2 ** -14 : 2 ** -10);
          assert.ok(note !== undefined || Math.abs(fixed - value) <= room, `triangle ${i}, ${title} ${name}: ${fixed}, reckoned ${value}`);
          ++lines;
        }
      }
      for (const [k, row] of told.rows.entries()) {
        const at = rowAt(reckoning, k);
        assert.equal(row.y, reckoning.first + k * reckoning.down);
        const empty = row.left >= row.right;
        assert.ok(empty ? at.left >= at.right : at.left === row.left && at.right === row.right, `triangle ${i}, row ${row.y}: ${row.left} to ${row.right}, reckoned ${at.left} to ${at.right}`);
        ++rows;
      }
      const chosen = told.pixels[Math.floor(throwDice(told.pixels.length))];
      if (!chosen) {
        continue;
      }
      const [x, y, passed, , after] = chosen;
      const again = korv.tour({ ...request, pixel: [x, y] });
      const pixel = again.told.pixel!;
      assert.deepEqual([pixel.x, pixel.y, pixel.passed], [x, y, passed]);
      // Flat triangles without depth may be filled past the units, whatever else is asked for.
      if (pixel.way !== "fragment") {
        const { smooth, depth, texture } = request.states;
        assert.deepEqual([pixel.way, smooth || depth || texture], ["block fill", false]);
      }
      if (request.states.smooth) {
        for (const channel of ["red", "green", "blue"] as const) {
          const value: number | undefined = valueAt(reckoning, channel, x, y)?.value;
          assert.ok(value !== undefined, `triangle ${i}: ${channel} of ${JSON.stringify(request)}`);
          const held = Math.max(0, Math.min(255, value));
          assert.ok(Math.abs(held - pixel.stages!.shaded![channel]) <= 0.6, `triangle ${i}, ${channel} at ${x},${y}: ${value}, shaded ${pixel.stages!.shaded![channel]}`);
        }
      }
      if (request.states.fog && pixel.way === "fragment" && !reckoning.unsent.includes("fog")) {
        assert.ok(Math.abs(valueAt(reckoning, "fog", x, y)!.value - pixel.fogFactor!) < 1e-3);
      }
      if (request.states.depth) {
        assert.ok(Math.abs(valueAt(reckoning, "depth", x, y)!.value - pixel.fragmentDepth!) < 1.5);
        assert.equal(pixel.tests.find((one) => one.test === "depth")!.passed, pixel.fragmentDepth! <= pixel.storedDepth!);
      }
      checkStages(pixel, `triangle ${i} at ${x},${y}`);
      // The picture has the pixel that was written.
      const place = (y * again.picture.width + x) * 4;
      assert.deepEqual([...again.picture.rgba.slice(place, place + 3)], shown(after));
      ++pixels;
    }
    assert.ok(lines > 500 && rows > 500 && pixels > 25, `${lines} lines, ${rows} rows, ${pixels} pixels`);
  });
}

test("words tell what each register was and becomes", () => {
  const { told } = korv.tour(requestOf({ chip: "tx" }));
  const held = new Map<string, number>();
  for (const { before, after, raw } of told.words) {
    if (after) {
      assert.equal(after.raw, raw);
      assert.ok(!held.has(after.name) || before!.raw === held.get(after.name), after.name);
      held.set(after.name, raw);
    }
  }
  assert.deepEqual(told.words.filter(({ command }) => command).map(({ after }) => after!.name), ["Render", "ContinueNewSub"]);
  const drawing = new Set(told.rows.map(({ word }) => told.words.find((one) => one.word === word)!.after!.name));
  assert.deepEqual([...drawing], ["Render", "ContinueNewSub"]);
});

test("what is no triangle is a line, and one without rows draws nothing", () => {
  const request = requestOf({});
  assert.throws(() => korv.tour({ ...request, vertices: request.vertices.slice(1) }), /three vertices/);
  assert.throws(() => korv.tour({ ...request, chip: "voodoo" }), KorvError);
  assert.throws(() => korv.tour({ ...request, vertices: request.vertices.map((one) => ({ ...one, colour: "red" })) }), /bad colour 'red'/);
  assert.throws(() => korv.tour({ ...request, vertices: request.vertices.map((one) => ({ ...one, x: 1000 })) }), /bad x 1000/);
  for (const chip of kChips) {
    const flat = { ...request, chip, vertices: request.vertices.map((one) => ({ ...one, y: 10 })) };
    assert.deepEqual(korv.tour(flat).told.rows.filter(({ left, right }) => left < right), []);
  }
});

test("memory stays within a ceiling over many triangles", () => {
  const own = newModule();
  const draw = (i: number) => own.tour({ ...requestOf({ chip: kChips[i % kChips.length] }), pixel: [i % kWidth, i % kHeight] });
  for (let i = 0; i < 20; ++i) {
    draw(i);
  }
  const after20 = own.memory();
  for (let i = 20; i < 120; ++i) {
    draw(i);
  }
  assert.equal(own.memory(), after20);
});

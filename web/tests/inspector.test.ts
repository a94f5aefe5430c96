// Captures in the module, beside the tool that plays them.
import assert from "node:assert/strict";
import { mkdirSync, readdirSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { before, test } from "node:test";

import { KorvError } from "../engine/module.ts";
import { newModule, noTool, project, readPng, rgbOf, runTool, temporaryFolder } from "./rig.ts";

const folder = temporaryFolder();
const korv = newModule();

// As of zlib and PNG.
const crcTable = Uint32Array.from({ length: 256 }, (_, i) => {
  for (let bit = 0; bit < 8; ++bit) {
    i = (i & 1) !== 0 ? (i >>> 1) ^ 0xedb88320 : i >>> 1;
  }
  return i;
});
function crc32(bytes: Uint8Array, before = 0): number {
  let sum = ~before;
  for (const byte of bytes) {
    sum = crcTable[(sum ^ byte) & 255] ^ (sum >>> 8);
  }
  return ~sum >>> 0;
}

// docs/capture.md: the CRC-32 of each page that is not all zero, its number before its bytes.
function memoryChecksum(memory: Buffer): number {
  const kPage = 4096, zero = Buffer.alloc(kPage);
  let sum = 0;
  for (let page = 0; page * kPage < memory.length; ++page) {
    const bytes = memory.subarray(page * kPage, (page + 1) * kPage);
    if (!bytes.equals(zero.subarray(0, bytes.length))) {
      const number = Buffer.alloc(4);
      number.writeUInt32LE(page);
      sum = crc32(bytes, crc32(number, sum));
    }
  }
  return sum;
}

// One of each display.
function recordAll(script: string): string[] {
  const own = join(folder, script);
  mkdirSync(own, { recursive: true });
  runTool("replay", join(project, "scenes", script), "--capture", join(own, "capture.korv"));
  return readdirSync(own).filter((name) => name.endsWith(".korv")).map((name) => join(own, name));
}
const record = (script: string) => recordAll(script)[0];

const scripts = readdirSync(join(project, "scenes"))
  .filter((name) => name.endsWith(".json") && /"steps"/.test(readFileSync(join(project, "scenes", name), "utf8")));

test("captures of scripts are played as the tool plays them", { skip: noTool }, async (all) => {
  for (const script of scripts) {
    await all.test(script, () => {
      const captures = recordAll(script);
      assert.ok(captures.length > 0);
      for (const capture of captures) {
        const memory = join(folder, "memory.bin");
        const report = JSON.parse(runTool("play", capture, "--check", "--json", "--memory", memory));
        const about = korv.open(readFileSync(capture));
        assert.equal(about.damage, "");
        const { event, word, call, batch, frame, step } = about.total;
        assert.deepEqual([event, word, call, batch, frame, step],
          [report.events, report.words, report.calls, report.batches, report.frames, report.steps]);
        assert.equal(korv.go("end").differences, 0);
        assert.equal(korv.checksums().frameBuffer, memoryChecksum(readFileSync(memory)));
      }
    });
  }
});

test("forth and back again, every place has one state", { skip: noTool }, () => {
  const capture = record("triangles-tx.json");
  korv.open(readFileSync(capture));
  const timeline = korv.timeline();
  const places = timeline.filter(({ kind }) => kind === "batch" || kind === "step").map(({ kind, number }) => `${kind}:${number}`);
  const seen = new Map<string, object>();
  for (const place of places) {
    seen.set(place, { ...korv.go(place), ...korv.checksums() });
  }
  for (const place of places.reverse()) {
    assert.deepEqual({ ...korv.go(place), ...korv.checksums() }, seen.get(place), place);
  }
  assert.ok(new Set([...seen.values()].map((one) => JSON.stringify(one))).size > 20);
});

test("pictures, state and events are the tool's", { skip: noTool }, () => {
  const capture = record("triangles-tx.json");
  korv.open(readFileSync(capture));
  for (const place of ["batch:3", "step:20", "end"]) {
    const png = join(folder, "p.png"), depth = join(folder, "d.png");
    runTool("play", capture, "--to", place, "-o", png);
    runTool("play", capture, "--to", place, "--depth-picture", "-o", depth);
    korv.go(place);
    assert.ok(rgbOf(korv.surface("").rgba).equals(readPng(png).rgb), `the picture at ${place}`);
    assert.ok(rgbOf(korv.depth().rgba).equals(readPng(depth).rgb), `depth at ${place}`);
    const expected = JSON.parse(runTool("state", capture, "--at", place, "--json"));
    const state = korv.state();
    assert.deepEqual(state, expected, `state at ${place}`);
  }
  const lines = runTool("dump", capture, "--from", "batch:3", "--to", "batch:4", "--json").trim().split("\n");
  assert.deepEqual(korv.events("batch:3", "batch:4"), lines.map((line) => JSON.parse(line)));
  const summary = runTool("dump", capture, "--summary", "--json").trim().split("\n");
  assert.deepEqual(korv.timeline(), summary.map((line) => JSON.parse(line)));
});

test("places that are not there get a line", { skip: noTool }, () => {
  korv.open(readFileSync(record("triangles-tx.json")));
  assert.throws(() => korv.go("batch:100000"), /batch:100000/);
  assert.throws(() => korv.go("somewhere"), KorvError);
  assert.throws(() => korv.surface("no such surface"), /no surface 'no such surface'/);
  assert.throws(() => korv.part("frame", 0xfffffff0, 64, 8, 8, "rgb555"), /not in the board's memories/);
  assert.throws(() => korv.part("frame", 0, 64, 8, 8, "rgb15"), /unknown format 'rgb15'/);
  korv.go("batch:3");
  assert.equal(korv.part("frame", 0, 128, 64, 4, "rgb565").width, 64);
  assert.throws(() => newModule().timeline(), /no capture is open/);
});

// Deterministic, so that a failure comes again.
function dice(seed: number): (most: number) => number {
  let state = seed;
  return (most) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return Math.floor((state / 0x100000000) * most);
  };
}

test("damaged captures are lines, never a crash", { skip: noTool }, () => {
  const capture = join(folder, "small.korv");
  runTool("render", join(project, "scenes/cube.obj"), "--chip", "tx", "--size", "32x24", "--capture", capture, "-o", join(folder, "small.png"));
  const whole = readFileSync(capture);
  const throwDice = dice(11);
  let refused = 0, played = 0;
  let own = newModule();
  const count = Number(process.env.KORV_DAMAGED ?? 10000);
  for (let i = 0; i < count; ++i) {
    const bytes = Buffer.from(whole);
    for (let n = 1 + throwDice(4); n > 0; --n) {
      const at = throwDice(3) === 0 ? throwDice(Math.min(bytes.length, 256)) : throwDice(bytes.length);
      bytes[at] = throwDice(256);
    }
    const part = throwDice(4) === 0 ? bytes.subarray(0, throwDice(bytes.length)) : bytes;
    try {
      own.open(part);
      own.go("end");
      ++played;
      if (i % 8 === 0) {
        own.timeline();
        own.go("word:100");
        own.state();
        own.surface("");
      }
    } catch (error) {
      assert.ok(error instanceof KorvError, `damage ${i}: ${error}`);
      assert.match((error as Error).message, /\S/);
      ++refused;
    }
    // A damaged head may ask for memories of any size.
    if (own.memory() > 512 << 20) {
      own = newModule();
    }
  }
  assert.ok(refused > count / 10 && played > 0, `${refused} refused, ${played} played`);
});

test("memory stays within a ceiling over many steps", { skip: noTool }, () => {
  const own = newModule();
  own.open(readFileSync(record("triangles-tx.json")));
  const walk = (steps: number) => {
    for (let i = 0; i < steps; ++i) {
      own.go(`batch:${(i * 7) % 30}`);
      own.surface("");
    }
  };
  walk(50);
  const ceiling = own.memory();
  walk(950);
  assert.equal(own.memory(), ceiling);
});

before(() => assert.ok(scripts.length > 10));

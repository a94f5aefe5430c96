// Captures in the module, beside the tool that plays them.
import assert from "node:assert/strict";
import { mkdirSync, readdirSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { before, test } from "node:test";

import { KorvError } from "../engine/module.ts";
import { primitiveEnds, stepFrom } from "../page/steps.ts";
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
        // To the end by a few stops, and back again.
        const stops = [0.2, 0.4, 0.6, 0.8].map((part) => `event:${Math.floor(event * part)}`);
        const forth = stops.map((place) => [korv.go(place).word, korv.checksums()]);
        assert.equal(korv.go("end").differences, 0);
        const sums = korv.checksums();
        assert.equal(sums.frameBuffer, memoryChecksum(readFileSync(memory)));
        if (about.localBufferBytes !== 0) {
          assert.equal(sums.localBuffer, memoryChecksum(readFileSync(join(folder, "memory-local.bin"))));
        }
        const back = stops.reverse().map((place) => [korv.go(place).word, korv.checksums()]);
        assert.deepEqual(back.reverse(), forth);
        korv.go("end");
        assert.deepEqual(korv.checksums(), sums);
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

test("pictures, state and time line are the tool's", { skip: noTool }, () => {
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
  const summary = runTool("dump", capture, "--summary", "--json").trim().split("\n");
  assert.deepEqual(korv.timeline(), summary.map((line) => JSON.parse(line)));
});

test("a pixel's history is the tool's, at random pixels", { skip: noTool }, () => {
  const throwDice = dice(7);
  for (const script of ["triangles-tx.json", "permedia2-triangles.json", "blits-mx-32.json", "flip-permedia.json", "textures-mx-delta.json"]) {
    const capture = record(script);
    korv.open(readFileSync(capture));
    const { drawn, surfaces } = korv.go("end");
    for (let i = 0; i < 6; ++i) {
      const named = i % 3 === 2 && surfaces.length > 0 ? surfaces[throwDice(surfaces.length)] : undefined;
      const { width, height } = named ?? drawn!;
      const pixel = [throwDice(width), throwDice(height)] as const;
      let expected: object | undefined;
      try {
        expected = JSON.parse(runTool("why", capture, pixel.join(), "--json", ...(named ? ["--surface", named.name] : [])));
      } catch {
        assert.throws(() => korv.why(named?.name ?? "", ...pixel), KorvError);
        continue;
      }
      const { file: _, ...history } = expected as { file: string };
      assert.deepEqual(korv.why(named?.name ?? "", ...pixel), history, `${script} ${named?.name ?? ""} ${pixel}`);
    }
  }
});

test("overdraw is the tool's, since any place", { skip: noTool }, () => {
  const capture = record("triangles-tx.json"), png = join(folder, "o.png");
  korv.open(readFileSync(capture));
  for (const [from, to] of [["start", "end"], ["step:20", "end"], ["batch:5", "batch:20"]]) {
    runTool("play", capture, "--overdraw", "--from", from, "--to", to, "-o", png);
    const here = korv.go(to), sums = korv.checksums();
    assert.ok(rgbOf(korv.overdraw("", from).rgba).equals(readPng(png).rgb), `${from} to ${to}`);
    // One stands where one stood.
    assert.deepEqual([korv.go(to), korv.checksums()], [here, sums]);
  }
  korv.go("batch:5");
  const { word } = korv.go("batch:5");
  assert.throws(() => korv.overdraw("", "batch:9"), /batch:9 does not lie before this place/);
  assert.throws(() => korv.wires("", "batch:100000"), /does not lie before/);
  assert.equal(korv.go(`word:${word}`).word, word);
});

test("wires are the outlines of what changes", { skip: noTool }, () => {
  korv.open(readFileSync(record("triangles-tx.json")));
  const primitives = korv.timeline().filter(({ kind }) => kind === "primitive");
  let compared = 0;
  for (const { word, words } of primitives.filter((_, i) => i % 90 === 1)) {
    korv.go(`word:${word}`);
    const before = korv.surface("");
    korv.go(`word:${word + words!}`);
    const after = korv.surface("");
    const { width, height } = after;
    const differs = (x: number, y: number) => [0, 1, 2].some((i) => before.rgba[(y * width + x) * 4 + i] !== after.rgba[(y * width + x) * 4 + i]);
    const rows: [number, number[]][] = [];
    for (let y = 0; y < height; ++y) {
      const row = Array.from({ length: width }, (_, x) => x).filter((x) => differs(x, y));
      if (row.length > 0) {
        rows.push([y, row]);
      }
    }
    // Only primitives that change all that they cover can be told by what changes.
    if (rows.length < 3 || rows.some(([, row]) => row.at(-1)! - row[0] !== row.length - 1)) {
      continue;
    }
    const outline = new Set(rows.flatMap(([y, row], i) =>
      (i === 0 || i === rows.length - 1 ? row : [row[0], row.at(-1)!]).map((x) => y * width + x)));
    const { rgba } = korv.wires("", `word:${word}`);
    const wires = Array.from({ length: width * height }, (_, i) => i).filter((i) => rgba[4 * i] === 255 && rgba[4 * i + 1] === 210 && rgba[4 * i + 2] === 60);
    assert.deepEqual(wires, [...outline].sort((a, b) => a - b), `word:${word}`);
    ++compared;
  }
  assert.ok(compared > 3, `${compared} compared`);
});

test("raw words are played as the tool plays them", { skip: noTool }, () => {
  const words = join(folder, "raw.words"), png = join(folder, "raw.png");
  runTool("replay", join(project, "scenes/triangles-tx.json"), "--words", words);
  const base = 153600;
  runTool("play", words, "--chip", "tx", "--size", "320x240", "--base", String(base), "-o", png);
  const raw = { chip: "tx", width: 320, height: 240, bits: 16, base };
  assert.throws(() => korv.open(readFileSync(words)), /it is no capture; raw words need/);
  assert.throws(() => korv.open(readFileSync(words), { ...raw, chip: "voodoo" }), /unknown chip 'voodoo'/);
  assert.throws(() => korv.open(readFileSync(words), { ...raw, bits: 12 }), /bad bits 12/);
  const about = korv.open(readFileSync(words), raw);
  assert.ok(about.raw && about.total.word === readFileSync(words).length / 4);
  korv.go("end");
  assert.ok(rgbOf(korv.surface("").rgba).equals(readPng(png).rgb));
  const sums = korv.checksums();
  korv.go("word:100");
  korv.go("end");
  assert.deepEqual(korv.checksums(), sums);
  const { file: _, ...history } = JSON.parse(runTool("why", words, "30,40", "--chip", "tx", "--size", "320x240", "--base", String(base), "--json"));
  assert.deepEqual(korv.why("", 30, 40), history);
});

test("the list of events is the tool's dump, filtered and searched", { skip: noTool }, () => {
  const capture = record("triangles-tx.json");
  korv.open(readFileSync(capture));
  const dump = (...words: string[]) => runTool("dump", capture, ...words).trim().split("\n");
  for (const [only, changes] of [["", false], ["Render,call", false], ["fifo,dma", true], ["LocalBuffer", true]] as const) {
    const options = [...(only ? ["--only", only] : []), ...(changes ? ["--changes"] : [])];
    const lines = dump("--json", ...options).map((line) => JSON.parse(line));
    assert.equal(korv.list(only, changes), lines.length);
    for (const first of [0, 1, Math.floor(lines.length / 2), Math.max(0, lines.length - 7), lines.length]) {
      assert.deepEqual(korv.rows(first, 30), lines.slice(first, first + 30), `${only} from ${first}`);
    }
    const texts = dump(...options);
    if (only !== "") {
      // A line of text each: those of bytes are left out here.
      assert.equal(texts.length, lines.length);
      const hit = texts.findIndex((line) => /trapezoid/i.test(line));
      assert.equal(korv.findRow("TRAPEZOID", 0, false), hit < 0 ? null : hit);
      const last = texts.findLastIndex((line) => /trapezoid/i.test(line));
      assert.equal(korv.findRow("trapezoid", texts.length, true), last < 0 ? null : last);
    }
  }
  assert.equal(korv.findRow("no such text", 0, false), null);
  assert.throws(() => korv.list("Rendr", false), /nothing is called 'Rendr'/);
  korv.list("fifo,dma", false);
  korv.go("word:777");
  assert.equal(korv.rows(korv.rowHere(), 1)[0].word, 777);
  assert.equal(korv.text("batch:3", "batch:4"), runTool("dump", capture, "--from", "batch:3", "--to", "batch:4", "--only", "fifo,dma"));
});

test("steps lead from start to end and back by the same places", { skip: noTool }, () => {
  for (const script of ["triangles-tx.json", "flip-permedia.json"]) {
    const { total } = korv.open(readFileSync(record(script)));
    const ends = primitiveEnds(korv.timeline());
    for (const unit of ["frame", "step", "call", "batch", "primitive"] as const) {
      const walk = (from: string, direction: 1 | -1) => {
        const visited: number[] = [];
        let place = from;
        for (let i = 0; i < 3000; ++i) {
          const here = korv.go(place);
          visited.push(here.word * 1e6 + here.event);
          if ((direction > 0 && place === "end") || (direction < 0 && place === "start")) {
            return { visited, places: i };
          }
          place = stepFrom(here, total, ends, unit, direction);
        }
        throw new Error(`${script} by ${unit} never ends`);
      };
      if (unit === "primitive" && ends.length > 200) {
        continue;
      }
      const forth = walk("start", 1), back = walk("end", -1);
      const things = unit === "primitive" ? ends.length : total[unit];
      assert.ok(forth.places >= things && forth.places <= things + 2, `${script} by ${unit}: ${forth.places} steps for ${things}`);
      assert.deepEqual([...new Set(back.visited)].reverse(), [...new Set(forth.visited)], `${script} by ${unit}`);
      assert.deepEqual(forth.visited, forth.visited.slice().sort((a, b) => a - b), "forth is forth");
    }
  }
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
      if (i % 50 === 0) {
        own.state();
        own.overdraw("", "start");
        own.wires("", "start");
        own.why("", i % 320, 100);
        own.rows(i * 10, 200);
      }
    }
  };
  walk(100);
  const ceiling = own.memory();
  walk(900);
  assert.equal(own.memory(), ceiling);
  const { bytes, count, ceiling: most } = own.checkpoints();
  assert.ok(count > 5 && bytes < most && ceiling < 400 << 20, `${count} checkpoints of ${bytes} bytes, ${ceiling} in all`);
});

before(() => assert.ok(scripts.length > 10));

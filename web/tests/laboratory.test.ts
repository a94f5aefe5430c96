// The module draws what the tool draws: every chip and scene, pixel by pixel and word by word.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { before, test } from "node:test";

import { KorvError } from "../engine/module.ts";
import { newModule, noTool, project, readPng, rgbOf, runTool, temporaryFolder } from "./rig.ts";

const korv = newModule();
const { chips, scenes } = korv.catalogue();

function equalWords(words: Uint32Array, path: string): void {
  const bytes = readFileSync(path);
  assert.equal(words.length * 4, bytes.length, `${path}: the number of words`);
  const expected = new Uint32Array(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length));
  const differs = words.findIndex((word, i) => word !== expected[i]);
  assert.equal(differs, -1, `${path}: the first word that differs`);
}

function equalPicture(path: string): void {
  const picture = korv.picture(), expected = readPng(path);
  assert.deepEqual([picture.width, picture.height], [expected.width, expected.height], path);
  assert.ok(rgbOf(picture.rgba).equals(expected.rgb), `${path}: the pixels`);
}

test("the catalogue has the tool's chips and scenes", () => {
  assert.equal(chips.length, 9);
  assert.ok(scenes.length >= 22);
  assert.ok(scenes.every((scene) => scene.chips.length > 0));
});

for (const carrier of ["dma", "fifo"] as const) {
  test(`every chip and scene, by ${carrier}`, { skip: noTool }, async (all) => {
    const folder = temporaryFolder();
    const small = carrier === "fifo";
    const size = small ? ["--size", "200x150", "--fifo", "--depth", "32"] : [];
    runTool("demo", "-o", folder, "--plain", "--words", join(folder, "words.bin"), ...size);
    for (const scene of scenes) {
      await all.test(scene.name, () => {
        for (const chip of scene.chips) {
          const mode = small ? { width: 200, height: 150, fifo: true, depth: 32 } : {};
          const drawn = korv.draw({ chip, scene: scene.name, ...mode });
          assert.equal(drawn.faults, "");
          equalWords(korv.rawWords(), join(folder, `words-${chip}-${scene.name}.bin`));
          equalPicture(join(folder, `${chip}-${scene.name}.png`));
        }
      });
    }
  });
}

test("a model with textures is as the tool renders it", { skip: noTool }, () => {
  const folder = temporaryFolder();
  runTool("texture", "bricks", "-o", join(folder, "bricks.png"));
  const cube = readFileSync(join(project, "scenes/cube.obj"));
  korv.forgetFiles();
  korv.file("cube.obj", cube);
  const model = korv.model("cube.obj");
  assert.ok(model.triangles > 0);
  assert.deepEqual(model.warnings, []);
  for (const chip of ["tx", "permedia2"]) {
    runTool("render", join(project, "scenes/cube.obj"), "--chip", chip, "--zbuffer", "--words", join(folder, "w"), "-o",
      join(folder, "cube.png"));
    korv.draw({ chip });
    equalWords(korv.rawWords(), join(folder, "w"));
    equalPicture(join(folder, "cube.png"));
  }
});

test("words have the meanings that event text gives them", { skip: noTool }, () => {
  const folder = temporaryFolder();
  runTool("demo", "-o", folder, "--plain", "--chip", "tx", "--scene", "crossing", "--size", "64x48", "--events",
    join(folder, "e.txt"));
  const lines = readFileSync(join(folder, "e.txt"), "utf8").split("\n").filter((line) => /^[fd] /.test(line));
  const drawn = korv.draw({ chip: "tx", scene: "crossing", width: 64, height: 48 });
  assert.equal(lines.length, drawn.words);
  const words = korv.words(0, drawn.words);
  for (const [i, line] of lines.entries()) {
    const [, raw, meaning] = /^. ([0-9A-F]{8}) ; (.*)$/.exec(line) ?? [];
    assert.equal(words[i].raw, parseInt(raw, 16));
    assert.equal(words[i].text, meaning);
  }
  // A part begins with the same meanings as the whole.
  assert.deepEqual(korv.words(drawn.frameStart + 7, 20), words.slice(drawn.frameStart + 7, drawn.frameStart + 27));
  const found = korv.find("render primitive", 0);
  assert.equal(found, words.findIndex((word) => /render primitive/i.test(word.text)));
  assert.equal(korv.find("no such word", 0), null);
});

test("calls are told with the words that reached the chip meanwhile", () => {
  const drawn = korv.draw({ chip: "tx", scene: "crossing", width: 64, height: 48, fifo: true });
  const calls = korv.calls();
  const frame = calls.filter((call) => call.frame);
  assert.equal(frame.length, drawn.calls);
  assert.ok(frame.some((call) => call.name === "RenderPrimitive" && call.end > call.word));
  let last = 0;
  for (const call of calls) {
    assert.ok(call.word >= last && call.end >= call.word);
    last = call.end;
  }
  assert.ok(last <= drawn.words);
});

test("turning and states change the picture, and nothing else does", () => {
  const draw = (more: object) => {
    korv.draw({ chip: "permedia2", scene: "texture-fog", width: 160, height: 120, ...more });
    return Buffer.from(korv.picture().rgba);
  };
  const plain = draw({});
  assert.ok(plain.equals(draw({ yaw: 0, pitch: 0, zoom: 1, states: {} })));
  for (const change of [
    { yaw: 30 }, { pitch: 20 }, { zoom: 1.5 },
    ...["off"].map((depth) => ({ states: { depth } })),
    ...["off"].map((fog) => ({ states: { fog } })),
    ...["mix", "add"].map((blend) => ({ states: { blend } })),
    ...["flat"].map((shade) => ({ states: { shade } })),
    ...["nearest"].map((filter) => ({ states: { filter } })),
    ...["wireframe", "points"].map((fill) => ({ states: { fill } })),
    ...["cw", "ccw"].map((cull) => ({ states: { cull } })),
  ]) {
    assert.ok(!plain.equals(draw(change)), JSON.stringify(change));
  }
  assert.ok(plain.equals(draw({})), "a frame leaves nothing behind");
});

test("what cannot be drawn is a line", () => {
  const refuses = (request: object, line: RegExp) => assert.throws(() => korv.draw(request as never), line);
  refuses({ chip: "voodoo", scene: "knot" }, /unknown chip 'voodoo': expected one of sx/);
  refuses({ chip: "tx", scene: "teapot" }, /unknown scene 'teapot'/);
  refuses({ chip: "tx", scene: "tunnel" }, /tunnel/);
  refuses({ chip: "tx", scene: "knot", depth: 15 }, /8, 16 or 32/);
  refuses({ chip: "tx", scene: "knot", width: 0 }, /width/);
  refuses({ chip: "tx", scene: "knot", states: { fog: "some" } }, /expected one of on, off/);
  refuses({ scene: "knot" }, /chip/);
  korv.file("empty.obj", new Uint8Array());
  assert.throws(() => korv.model("empty.obj"), KorvError);
  assert.throws(() => korv.model("missing.obj"), /no such file/);
  korv.draw({ chip: "tx", scene: "knot" });
});

test("memory stays within a ceiling over many frames", () => {
  const own = newModule();
  const draw = (i: number) =>
    own.draw({ chip: chips[i % chips.length].name, scene: "knot", width: 320, height: 240, yaw: i });
  for (let i = 0; i < 20; ++i) {
    draw(i);
  }
  const after20 = own.memory();
  for (let i = 20; i < 200; ++i) {
    draw(i);
  }
  assert.equal(own.memory(), after20);
});

before(() => assert.ok(chips.length > 0));

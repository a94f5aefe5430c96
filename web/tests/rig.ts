// What tests of the module share: the module itself, and the tool that it is compared with.
import { execFileSync } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { inflateSync } from "node:zlib";

import { Korv } from "../engine/module.ts";

export const project = process.env.KORV_PROJECT ?? process.cwd();
export const build = process.env.KORV_BUILD ?? join(project, "build");
export const tool = process.env.KORV_TOOL ?? join(build, "hosted/tools/korv/korv");
// Why tests that need the tool are left out; false if they are not.
export const noTool = existsSync(tool) ? false : `the tool is not built: ${tool}`;
export const page = join(build, "web/korv.html");

const compiled = new WebAssembly.Module(readFileSync(join(build, "web/web/module/korv.wasm")));
export const newModule = () => new Korv(compiled, (text) => process.stderr.write(text));

export function runTool(...words: string[]): string {
  return execFileSync(tool, words, { encoding: "utf8", maxBuffer: 1 << 28 });
}

// A folder for a test file, gone when it ends.
export function temporaryFolder(): string {
  const folder = mkdtempSync(join(tmpdir(), "korv-page-"));
  process.on("exit", () => rmSync(folder, { recursive: true, force: true }));
  return folder;
}

// Pixels of a PNG with 8 bits a channel, without interlace: red, green, blue.
export function readPng(path: string): { width: number; height: number; rgb: Buffer } {
  const file = readFileSync(path);
  const data: Buffer[] = [];
  let width = 0, height = 0, channels = 0;
  for (let at = 8; at < file.length; ) {
    const length = file.readUInt32BE(at), type = file.toString("latin1", at + 4, at + 8);
    const body = file.subarray(at + 8, at + 8 + length);
    if (type === "IHDR") {
      width = body.readUInt32BE(0);
      height = body.readUInt32BE(4);
      channels = body[9] === 2 ? 3 : 4;
    } else if (type === "IDAT") {
      data.push(body);
    }
    at += 12 + length;
  }
  const raw = inflateSync(Buffer.concat(data));
  const pitch = width * channels;
  const lines = Buffer.alloc(pitch * height);
  for (let y = 0; y < height; ++y) {
    const filter = raw[y * (pitch + 1)];
    for (let i = 0; i < pitch; ++i) {
      const left = i >= channels ? lines[y * pitch + i - channels] : 0;
      const up = y > 0 ? lines[(y - 1) * pitch + i] : 0;
      const corner = y > 0 && i >= channels ? lines[(y - 1) * pitch + i - channels] : 0;
      let guess = 0;
      if (filter === 1) {
        guess = left;
      } else if (filter === 2) {
        guess = up;
      } else if (filter === 3) {
        guess = (left + up) >> 1;
      } else if (filter === 4) {
        const near = left + up - corner;
        const a = Math.abs(near - left), b = Math.abs(near - up), c = Math.abs(near - corner);
        guess = a <= b && a <= c ? left : b <= c ? up : corner;
      }
      lines[y * pitch + i] = raw[y * (pitch + 1) + 1 + i] + guess;
    }
  }
  const rgb = Buffer.alloc(width * height * 3);
  for (let i = 0; i < width * height; ++i) {
    lines.copy(rgb, i * 3, i * channels, i * channels + 3);
  }
  return { width, height, rgb };
}

// The same of a picture of the module.
export function rgbOf(rgba: Uint8ClampedArray): Buffer {
  const rgb = Buffer.alloc((rgba.length / 4) * 3);
  for (let i = 0; i < rgba.length / 4; ++i) {
    rgb[i * 3] = rgba[i * 4];
    rgb[i * 3 + 1] = rgba[i * 4 + 1];
    rgb[i * 3 + 2] = rgba[i * 4 + 2];
  }
  return rgb;
}

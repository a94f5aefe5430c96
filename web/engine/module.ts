// The module with names and types. Whatever it cannot do is a KorvError, with a line for people.
import { imports } from "./imports.ts";
import type * as t from "./types.ts";

export class KorvError extends Error {}

type Exports = Record<string, (...numbers: number[]) => number> & { memory: WebAssembly.Memory };

export class Korv {
  private readonly exports: Exports;
  private readonly encoder = new TextEncoder();
  private readonly decoder = new TextDecoder();

  constructor(module: WebAssembly.Module, say: (text: string) => void = () => {}) {
    const instance: WebAssembly.Instance = new WebAssembly.Instance(
      module,
      imports(() => instance.exports.memory as WebAssembly.Memory, say),
    );
    this.exports = instance.exports as Exports;
    this.exports._initialize();
  }

  // Bytes of memory that the module has taken so far.
  memory(): number {
    return this.exports.memory.buffer.byteLength;
  }

  catalogue = () => this.ask<t.Catalogue>("korv_catalogue");

  file(name: string, bytes: Uint8Array): void {
    this.lent([this.zeroed(name), bytes], ([text, at]) => this.exports.korv_file(text, at, bytes.length));
  }
  forgetFiles = (): void => void this.exports.korv_forget_files();
  model = (name: string) => this.ask<t.Model>("korv_model", name);

  draw = (request: t.DrawRequest) => this.ask<t.Drawn>("korv_draw", JSON.stringify(request));
  // Both at once.
  frame(request: t.DrawRequest): t.Frame {
    return { drawn: this.draw(request), picture: this.picture() };
  }
  calls = () => this.ask<t.Call[]>("korv_calls");
  words = (first: number, most: number) => this.ask<t.Word[]>("korv_words", first, most);
  find = (text: string, first: number) => this.ask<{ word: number | null }>("korv_find", text, first).word;
  // Of the frame drawn last, from power on: a copy.
  rawWords(): Uint32Array {
    const at = this.exports.korv_raw_words() >>> 0;
    return new Uint32Array(this.exports.memory.buffer, at, this.exports.korv_raw_word_count()).slice();
  }

  // A capture; raw words with `raw`.
  open(bytes: Uint8Array, raw?: t.RawWords): t.About {
    return this.lent([bytes, this.zeroed(raw ? JSON.stringify(raw) : "")], ([at, text]) =>
      this.told<t.About>(this.exports.korv_open(at, bytes.length, text)));
  }
  timeline = () => this.ask<t.TimelineEntry[]>("korv_timeline");
  go = (place: string) => this.ask<t.Here>("korv_go", place);
  checkpoints = () => this.ask<{ count: number; bytes: number; ceiling: number }>("korv_checkpoints");
  state = () => this.ask<t.BoardState>("korv_state");
  checksums = () => this.ask<t.Checksums>("korv_checksums");
  text = (from: string, to: string) => this.ask<{ text: string }>("korv_text", from, to).text;
  why = (surface: string, x: number, y: number) => this.ask<t.PixelHistory>("korv_why", surface, x, y);
  list = (only: string, changes: boolean) => this.ask<{ rows: number }>("korv_list", only, changes ? 1 : 0).rows;
  rows = (first: number, most: number) => this.ask<t.StreamEvent[]>("korv_rows", first, most);
  rowHere = () => this.ask<{ row: number }>("korv_row_here").row;
  findRow = (text: string, first: number, backwards: boolean) =>
    this.ask<{ row: number | null }>("korv_find_row", text, first, backwards ? 1 : 0).row;
  surface = (name: string): t.Picture => this.pictured("korv_surface", name);
  depth = (): t.Picture => this.pictured("korv_depth");
  overdraw = (surface: string, from: string): t.Picture => this.pictured("korv_overdraw", surface, from);
  wires = (surface: string, from: string): t.Picture => this.pictured("korv_wires", surface, from);
  part = (memory: string, offset: number, pitch: number, width: number, height: number, format: string): t.Picture =>
    this.pictured("korv_part", memory, offset, pitch, width, height, format);

  tour(request: t.TourRequest): t.Tour {
    const told = this.ask<t.TourTold>("korv_tour", JSON.stringify(request));
    return { told, picture: this.picture() };
  }

  private pictured(name: string, ...values: (string | number)[]): t.Picture {
    this.ask(name, ...values);
    return this.picture();
  }

  // Drawn or asked for last: a copy.
  picture(): t.Picture {
    const width = this.exports.korv_picture_width(), height = this.exports.korv_picture_height();
    const at = this.exports.korv_picture() >>> 0;
    const rgba = new Uint8ClampedArray(this.exports.memory.buffer.slice(at, at + width * height * 4));
    return { width, height, rgba };
  }

  private zeroed(text: string): Uint8Array {
    return this.encoder.encode(text.replaceAll("\0", "") + "\0");
  }

  // Calls `use` with the addresses of bytes in the module's memory, which are there meanwhile.
  private lent<Result>(all: Uint8Array[], use: (addresses: number[]) => Result): Result {
    const addresses = all.map((bytes) => this.exports.korv_memory(bytes.length) >>> 0);
    try {
      if (addresses.includes(0)) {
        throw new KorvError("there is not enough memory");
      }
      all.forEach((bytes, i) => new Uint8Array(this.exports.memory.buffer, addresses[i], bytes.length).set(bytes));
      return use(addresses);
    } finally {
      addresses.forEach((address) => this.exports.korv_release(address));
    }
  }

  private ask<Answer>(name: string, ...values: (string | number)[]): Answer {
    const texts = values.filter((value) => typeof value === "string").map((value) => this.zeroed(value));
    return this.lent(texts, (addresses) => {
      let next = 0;
      const numbers = values.map((value) => (typeof value === "string" ? addresses[next++] : value));
      return this.told<Answer>(this.exports[name](...numbers));
    });
  }

  private told<Answer>(address: number): Answer {
    const bytes = new Uint8Array(this.exports.memory.buffer, address >>> 0);
    const answer = JSON.parse(this.decoder.decode(bytes.subarray(0, bytes.indexOf(0)))) as Answer & { error?: string };
    if (answer !== null && typeof answer === "object" && typeof answer.error === "string") {
      throw new KorvError(answer.error);
    }
    return answer;
  }
}

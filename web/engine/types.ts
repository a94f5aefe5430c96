// What the module takes and gives, as web/module/korv.h tells.

export interface Chip {
  name: string;
  about: string;
  setupUnit: boolean;
  textures: boolean;
  video: boolean;
}

export interface Scene {
  name: string;
  about: string;
  film: boolean;
  chips: string[];
}

export interface Catalogue {
  version: string;
  chips: Chip[];
  scenes: Scene[];
}

export type StateName = "depth" | "fog" | "blend" | "filter" | "shade" | "fill" | "cull";
export type States = Partial<Record<StateName, string>>;

export interface DrawRequest {
  chip: string;
  scene?: string; // none: the model
  width?: number; // pixels
  height?: number;
  depth?: number; // bits a pixel
  fifo?: boolean;
  yaw?: number; // degrees, from the scene's own place
  pitch?: number;
  zoom?: number;
  states?: States;
}

export interface Drawn {
  words: number; // since power came on
  frameStart: number; // the first of the frame
  calls: number; // of the frame
  width: number;
  height: number;
  faults: string;
}

export interface Frame {
  drawn: Drawn;
  picture: Picture;
}

export interface Call {
  name: string;
  fields: Record<string, number | string>;
  word: number; // words that reached the chip meanwhile: from here
  end: number; // to before here
  frame: boolean;
}

export interface Word {
  word: number;
  raw: number;
  text: string;
  data: boolean; // false: a tag word
}

export interface Model {
  vertices: number;
  triangles: number;
  images: number;
  warnings: string[];
}

export interface Position {
  event: number;
  word: number;
  call: number;
  batch: number;
  frame: number;
  step: number;
}

export interface About {
  chip: string;
  setupUnit: boolean;
  frameBufferBytes: number;
  localBufferBytes: number;
  maker: string;
  bytes: number;
  raw: boolean;
  formats: string[]; // of pictures of memory
  total: Position;
  cutOff: string;
  damage: string;
}

// What raw words do not say.
export interface RawWords {
  chip: string;
  width: number; // pixels
  height: number;
  bits: number; // a pixel
  base: number; // bytes
}

export interface TimelineEntry {
  kind: "step" | "call" | "batch" | "primitive" | "frame";
  number: number;
  word: number; // of frames: endWord
  endWord?: number;
  words?: number; // of primitives
  [more: string]: unknown;
}

export interface Surface {
  name: string;
  memory: "frame" | "local" | "host";
  offset: number; // bytes
  pitch: number; // bytes a line
  width: number;
  height: number;
  bits: number;
  format: string;
}

export interface Here extends Position {
  begins: ("step" | "call" | "batch" | "frame")[];
  drawn: Surface | null; // what was drawn to
  depth: string | null; // name of its Z buffer
  microseconds: number;
  differences: number;
  surfaces: Surface[];
}

export interface FieldValue {
  name: string;
  low: number;
  width: number;
  raw: number;
  text: string;
  in?: string;
}

export interface Register {
  name: string;
  offset: number;
  tag?: number;
  unit?: string;
  raw: number;
  text?: string;
  in?: string;
  fields?: FieldValue[];
  writtenBy: string | null;
}

export interface BoardState {
  at: Position;
  microseconds: number;
  inFlight: Record<string, unknown>;
  registers: Register[];
}

export interface StreamEvent {
  event: number;
  word: number;
  kind: string;
  raw?: number;
  text?: string;
  register?: string;
  name?: string;
  mark?: string;
  number?: number; // of a mark that is counted
  [more: string]: unknown;
}

export interface Colour {
  red: number;
  green: number;
  blue: number;
  alpha: number;
}

export interface PixelElement {
  memory: "frame" | "local";
  byte: number;
  bytes: number;
  before: number;
  after: number;
  written: boolean;
}

// What a pixel met on its way.
export interface PixelReport {
  way: string;
  passed: boolean;
  tests: { test: string; passed: boolean }[];
  x?: number;
  y?: number;
  sourceByte?: number;
  fragment?: Colour;
  stages?: Partial<Record<"shaded" | "texel" | "textured" | "fogged" | "under" | "blended", Colour>>;
  fogFactor?: number;
  fragmentDepth?: number;
  storedDepth?: number;
  depthCompare?: string;
  alphaReference?: number;
  alphaCompare?: string;
  colour: PixelElement | null;
  depth: PixelElement | null;
}

export interface Moment extends Partial<PixelReport> {
  what: "drawn" | "cut" | "stored" | "moved";
  place: string;
  event: number;
  word: number;
  batch: number | null;
  frame: number;
  step: number | null;
  call: number | null;
  callName?: string;
  primitive?: number;
  firstWord?: number;
  words?: number;
  before: number | null;
  after: number | null;
  primitiveKind?: string;
  command?: string;
  to?: { memory: string; byte: number } | null;
}

export interface PixelHistory {
  surface: string;
  x: number;
  y: number;
  bits: number;
  format: string;
  moments: Moment[];
  value: number | null;
}

export interface TourVertex {
  x: number;
  y: number;
  z: number;
  colour: string; // #RRGGBB
  alpha: number; // 0 to 1
  fog: number; // 0 to 1, 1: none
  u: number;
  v: number;
}

export type TourState = "texture" | "fog" | "blend" | "depth" | "smooth";

export interface TourRequest {
  chip: string;
  vertices: TourVertex[];
  states: Record<TourState, boolean>;
  pixel?: [number, number];
}

export interface TourWord extends Word {
  before?: Register | null;
  after?: Register;
  command?: boolean;
}

export interface TourTold {
  setupUnit: boolean;
  faults: string;
  width: number;
  height: number;
  vertices: { words: number[] }[];
  states: { name: string; value: number; text: string }[];
  words: TourWord[];
  rows: { y: number; left: number; right: number; word: number }[];
  setup: {
    firstRow: number;
    upperRows: number;
    lowerRows: number;
    dominant: [number, number]; // 32.32
    upper: [number, number];
    lower: [number, number];
    values: { name: string; start: number; dx: number; dyDom: number }[];
  } | null;
  pixels: [number, number, boolean, number, number][];
  pixel: PixelReport | null;
}

export interface Tour {
  told: TourTold;
  picture: Picture;
}

export interface Checksums {
  frameBuffer: number;
  localBuffer: number;
  registers: number;
}

export interface Picture {
  width: number;
  height: number;
  rgba: Uint8ClampedArray<ArrayBuffer>; // four bytes a pixel, top row first
}

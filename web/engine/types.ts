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
  total: Position;
  cutOff: string;
  damage: string;
}

export interface TimelineEntry {
  kind: "step" | "call" | "batch" | "primitive" | "frame";
  number: number;
  word: number;
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
  meaning: string;
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
  [more: string]: unknown;
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

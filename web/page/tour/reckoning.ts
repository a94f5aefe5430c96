// What a triangle's set-up must come to, reckoned from its vertices in doubles: beside it stands what went to the chip, or
// what its unit made.
import type { Tour, TourRequest, TourTold, TourVertex } from "../../engine/types.ts";

export interface Line {
  name: string;
  formula: string; // with its numbers
  value: number;
  word?: number; // as it was sent
  fixed: number; // what that stands for
  step: number; // of its last bit
  note?: string;
}

export interface Group {
  title: string;
  about: string;
  lines: Line[];
}

// An edge of which the rasteriser walks a part: X at its first row, and per row of the walk.
export interface Part {
  rows: number;
  start: number;
  step: number;
}

export interface Reckoning {
  groups: Group[];
  unsent: string[]; // quantities that states ask for and that the driver's renderer for them leaves out
  first: number; // row
  down: 1 | -1; // the way of the walk
  dominant: { start: number; step: number };
  parts: Part[]; // of the other side
}

export const number = (value: number, digits = 4) => {
  const text = value.toFixed(digits);
  return text.includes(".") ? text.replace(/\.?0+$/, "").replace(/^-0$/, "0") : text;
};
const term = (value: number) => (value < 0 ? `(${number(value)})` : number(value));

// Ties go to the even row, as singles round.
function rowOf(y: number): number {
  const low = Math.floor(y), rest = y - low;
  return rest > 0.5 || (rest === 0.5 && low % 2 !== 0) ? low + 1 : low;
}

const byte = (part: number) => Math.floor(part * 255 + 0.5);
const channel = (vertex: TourVertex, shift: number) => (parseInt(vertex.colour.slice(1), 16) >> shift) & 255;

// Quantities that run over a triangle, in the units of their registers.
interface Quantity {
  name: string;
  registers: string[]; // start, dx, dyDom
  of(vertex: TourVertex): number;
}

function quantities(request: TourRequest): Quantity[] {
  const { smooth, depth, texture, fog, blend } = request.states;
  const list: Quantity[] = [];
  if (smooth) {
    list.push(
      { name: "red", registers: ["RStart", "dRdx", "dRdyDom"], of: (vertex) => channel(vertex, 16) },
      { name: "green", registers: ["GStart", "dGdx", "dGdyDom"], of: (vertex) => channel(vertex, 8) },
      { name: "blue", registers: ["BStart", "dBdx", "dBdyDom"], of: (vertex) => channel(vertex, 0) },
    );
    if (blend) {
      list.push({ name: "alpha", registers: ["AStart", "dAdx", "dAdyDom"], of: ({ alpha }) => byte(alpha) });
    }
  }
  if (depth) {
    list.push({ name: "depth", registers: ["ZStart", "dZdx", "dZdyDom"], of: ({ z }) => z * 65535 });
  }
  if (texture) {
    list.push({ name: "s", registers: ["SStart", "dSdx", "dSdyDom"], of: ({ u }) => u * 32 }, { name: "t", registers: ["TStart", "dTdx", "dTdyDom"], of: ({ v }) => v * 32 });
  }
  if (fog) {
    list.push({ name: "fog", registers: ["FStart", "dFdx", "dFdyDom"], of: (vertex) => byte(vertex.fog) / 256 });
  }
  return list;
}

interface Sent {
  word: number;
  raw: number;
  value: number;
}

const fractionBits: [RegExp, number][] = [[/^(StartX|dX|StartY)/, 16], [/^d?[RGBA](Start|dx|dyDom)/, 15], [/^d?F(Start|dx|dyDom)/, 22], [/^d?[ST](Start|dx|dyDom)/, 20]];

// The values of a register in the order in which they were sent. Depth is in two halves.
function sentTo(told: TourTold, name: string): Sent[] {
  const one = 2 ** (fractionBits.find(([names]) => names.test(name))?.[1] ?? 0);
  const find = (wanted: string) => told.words.filter(({ after }) => after?.name === wanted)
    .map(({ word, raw }) => ({ word, raw, value: (wanted.endsWith("L") ? raw / 2 ** 32 : raw | 0) / one }));
  if (/^(Z|dZ)/.test(name)) {
    const lower = find(`${name}L`);
    return find(`${name}U`).map((upper, i) => ({ ...upper, value: upper.value + (lower[i]?.value ?? 0) }));
  }
  return find(name);
}

const kFractions: Record<string, number> = { red: 15, green: 15, blue: 15, alpha: 15, depth: 16, s: 20, t: 20, fog: 22, q: 30, ks: 22 };

function onHost(request: TourRequest, told: TourTold): Reckoning | undefined {
  const corners = request.vertices.map((vertex, i) => ({ vertex, name: "ABC"[i], row: rowOf(vertex.y) }));
  const startXDom = sentTo(told, "StartXDom")[0], startXSub = sentTo(told, "StartXSub");
  if (!startXDom) {
    return undefined;
  }
  // The bottom one first. Of two on one row the words tell which the driver took.
  const order = corners.slice().sort((a, b) => b.row - a.row ||
    Math.abs(a.vertex.x - startXDom.value) - Math.abs(b.vertex.x - startXDom.value));
  const dXDom = sentTo(told, "dXDom")[0].value, rows = order[0].row - order[2].row;
  const misses = (top: number) => Math.abs((order[top].vertex.x - order[0].vertex.x) / rows - dXDom);
  if (order[1].row === order[2].row && misses(1) < misses(2)) {
    [order[1], order[2]] = [order[2], order[1]];
  }
  const [c0, c1, c2] = order;
  const x = order.map(({ vertex }) => vertex.x), r = order.map(({ row }) => row), n = order.map(({ name }) => name);
  const high = r[0] - r[2];
  const line = (name: string, at: Sent | undefined, formula: string, value: number, step = 2 ** -16): Line[] =>
    at ? [{ name, formula, value, word: at.word, fixed: at.value, step }] : [];
  const one = (name: string, formula: string, value: number, step = 2 ** -16) => line(name, sentTo(told, name)[0], formula, value, step);
  const dXSub = sentTo(told, "dXSub"), flat = r[0] === r[1], between = flat ? r[1] - r[2] : r[0] - r[1];
  const edges: Line[] = [
    ...one("StartXDom", `x of ${n[0]}, the lowest, to 1/1024 pixel`, x[0], 2 ** -10),
    ...one("dXDom", `(${number(x[2])} − ${number(x[0])}) / ${high} rows, from ${n[0]} up to ${n[2]}`, (x[2] - x[0]) / high),
    ...line("StartXSub", startXSub[0], `x of ${flat ? n[1] : n[0]}`, flat ? x[1] : x[0], 2 ** -10),
    ...line("dXSub", dXSub[0], flat ? `(${number(x[2])} − ${number(x[1])}) / ${between} rows, from ${n[1]} up to ${n[2]}`
      : `(${number(x[1])} − ${number(x[0])}) / ${between} rows, from ${n[0]} up to ${n[1]}`, (flat ? x[2] - x[1] : x[1] - x[0]) / between),
    ...one("StartY", `row ${r[0]} of ${n[0]}, and one up`, r[0] - 1, 1),
    ...one("Count", `rows up to ${flat ? n[2] : n[1]}`, between, 1),
    ...line("StartXSub", startXSub[1], `x of ${n[1]}, where the side bends`, x[1], 2 ** -10),
    ...line("dXSub", dXSub[1], `(${number(x[2])} − ${number(x[1])}) / ${r[1] - r[2]} rows, from ${n[1]} up to ${n[2]}`, (x[2] - x[1]) / (r[1] - r[2])),
    ...one("ContinueNewSub", `rows from ${n[1]} up to ${n[2]}`, r[1] - r[2], 1),
  ];
  const det = (x[0] - x[2]) * (r[1] - r[2]) - (x[1] - x[2]) * (r[0] - r[2]);
  const blueStep = sentTo(told, "dBdyDom")[0];
  const groups: Group[] = [{
    title: "Edges",
    about: `Rows are whole: ${order.map(({ name, vertex, row }) => `${name} at ${number(vertex.y)} is row ${row}`).join(", ")}. The walk goes upwards from ${n[0]} along the long edge to ${n[2]}; the other side bends at ${n[1]}.`,
    lines: edges,
  }];
  const gamma = request.states.texture, unsent: string[] = [];
  for (const quantity of quantities(request)) {
    const [p0, p1, p2] = [c0, c1, c2].map(({ vertex }) => quantity.of(vertex));
    const [start, dx, dyDom] = quantity.registers.map((name) => sentTo(told, name)[0]);
    if (!start) {
      unsent.push(quantity.name);
      continue;
    }
    const step = 2 ** -(kFractions[quantity.name] ?? 16);
    const d02 = p0 - p2, d12 = p1 - p2;
    const lines = [
      ...line(quantity.registers[0], start, `${quantity.name} of ${n[0]}`, p0, step),
      ...line(quantity.registers[1], dx, `(${term(d12)} · ${high} − ${term(d02)} · ${r[1] - r[2]}) / ${number(Math.abs(det))}`,
        (d12 * high - d02 * (r[1] - r[2])) / Math.abs(det), step),
      ...line(quantity.registers[2], dyDom, `(${number(p2)} − ${number(p0)}) / ${high} rows`, -d02 / high, step),
    ];
    if (quantity.name === "alpha" && dyDom && blueStep && dyDom.raw === blueStep.raw) {
      lines[2].note = "blue's step is sent for it";
    }
    if (gamma && ["red", "green", "blue"].includes(quantity.name)) {
      lines.forEach((one) => (one.note = "colours that meet a texture go through a gamma table first"));
    }
    groups.push({ title: quantity.name, about: "", lines });
  }
  const parts: Part[] = [{ rows: between, start: startXSub[0].value, step: dXSub[0].value }];
  if (startXSub[1]) {
    parts.push({ rows: r[1] - r[2], start: startXSub[1].value, step: dXSub[1].value });
  }
  return {
    groups, unsent, first: sentTo(told, "StartY")[0].value, down: -1,
    dominant: { start: startXDom.value, step: sentTo(told, "dXDom")[0].value }, parts,
  };
}

const kEdgeOne = 2 ** 32;

function byUnit(request: TourRequest, told: TourTold): Reckoning | undefined {
  const setup = told.setup;
  if (!setup) {
    return undefined;
  }
  const order = request.vertices.map((vertex, i) => ({ vertex, name: "ABC"[i] })).sort((a, b) => a.vertex.y - b.vertex.y);
  const [a, b, c] = order.map(({ vertex }) => vertex), n = order.map(({ name }) => name);
  const firstRow = (y: number) => Math.ceil(y - 0.5);
  const toCentre = (y: number) => firstRow(y) + 0.5 - y;
  const whole = (name: string, formula: string, value: number, fixed: number): Line => ({ name, formula, value, fixed, step: 1 });
  const edge = (name: string, from: TourVertex, to: TourVertex, names: string, told: [number, number]): Line[] => {
    const slope = to.y !== from.y ? (to.x - from.x) / (to.y - from.y) : 0;
    return [
      { name: `${name}, per row`, formula: `(${number(to.x)} − ${number(from.x)}) / (${number(to.y)} − ${number(from.y)}), ${names}`, value: slope, fixed: told[1] / kEdgeOne, step: 2 ** -32 },
      { name: `${name}, X`, formula: `${number(from.x)} + ${term(slope)} · ${number(toCentre(from.y))}, at the first row's centre`, value: from.x + slope * toCentre(from.y), fixed: told[0] / kEdgeOne, step: 2 ** -32 },
    ];
  };
  const groups: Group[] = [{
    title: "Edges",
    about: `The unit sorts the vertices by y: ${n.join(", ")}. Rows are those whose centres lie inside, and the walk goes down from ${n[0]} along the long edge to ${n[2]}; the other side bends at ${n[1]}.`,
    lines: [
      whole("first row", `the first centre at or below ${number(a.y)}`, firstRow(a.y), setup.firstRow),
      whole("rows to the bend", `centres above ${number(b.y)}`, firstRow(b.y) - firstRow(a.y), setup.upperRows),
      whole("rows behind it", `centres above ${number(c.y)}`, firstRow(c.y) - firstRow(b.y), setup.lowerRows),
      ...edge("long edge", a, c, `${n[0]} to ${n[2]}`, setup.dominant),
      ...edge("upper edge", a, b, `${n[0]} to ${n[1]}`, setup.upper),
      ...edge("lower edge", b, c, `${n[1]} to ${n[2]}`, setup.lower),
    ],
  }];
  const high = c.y - a.y, upper = b.y - a.y, unsent: string[] = [];
  const area = Math.abs((b.x - a.x) * high - (c.x - a.x) * upper);
  for (const quantity of quantities(request)) {
    const made = setup.values.find(({ name }) => name === quantity.name);
    if (!made) {
      unsent.push(quantity.name);
      continue;
    }
    const [pa, pb, pc] = [a, b, c].map(quantity.of);
    const one = 2 ** kFractions[quantity.name];
    const across = ((pb - pa) * high - (pc - pa) * upper) / area, along = (pc - pa) / high;
    const step = 1 / one;
    groups.push({
      title: quantity.name, about: "", lines: [
        { name: "across, per pixel", formula: `(${term(pb - pa)} · ${number(high)} − ${term(pc - pa)} · ${number(upper)}) / ${number(area)}`, value: across, fixed: made.dx / one, step },
        { name: "along, per row", formula: `(${number(pc)} − ${number(pa)}) / ${number(high)}`, value: along, fixed: made.dyDom / one, step },
        { name: "start", formula: `${number(pa)} + ${term(along)} · ${number(toCentre(a.y))}`, value: pa + along * toCentre(a.y), fixed: made.start / one, step },
      ],
    });
  }
  const part = (rows: number, [start, step]: [number, number]) => ({ rows, start: start / kEdgeOne, step: step / kEdgeOne });
  return {
    groups, unsent, first: setup.firstRow, down: 1, dominant: { start: setup.dominant[0] / kEdgeOne, step: setup.dominant[1] / kEdgeOne },
    parts: [part(setup.upperRows, setup.upper), part(setup.lowerRows, setup.lower)],
  };
}

export const reckon = (request: TourRequest, told: TourTold) => (told.setupUnit ? byUnit(request, told) : onHost(request, told));

export interface RowReckoning {
  k: number; // rows walked before it
  dominant: number; // X of both sides
  other: number;
  left: number; // pixels whose centres lie between
  right: number;
}

// What the walk comes to in its row number `k`.
export function rowAt(reckoning: Reckoning, k: number): RowReckoning {
  const dominant = reckoning.dominant.start + k * reckoning.dominant.step;
  let left = k, part = reckoning.parts[0];
  for (const next of reckoning.parts.slice(1)) {
    if (left >= part.rows) {
      left -= part.rows;
      part = next;
    }
  }
  const other = part.start + left * part.step;
  return { k, dominant, other, left: Math.ceil(Math.min(dominant, other) - 0.5), right: Math.ceil(Math.max(dominant, other) - 0.5) };
}

// A quantity at a pixel's centre: start, rows along the long edge, pixels across from it.
export function valueAt(reckoning: Reckoning, title: string, x: number, y: number): { formula: string; value: number } | undefined {
  const group = reckoning.groups.find((one) => one.title === title);
  if (!group) {
    return undefined;
  }
  const find = (part: RegExp) => group.lines.find(({ name }) => part.test(name))?.fixed ?? 0;
  const start = find(/Start$|start/), dx = find(/dx$|across/), dy = find(/dyDom$|along/);
  const k = (y - reckoning.first) * reckoning.down, across = Math.abs(x + 0.5 - rowAt(reckoning, k).dominant);
  return { formula: `${number(start)} + ${k} · ${term(dy)} + ${number(across, 3)} · ${term(dx)}`, value: start + k * dy + across * dx };
}

// A pixel of 1:5:5:5 bits as the monitor shows it.
export function shown(raw: number): [number, number, number] {
  const wide = (five: number) => (five << 3) | (five >> 2);
  return [wide((raw >> 10) & 31), wide((raw >> 5) & 31), wide(raw & 31)];
}

// The picture when only some of the rows have been drawn.
export function pictureAfter(tour: Tour, drawn: (y: number) => boolean): Uint8ClampedArray<ArrayBuffer> {
  const rgba = tour.picture.rgba.slice();
  for (const [x, y, , before] of tour.told.pixels) {
    if (!drawn(y)) {
      rgba.set(shown(before), (y * tour.picture.width + x) * 4);
    }
  }
  return rgba;
}

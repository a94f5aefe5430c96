// The tour's triangle: as the address has it, and as the module takes it.
import type { TourRequest, TourState, TourVertex } from "../../engine/types.ts";
import type { Settings } from "../address.ts";

export const kWidth = 64, kHeight = 48; // pixels of the target
export const kNames = ["A", "B", "C"];
export const kStates: { name: TourState; label: string; about: string }[] = [
  { name: "smooth", label: "smooth", about: "Colours run from vertex to vertex; otherwise the first one's is everywhere" },
  { name: "depth", label: "depth", about: "A bar of depth 0.4 stands there: what is farther hides behind it" },
  { name: "texture", label: "texture", about: "A letter F of 32×32 texels" },
  { name: "fog", label: "fog", about: "Each vertex says how much of it the fog leaves" },
  { name: "blend", label: "blend", about: "Alpha decides how much of what is there shines through" },
];
// Those who set triangles up on the host, and one that has a unit for it.
export const kChips = ["tx", "permedia", "permedia2"];

const kUsual: TourVertex[] = [
  { x: 12, y: 5.5, z: 0.2, colour: "#FF4020", alpha: 1, fog: 1, u: 0, v: 0 },
  { x: 57, y: 20, z: 0.5, colour: "#20D060", alpha: 0.8, fog: 0.4, u: 1, v: 0 },
  { x: 21, y: 43.25, z: 0.7, colour: "#3060FF", alpha: 0.5, fog: 0.8, u: 0, v: 1 },
];

const kLimits: Record<Exclude<keyof TourVertex, "colour">, [number, number]> = {
  x: [0, kWidth], y: [0, kHeight], z: [0, 1], alpha: [0, 1], fog: [0, 1], u: [-8, 8], v: [-8, 8],
};

export function held(key: keyof typeof kLimits, value: number): number {
  const [least, most] = kLimits[key];
  return Number.isFinite(value) ? Math.max(least, Math.min(most, Math.round(value * 1000) / 1000)) : least;
}

export function formatVertex(vertex: TourVertex): string {
  const { x, y, z, colour, alpha, fog, u, v } = vertex;
  return [x, y, z, colour.slice(1), alpha, fog, u, v].join(" ");
}

function parseVertex(text: string | undefined, usual: TourVertex): TourVertex {
  const [x, y, z, colour, alpha, fog, u, v] = (text ?? "").split(" ");
  if (!/^[0-9a-f]{6}$/i.test(colour ?? "")) {
    return usual;
  }
  return {
    x: held("x", Number(x)), y: held("y", Number(y)), z: held("z", Number(z)), colour: `#${colour.toUpperCase()}`,
    alpha: held("alpha", Number(alpha)), fog: held("fog", Number(fog)), u: held("u", Number(u)), v: held("v", Number(v)),
  };
}

export function requestOf(settings: Settings): TourRequest {
  const chip = kChips.includes(settings.chip) ? settings.chip : kChips[0];
  const on = (settings.on ?? "smooth depth").split(" ");
  const states = Object.fromEntries(kStates.map(({ name }) => [name, on.includes(name) && !(name === "texture" && chip === "tx")]));
  const pixel = (settings.pixel ?? "30,20").split(",").map(Number) as [number, number];
  return {
    chip, states: states as Record<TourState, boolean>, pixel,
    vertices: kUsual.map((usual, i) => parseVertex(settings[`v${i}`], usual)),
  };
}

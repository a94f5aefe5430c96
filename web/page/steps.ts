// Where a step forth or back leads, by frames, steps of a script, calls, batches, primitives or words. Places have the
// names of the tool.
import type { Here, Position, TimelineEntry } from "../engine/types.ts";

export const kUnits = ["frame", "step", "call", "batch", "primitive", "word"] as const;
export type Unit = (typeof kUnits)[number];

// Words behind which each primitive is drawn, ascending.
export type PrimitiveEnds = number[];
export const primitiveEnds = (timeline: TimelineEntry[]): PrimitiveEnds =>
  timeline.filter(({ kind }) => kind === "primitive").map(({ word, words }) => word + (words ?? 0)).sort((a, b) => a - b);

// Entries of a sorted list that are at most `value`.
export function countUpTo(sorted: number[], value: number): number {
  let low = 0, high = sorted.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (sorted[middle] <= value) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

export function stepFrom(here: Here, total: Position, ends: PrimitiveEnds, unit: Unit, direction: 1 | -1): string {
  if (unit === "word") {
    const word = here.word + direction;
    return word > total.word ? "end" : word <= 0 ? "start" : `word:${word}`;
  }
  if (unit === "primitive") {
    const passed = countUpTo(ends, here.word);
    const before = passed > 0 && ends[passed - 1] === here.word ? countUpTo(ends, here.word - 1) : passed;
    return direction > 0 ? (passed < ends.length ? `word:${ends[passed]}` : "end") : before > 0 ? `word:${ends[before - 1]}` : "start";
  }
  // A frame begins where the mark of the one before ends it; others have begun when their mark has passed.
  const passed = here[unit], latest = unit === "frame" ? passed : passed - 1;
  if (direction > 0) {
    const next = latest + 1;
    return next < total[unit] + (unit === "frame" ? 1 : 0) && !(unit === "frame" && next === total.frame && here.event === total.event)
      ? `${unit}:${next}` : "end";
  }
  const place = here.begins.includes(unit) ? latest - 1 : latest;
  return place < 0 || (unit === "frame" && place === 0) ? "start" : `${unit}:${place}`;
}

// Where an entry of the time line begins.
export function placeOf(entry: TimelineEntry): string {
  return entry.kind === "primitive" ? `word:${entry.word}` : entry.kind === "frame" ? `frame:${entry.number + 1}` : `${entry.kind}:${entry.number}`;
}

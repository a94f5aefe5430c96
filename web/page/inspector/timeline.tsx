// The time line: a lane for each kind of thing, from the first word to the last, with where one stands.
import { useEffect, useRef, useState } from "preact/hooks";

import type { TimelineEntry } from "../../engine/types.ts";
import { counted } from "../text.ts";
import { placeOf } from "../steps.ts";

const kLanes = ["frame", "step", "call", "batch", "primitive"] as const;
const kHigh = 14, kGap = 2; // pixels of a lane

interface Span {
  from: number; // words
  to: number;
  entry: TimelineEntry;
}

// Things of one kind with the words that they last.
function spansOf(timeline: TimelineEntry[], kind: string, words: number): Span[] {
  const entries = timeline.filter((entry) => entry.kind === kind);
  if (kind === "frame") {
    return entries.map((entry, i) => ({ from: i > 0 ? entries[i - 1].endWord ?? 0 : 0, to: entry.endWord ?? words, entry }));
  }
  return entries.map((entry, i) => ({
    from: entry.word,
    to: kind === "primitive" ? entry.word + (entry.words ?? 1) : entries[i + 1]?.word ?? words,
    entry,
  }));
}

export function Lanes({ timeline, words, at, onPlace, onStep }: {
  timeline: TimelineEntry[]; words: number; at: number; onPlace(place: string): void; onStep(direction: 1 | -1): void;
}) {
  const canvas = useRef<HTMLCanvasElement>(null);
  const [lanes, setLanes] = useState<{ kind: string; spans: Span[] }[]>([]);
  const [width, setWidth] = useState(0);
  const [over, setOver] = useState("");
  useEffect(() => {
    setLanes(kLanes.map((kind) => ({ kind, spans: spansOf(timeline, kind, words) })).filter(({ spans }) => spans.length > 0));
  }, [timeline, words]);
  useEffect(() => {
    const observer = new ResizeObserver(() => setWidth(canvas.current?.parentElement?.clientWidth ?? 0));
    observer.observe(canvas.current!.parentElement!);
    return () => observer.disconnect();
  }, []);
  // Colours are the theme's.
  const [theme, setTheme] = useState(0);
  useEffect(() => {
    const dark = matchMedia("(prefers-color-scheme: dark)"), changed = () => setTheme((count) => count + 1);
    const observer = new MutationObserver(changed);
    observer.observe(document.documentElement, { attributeFilter: ["data-theme"] });
    dark.addEventListener("change", changed);
    return () => {
      observer.disconnect();
      dark.removeEventListener("change", changed);
    };
  }, []);
  const all = Math.max(words, 1), high = Math.max(1, lanes.length) * (kHigh + kGap);
  useEffect(() => {
    const element = canvas.current!, style = getComputedStyle(element), ratio = devicePixelRatio;
    const colour = (name: string) => style.getPropertyValue(name).trim();
    element.width = Math.max(1, Math.round(width * ratio));
    element.height = Math.round(high * ratio);
    const context = element.getContext("2d")!;
    context.scale(ratio, ratio);
    lanes.forEach(({ spans }, lane) => {
      const y = lane * (kHigh + kGap);
      spans.forEach(({ from, to }, i) => {
        const left = (from / all) * width, right = Math.max(left + 0.5, (to / all) * width - 0.5);
        context.globalAlpha = at >= to ? 0.85 : at > from ? 1 : 0.35;
        context.fillStyle = colour(at > from && at <= to ? "--accent" : i % 2 === 0 ? "--lane" : "--lane-other");
        context.fillRect(left, y, right - left, kHigh);
      });
    });
    context.globalAlpha = 1;
    context.fillStyle = colour("--cursor");
    context.fillRect(Math.min(width - 2, Math.max(0, (at / all) * width - 1)), 0, 2, high);
  }, [lanes, width, at, high, theme]);

  const find = (event: MouseEvent) => {
    const box = canvas.current!.getBoundingClientRect();
    const word = ((event.clientX - box.left) / box.width) * all;
    const lane = lanes[Math.floor(((event.clientY - box.top) / box.height) * lanes.length)];
    return lane?.spans.findLast(({ from }) => from <= word) ?? lane?.spans[0];
  };
  return (
    <div class="lanes">
      <div class="names" aria-hidden="true">{lanes.map(({ kind, spans }) => <span key={kind}>{kind} <small>{counted(spans.length)}</small></span>)}</div>
      <div class="track" role="slider" tabIndex={0} aria-label="Time line" aria-valuemin={0} aria-valuemax={words} aria-valuenow={at}
        aria-valuetext={`word ${at} of ${words}`}
        onKeyDown={(event) => {
          const step = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1 }[event.key] as 1 | -1 | undefined;
          if (step) {
            onStep(step);
            event.preventDefault();
            event.stopPropagation();
          }
        }}>
        <canvas ref={canvas} onClick={(event) => {
            const span = find(event);
            if (span) {
              onPlace(span.entry.kind === "frame" ? `frame:${span.entry.number}` : placeOf(span.entry));
            }
          }}
          onPointerMove={(event) => {
            const span = find(event);
            setOver(span ? `${span.entry.kind} ${span.entry.number} ${span.entry.name ?? span.entry.text ?? ""}, words ${counted(span.from)} to ${counted(span.to)}` : "");
          }}
          onPointerLeave={() => setOver("")} />
      </div>
      <output class="over">{over}</output>
    </div>
  );
}

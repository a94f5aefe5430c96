// A picture of what is there, in which a pixel can be chosen.
import { useEffect, useRef, useState } from "preact/hooks";

import type { About, Here, Picture } from "../../engine/types.ts";
import type { Settings } from "../address.ts";
import { save, Select } from "../controls.tsx";
import { Canvas, toPng } from "../picture.tsx";
import { Swatch } from "../swatch.tsx";
import { cssColour } from "../text.ts";

export const kShows = ["picture", "depth", "overdraw", "wires", "memory"] as const;
export type Show = (typeof kShows)[number];

const kLegend = [["0", "#000000"], ["1", "#20308C"], ["2", "#1E78D2"], ["3", "#1EB4A0"], ["4", "#3CC83C"], ["5–6", "#DCDC28"],
  ["7–9", "#F09614"], ["10–15", "#DC281E"], ["16+", "#FFFFFF"]];

// The part of a memory that is shown, by its settings; what is not set is the surface's that was drawn to.
export function memoryPart(settings: Settings, here: Here | undefined) {
  const drawn = here?.drawn;
  const format = drawn?.bits === 32 ? "xrgb8888" : drawn?.bits === 8 ? "rgb332" : "rgb555";
  const number = (name: string, usual: number) => {
    const value = Number(settings[name] || usual);
    return Number.isFinite(value) ? Math.max(0, Math.floor(value)) : usual;
  };
  return {
    memory: settings.memory || "frame", base: number("base", drawn?.offset ?? 0), pitch: number("pitch", drawn?.pitch ?? 1280),
    width: number("width", drawn?.width ?? 640), height: number("height", drawn?.height ?? 480), format: settings.format || format,
  };
}

// Where a picture lies in the box of its canvas, which keeps its shape.
function fit(box: DOMRect, picture: Picture) {
  const scale = Math.min(box.width / picture.width, box.height / picture.height);
  return { scale, left: box.left + (box.width - picture.width * scale) / 2, top: box.top + (box.height - picture.height * scale) / 2 };
}

export function Stage({ about, here, name, picture, problem, settings, change }: {
  about: About; here: Here; name: string; picture?: Picture; problem: string; settings: Settings; change(changed: Settings): void;
}) {
  const show = (settings.show || "picture") as Show;
  const part = memoryPart(settings, here);
  const [cursor, setCursor] = useState<{ x: number; y: number }>();
  const layer = useRef<HTMLCanvasElement>(null), form = useRef<HTMLFormElement>(null);
  const [chosenX, chosenY] = (settings.pixel ?? "").split(",").map(Number);
  const picks = show !== "memory";

  useEffect(() => {
    const element = layer.current;
    if (!element || !picture) {
      return;
    }
    element.width = picture.width;
    element.height = picture.height;
    const context = element.getContext("2d")!;
    const ring = (x: number, y: number, size: number, colour: string) => {
      context.strokeStyle = colour;
      context.strokeRect(x - size + 0.5, y - size + 0.5, 2 * size, 2 * size);
    };
    if (picks && settings.pixel) {
      ring(chosenX, chosenY, 3, "#000");
      ring(chosenX, chosenY, 2, "#fff");
    }
    if (cursor) {
      ring(cursor.x, cursor.y, 3, "#000");
      ring(cursor.x, cursor.y, 2, "#ffd23c");
    }
  }, [picture, settings.pixel, cursor, picks]);

  const at = (event: MouseEvent) => {
    const place = fit((event.currentTarget as HTMLElement).querySelector("canvas")!.getBoundingClientRect(), picture!);
    // A click is at a pixel of the window, and means its middle.
    const x = Math.floor((event.clientX + 0.5 - place.left) / place.scale), y = Math.floor((event.clientY + 0.5 - place.top) / place.scale);
    return x >= 0 && y >= 0 && x < picture!.width && y < picture!.height ? { x, y } : undefined;
  };
  const choose = (pixel: { x: number; y: number } | undefined) => {
    if (pixel && picks) {
      change({ pixel: `${pixel.x},${pixel.y}`, of: show === "depth" ? here.depth ?? "" : settings.surface ?? "", tab: "pixel" });
    }
  };
  const onKey = (event: KeyboardEvent) => {
    const moves: Record<string, [number, number]> = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
    if (!picture || event.ctrlKey || event.metaKey || event.altKey) {
      return;
    }
    if (event.key in moves) {
      const [dx, dy] = moves[event.key], far = event.shiftKey ? 10 : 1;
      const from = cursor ?? (settings.pixel ? { x: chosenX, y: chosenY } : { x: picture.width >> 1, y: picture.height >> 1 });
      setCursor({ x: Math.max(0, Math.min(picture.width - 1, from.x + dx * far)), y: Math.max(0, Math.min(picture.height - 1, from.y + dy * far)) });
    } else if (event.key === "Enter") {
      choose(cursor);
    } else if (event.key === "Escape") {
      setCursor(undefined);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  };
  const told = () => {
    if (!cursor || !picture || cursor.x >= picture.width || cursor.y >= picture.height) {
      return picks ? "click a pixel for its history" : "";
    }
    const i = (cursor.y * picture.width + cursor.x) * 4;
    const colour = cssColour({ red: picture.rgba[i], green: picture.rgba[i + 1], blue: picture.rgba[i + 2] });
    const byte = show === "memory" ? `, byte ${part.base + cursor.y * part.pitch + Math.floor((cursor.x * bitsOf(part.format)) / 8)}` : "";
    return `${cursor.x},${cursor.y} ${colour}${byte}`;
  };
  const surfaces = [{ value: "", label: `what was drawn to${here.drawn ? ` (${here.drawn.name || "the screen"})` : ""}` },
    ...here.surfaces.map(({ name: surface, width, height, bits }) => ({ value: surface, label: `${surface} (${width}×${height}, ${bits} bits)` }))];
  const sinces = ["start", ...(["frame", "step", "call", "batch"] as const).flatMap((unit) => {
    const latest = unit === "frame" ? here.frame : here[unit] - 1;
    return latest >= 0 && about.total[unit] > 0 ? [`${unit}:${latest}`] : [];
  })];
  const since = settings.since && !sinces.includes(settings.since) ? [...sinces, settings.since] : sinces;
  return (
    <figure class="stage">
      <div class="bar">
        <div class="segments" role="group" aria-label="What the picture shows">
          {kShows.map((value) => (
            <button key={value} type="button" aria-pressed={show === value} onClick={() => change({ show: value === "picture" ? "" : value })}>{value}</button>
          ))}
        </div>
        {(show === "picture" || show === "overdraw" || show === "wires") &&
          <Select label="of" value={settings.surface ?? ""} options={surfaces} onChange={(surface) => change({ surface })} />}
        {(show === "overdraw" || show === "wires") &&
          <Select label="since" value={settings.since || "start"} options={since.map((value) => ({ value, label: value }))}
            onChange={(value) => change({ since: value === "start" ? "" : value })} />}
        <button type="button" disabled={!picture} onClick={() => void toPng(picture!).then((blob) => save(blob, `${name}.png`))}>Save PNG</button>
      </div>
      {show === "memory" && (
        <form class="bar part" ref={form} key={JSON.stringify(part)} onSubmit={(event) => {
          event.preventDefault();
          change(Object.fromEntries([...new FormData(event.currentTarget)].map(([key, value]) => [key, String(value).trim()])));
        }}>
          <label>memory <select name="memory" defaultValue={part.memory}>
            <option value="frame" selected={part.memory === "frame"}>frame buffer</option>
            <option value="local" selected={part.memory === "local"} disabled={about.localBufferBytes === 0}>local buffer</option>
          </select></label>
          {(["base", "pitch", "width", "height"] as const).map((key) => (
            <label key={key}>{key} <input name={key} class="short" inputMode="numeric" defaultValue={String(part[key])}
              title={key === "base" || key === "pitch" ? "bytes" : "pixels"} /></label>
          ))}
          <label>format <select name="format">
            {about.formats.map((format) => <option key={format} value={format} selected={part.format === format}>{format}</option>)}
          </select></label>
          <button type="submit">Show</button>
        </form>
      )}
      <div class="pictures" role="application" tabIndex={0} onKeyDown={onKey}
        aria-label={`The ${show}. Arrow keys move to a pixel, Enter tells its history.`}
        onPointerMove={(event) => picture && setCursor(at(event))} onPointerLeave={() => setCursor(undefined)}
        onClick={(event) => picture && choose(at(event))}>
        {problem !== ""
          ? <p class="empty">{problem}</p>
          : <div class="layers"><Canvas name="picture" picture={picture} label={`${show} at ${settings.at || "end"}`} /><canvas ref={layer} aria-hidden="true" /></div>}
      </div>
      <figcaption>
        <output>{told()}</output>
        {show === "overdraw" && <span class="legend">{kLegend.map(([count, colour]) => <span key={count}><Swatch colour={colour} />{count}</span>)}</span>}
        {picture && <span class="dim">{picture.width}×{picture.height}</span>}
      </figcaption>
    </figure>
  );
}

function bitsOf(format: string): number {
  return format.endsWith("332") ? 8 : format === "rgb888" ? 24 : /8888|32$/.test(format) ? 32 : 16;
}

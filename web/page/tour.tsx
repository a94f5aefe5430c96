// "One triangle, from an application's vertices to pixels": a walk through what a running driver and board do with it.
import { useEffect, useMemo, useRef, useState } from "preact/hooks";

import type { Engine } from "../engine/engine.ts";
import type { Catalogue, Tour as Told, TourRequest, TourVertex } from "../engine/types.ts";
import { goTo, type Move, type Settings } from "./address.ts";
import { Problem, Select } from "./controls.tsx";
import { PixelStep } from "./tour/pixel.tsx";
import { reckon, rowAt } from "./tour/reckoning.ts";
import { SetupStep } from "./tour/setup.tsx";
import { type Pointed, TourStage } from "./tour/stage.tsx";
import { RowsStep } from "./tour/rows.tsx";
import { formatVertex, kChips, kStates, requestOf } from "./tour/triangle.ts";
import { StatesStep, VerticesStep, WordsStep } from "./tour/words.tsx";

const kSteps = [
  { name: "vertices", title: "Vertices" },
  { name: "states", title: "States" },
  { name: "setup", title: "Set-up" },
  { name: "words", title: "Words" },
  { name: "rows", title: "Rows" },
  { name: "pixel", title: "A pixel" },
] as const;

// The answer to the latest request; never two at a time.
function useTour(engine: Engine, request: TourRequest) {
  const [shown, setShown] = useState<{ tour?: Told; request: TourRequest; problem: string }>({ request, problem: "" });
  const wanted = useRef<TourRequest | undefined>(undefined), busy = useRef(false);
  const text = JSON.stringify(request);
  useEffect(() => {
    wanted.current = request;
    const draw = async () => {
      while (wanted.current) {
        const now = wanted.current;
        wanted.current = undefined;
        try {
          const tour = await engine.ask.tour(now);
          setShown({ tour, request: now, problem: "" });
        } catch (error) {
          setShown((before) => ({ ...before, problem: (error as Error).message }));
        }
      }
      busy.current = false;
    };
    if (!busy.current) {
      busy.current = true;
      void draw();
    }
  }, [engine, text]);
  return shown;
}

export function Tour({ catalogue, engine, settings }: { catalogue: Catalogue; engine: Engine; settings: Settings }) {
  const request = requestOf(settings);
  const shown = useTour(engine, request);
  const { tour } = shown;
  const step = kSteps.find(({ name }) => name === settings.step) ?? kSteps[0];
  const index = kSteps.indexOf(step);
  const change = (changed: Settings, move: Move = "step") => goTo({ view: "tour", settings: { ...settings, ...changed } }, move);
  const setVertex = (i: number, vertex: TourVertex, move: Move = "quick") => change({ [`v${i}`]: formatVertex(vertex) }, move);
  const reckoning = useMemo(() => (tour ? reckon(shown.request, tour.told) : undefined), [tour]);

  const words = tour?.told.words ?? [], rows = tour?.told.rows ?? [];
  const word = Math.max(0, Math.min(Math.max(0, words.length - 1), Number(settings.word ?? Math.max(0, words.findIndex(({ after }) => after?.unit === "Rasteriser" || /^V0/.test(after?.name ?? ""))))));
  const row = Math.max(0, Math.min(Math.max(0, rows.length - 1), Number(settings.row ?? Math.floor(rows.length / 2))));
  const [x, y] = request.pixel!;
  const pointed = useMemo<Pointed>(() => {
    const drawnBy = new Map(rows.map((one) => [one.y, one.word]));
    if (step.name === "words") {
      return { drawn: (line) => (drawnBy.get(line) ?? Infinity) <= (words[word]?.word ?? 0) };
    }
    if (step.name === "rows" && rows[row] && reckoning) {
      const order = new Map(rows.map((one, i) => [one.y, i]));
      const { dominant, other } = rowAt(reckoning, row);
      return { row: { ...rows[row], dominant, other }, drawn: (line) => (order.get(line) ?? Infinity) <= row };
    }
    return { pixel: step.name === "pixel" ? { x, y } : undefined, drawn: () => step.name !== "vertices" && step.name !== "states" && step.name !== "setup" };
  }, [tour, step, word, row, x, y]);

  const onKey = (event: KeyboardEvent) => {
    if ((event.target as HTMLElement).closest("input, select, circle, [role=slider]") || event.ctrlKey || event.metaKey || event.altKey) {
      return;
    }
    const turn = event.key === "PageDown" ? 1 : event.key === "PageUp" ? -1 : 0;
    if (turn !== 0 && kSteps[index + turn]) {
      change({ step: kSteps[index + turn].name });
      event.preventDefault();
    }
  };
  const on = kStates.filter(({ name }) => request.states[name]).map(({ name }) => name);
  return (
    <main class="tour" onKeyDown={onKey}>
      <aside aria-label="The triangle">
        <Select label="Chip" value={request.chip} onChange={(chip) => change({ chip, word: "", row: "" })}
          options={catalogue.chips.filter(({ name }) => kChips.includes(name)).map(({ name, about, setupUnit }) => ({
            value: name, label: `${about}: set up by ${setupUnit || name === "permedia2" ? "a unit of the chip" : "the driver"}`,
          }))} />
        <TourStage tour={tour} vertices={request.vertices} pointed={pointed}
          onVertex={(i, vx, vy) => setVertex(i, { ...request.vertices[i], x: vx, y: vy }, "smooth")}
          onPixel={(px, py) => change({ pixel: `${px},${py}`, step: "pixel" })} />
        <p class="about">64×48 pixels of 16 bits. Drag a corner, or move it by the arrow keys: every number here follows. Click a pixel to see it made.</p>
        <fieldset class="toggles">
          <legend>Drawn with</legend>
          {kStates.map(({ name, label, about }) => {
            const lacks = name === "texture" && request.chip === "tx";
            return (
              <label key={name} title={lacks ? "This chip sets no textured triangles up without a setup chip" : about}>
                <input type="checkbox" checked={request.states[name]} disabled={lacks}
                  onChange={(event) => change({ on: (event.currentTarget.checked ? [...on, name] : on.filter((one) => one !== name)).join(" ") || "nothing", word: "" })} /> {label}
              </label>
            );
          })}
        </fieldset>
        <button type="button" onClick={() => change({ v0: "", v1: "", v2: "" })}>The triangle as it was</button>
      </aside>
      <div class="bench">
        <nav class="journey" aria-label="Steps of the tour">
          {kSteps.map(({ name, title }, i) => (
            <a key={name} href={`#tour?step=${name}`} aria-current={step.name === name ? "step" : undefined} class={i < index ? "done" : undefined}
              onClick={(event) => {
                event.preventDefault();
                change({ step: name });
              }}>
              <span class="count">{i + 1}</span> {title}
            </a>
          ))}
        </nav>
        <Problem text={shown.problem || (tour?.told.faults ?? "")} />
        {tour && (
          <section class="page" aria-label={step.title} tabIndex={0}>
            {step.name === "vertices" && <VerticesStep request={request} told={tour.told} onVertex={setVertex} />}
            {step.name === "states" && <StatesStep told={tour.told} />}
            {step.name === "setup" && <SetupStep reckoning={reckoning} told={tour.told} onWord={(at) => change({ step: "words", word: String(words.findIndex((one) => one.word === at)) })} />}
            {step.name === "words" && <WordsStep told={tour.told} word={word} onWord={(at, move) => change({ word: String(at) }, move)} />}
            {step.name === "rows" && <RowsStep told={tour.told} reckoning={reckoning} row={row} onRow={(at, move) => change({ row: String(at) }, move)} />}
            {step.name === "pixel" && <PixelStep request={shown.request} told={tour.told} reckoning={reckoning} x={x} y={y} onPixel={(px, py) => change({ pixel: `${px},${py}` }, "quick")} />}
          </section>
        )}
        <div class="bar turn">
          <button type="button" disabled={index === 0} onClick={() => change({ step: kSteps[index - 1].name })}>◀ {kSteps[index - 1]?.title ?? "Back"}</button>
          <output>{index + 1} of {kSteps.length}</output>
          <button type="button" disabled={index === kSteps.length - 1} onClick={() => change({ step: kSteps[index + 1].name })}>{kSteps[index + 1]?.title ?? "The end"} ▶</button>
        </div>
      </div>
    </main>
  );
}

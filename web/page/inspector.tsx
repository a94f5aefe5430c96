// A capture, step by step: what is drawn by then, what the chip holds, and the words.
import { useEffect, useMemo, useRef, useState } from "preact/hooks";

import type { Engine } from "../engine/engine.ts";
import type { About, BoardState, Catalogue, Here, Picture, RawWords, TimelineEntry } from "../engine/types.ts";
import { goTo, type Move, type Settings } from "./address.ts";
import { filesOf, Problem, Select, Tabs } from "./controls.tsx";
import { Events } from "./inspector/events.tsx";
import { Pixel } from "./inspector/pixel.tsx";
import { RawForm } from "./inspector/raw.tsx";
import { memoryPart, Stage, type Show } from "./inspector/stage.tsx";
import { type Before, differing, State } from "./inspector/state.tsx";
import { Lanes } from "./inspector/timeline.tsx";
import { LongList } from "./list.tsx";
import { kUnits, placeOf, primitiveEnds, stepFrom, type Unit } from "./steps.ts";
import { counted } from "./text.ts";

const kPace = 120; // milliseconds between steps that are played

interface Opened {
  name: string;
  about: About;
  timeline: TimelineEntry[];
}

interface Scene {
  here: Here;
  picture?: Picture;
  pictureProblem: string;
  state: BoardState;
  before: Before;
}

// All that decides what is fetched for a place.
function viewOf({ at, show, surface, since, memory, base, pitch, width, height, format }: Settings): Settings {
  return { at, show, surface, since, memory, base, pitch, width, height, format };
}

async function pictureOf(engine: Engine, settings: Settings, here: Here): Promise<Picture> {
  const surface = settings.surface ?? "", since = settings.since || "start";
  switch ((settings.show || "picture") as Show) {
    case "depth":
      return engine.ask.depth();
    case "overdraw":
      return engine.ask.overdraw(surface, since);
    case "wires":
      return engine.ask.wires(surface, since);
    case "memory": {
      const part = memoryPart(settings, here);
      return engine.ask.part(part.memory, part.base, part.pitch, part.width, part.height, part.format);
    }
    default:
      return engine.ask.surface(surface);
  }
}

export function Inspector({ engine, catalogue, settings, capture }: { engine: Engine; catalogue: Catalogue; settings: Settings; capture?: File }) {
  const [opened, setOpened] = useState<Opened>();
  const [scene, setScene] = useState<Scene>();
  const [problem, setProblem] = useState("");
  const [openProblem, setOpenProblem] = useState("");
  const [raw, setRaw] = useState<File>();
  const [busy, setBusy] = useState(false);
  const [playing, setPlaying] = useState(false);
  const before = useRef<BoardState | undefined>(undefined);
  const unit = (settings.by || "primitive") as Unit;
  const tab = settings.tab || "state";
  const change = (changed: Settings, move: Move = "step") =>
    goTo({ view: "inspector", settings: { ...settings, ...changed } }, move);

  const open = async (file: File | undefined, chosen?: RawWords, place = "") => {
    if (file === undefined) {
      return;
    }
    setBusy(true);
    setPlaying(false);
    try {
      const about = await engine.ask.open(new Uint8Array(await file.arrayBuffer()), chosen);
      const timeline = await engine.ask.timeline();
      before.current = undefined;
      setScene(undefined);
      setOpened({ name: file.name, about, timeline });
      setRaw(undefined);
      setOpenProblem(about.damage !== "" ? `'${file.name}' is damaged, and opened as far as it goes: ${about.damage}` : about.cutOff && `'${file.name}': ${about.cutOff}`);
      if (place === "") {
        goTo({ view: "inspector", settings: { by: settings.by ?? "", tab: settings.tab ?? "" } }, "smooth");
      }
    } catch (error) {
      const text = (error as Error).message;
      setRaw(/raw words/.test(text) ? file : undefined);
      setOpenProblem(/raw words/.test(text) ? `'${file.name}' is no capture. If it is raw words of '--words', say what they are for.` : `'${file.name}': ${text}`);
    }
    setBusy(false);
  };
  useEffect(() => {
    void open(capture, undefined, Object.keys(settings).length > 0 ? "kept" : "");
  }, [capture]);

  // The latest place that somebody asked for, and never two at a time.
  const wanted = useRef<Settings | undefined>(undefined), working = useRef(false);
  const view = JSON.stringify(viewOf(settings));
  useEffect(() => {
    if (!opened) {
      return;
    }
    wanted.current = settings;
    const show = async () => {
      while (wanted.current) {
        const now = wanted.current;
        wanted.current = undefined;
        try {
          const here = await engine.ask.go(now.at || "end");
          let picture: Picture | undefined, pictureProblem = "";
          try {
            picture = await pictureOf(engine, now, here);
          } catch (error) {
            pictureProblem = (error as Error).message;
          }
          const state = await engine.ask.state();
          const moved = before.current === undefined || before.current.at.event !== state.at.event;
          const changed = differing(before.current, state);
          before.current = state;
          setScene((last) => ({ here, picture, pictureProblem, state, before: moved || !last ? changed : last.before }));
          setProblem("");
        } catch (error) {
          setProblem((error as Error).message);
          setPlaying(false);
        }
      }
      working.current = false;
      setBusy(false);
    };
    if (!working.current) {
      working.current = true;
      setBusy(true);
      void show();
    }
  }, [opened, view]);

  const ends = useMemo(() => primitiveEnds(opened?.timeline ?? []), [opened]);
  const step = (direction: 1 | -1, move: Move = "quick") => {
    if (opened && scene) {
      change({ at: stepFrom(scene.here, opened.about.total, ends, unit, direction) }, move);
    }
  };
  const atEnd = scene !== undefined && opened !== undefined && scene.here.event >= opened.about.total.event;
  useEffect(() => {
    if (playing && scene && !busy) {
      if (atEnd) {
        setPlaying(false);
        return;
      }
      const timer = setTimeout(() => step(1, "smooth"), kPace);
      return () => clearTimeout(timer);
    }
  }, [playing, scene, busy]);

  const onKey = (event: KeyboardEvent) => {
    if ((event.target as HTMLElement).closest("input, select, textarea, [role=listbox], [role=tablist]")) {
      return;
    }
    const act: Record<string, () => void> = {
      ArrowRight: () => step(1), ArrowLeft: () => step(-1), Home: () => change({ at: "start" }), End: () => change({ at: "end" }),
      p: () => setPlaying(!playing),
    };
    if (act[event.key] && !event.ctrlKey && !event.metaKey && !event.altKey) {
      act[event.key]();
      event.preventDefault();
    }
  };
  const here = scene?.here;
  // What a copy takes: the thing of the chosen unit in which one stands.
  const thing = unit === "primitive" || unit === "word" || !here || (unit !== "frame" && here[unit] === 0) ? undefined : unit;
  const number = thing && here ? (thing === "frame" ? here.frame : here[thing] - 1) : 0;
  const next = opened && thing && number + 1 < opened.about.total[thing] + (thing === "frame" ? 1 : 0) ? `${thing}:${number + 1}` : "end";

  return (
    <main class="inspector" onKeyDown={onKey}
      onDragOver={(event) => event.preventDefault()}
      onDrop={(event) => {
        event.preventDefault();
        void open(event.dataTransfer?.files[0]);
      }}>
      <aside aria-label="The capture">
        <label class="file">
          <input type="file" onChange={(event) => void open(filesOf(event.currentTarget)[0])} />
          <span>Open a capture…</span>
          <small>or drop one here, or raw words</small>
        </label>
        {opened && (
          <>
            <p class="about">
              <strong>{opened.name}</strong>: {opened.about.raw ? "raw words for " : ""}{opened.about.chip}{opened.about.setupUnit ? " with setup unit" : ""},{" "}
              {counted(opened.about.total.event)} events, {counted(opened.about.total.word)} words{opened.about.maker ? `, by ${opened.about.maker}` : ""}
            </p>
            <LongList<TimelineEntry> label="What was done" count={opened.timeline.length} version={opened}
              marked={here && Math.max(0, lastBegun(opened.timeline, settings.at ?? "", here))}
              fetch={async (first, most) => opened.timeline.slice(first, first + most)}
              onChoose={(entry) => change({ at: placeOf(entry) })}
              row={(entry) => (
                <>
                  <span class={`kind ${entry.kind}`}>{entry.kind}</span>
                  <span class="number">{entry.number}</span>
                  <span class="meaning">{entry.kind === "frame" ? "ends" : String(entry.name || entry.text || "").replace(/^Render (Primitive=)?/, "")}</span>
                </>
              )} />
          </>
        )}
      </aside>
      <div class="bench">
        <Problem text={[openProblem, problem].filter(Boolean).join("\n")} />
        {raw && <RawForm chips={catalogue.chips} name={raw.name} onOpen={(words) => void open(raw, words)} />}
        {!opened && !raw && (
          <div class="empty">
            <p>Open a capture to walk through it, step by step, back and forth.</p>
            <p><code>korv demo --capture FOLDER</code>, <code>korv render … --capture FILE</code> and <code>korv replay … --capture FILE</code> write them;{" "}
              <code>korv inspect FILE -o report.html</code> puts one into this page.</p>
          </div>
        )}
        {opened && (
          <>
            <div class="bar steps" role="toolbar" aria-label="Steps">
              <button type="button" onClick={() => change({ at: "start" })} aria-label="To the start" title="Home">|◀</button>
              <button type="button" onClick={() => step(-1)} title="Left arrow">◀ Back</button>
              <button type="button" class="wide-button" aria-pressed={playing} onClick={() => setPlaying(!playing)} disabled={atEnd && !playing} title="P">
                {playing ? "❚❚ Pause" : "▶ Play"}
              </button>
              <button type="button" onClick={() => step(1)} title="Right arrow">Forward ▶</button>
              <button type="button" onClick={() => change({ at: "end" })} aria-label="To the end" title="End">▶|</button>
              <Select label="by" value={unit} options={kUnits.map((value) => ({ value, label: value }))} onChange={(by) => change({ by }, "smooth")} />
              <form onSubmit={(event) => {
                event.preventDefault();
                change({ at: String(new FormData(event.currentTarget).get("place")).trim() });
              }}>
                <input name="place" aria-label="A place" placeholder="word:1234, batch:3, end" key={settings.at} defaultValue={settings.at || "end"} />
                <button type="submit">Go</button>
              </form>
              <output aria-live="polite" aria-busy={busy}>
                {here && `word ${counted(here.word)}, call ${here.call}, batch ${here.batch}, frame ${here.frame}, ${(here.microseconds / 1000).toFixed(1)} ms`}
              </output>
            </div>
            <Lanes timeline={opened.timeline} words={opened.about.total.word} at={here?.word ?? 0} onPlace={(at) => change({ at })} onStep={step} />
            {scene && (
              <div class="split">
                <Stage about={opened.about} here={scene.here} name={`${opened.name}-${(settings.at || "end").replace(":", "-")}`} picture={scene.picture}
                  problem={scene.pictureProblem} settings={settings} change={(changed) => change(changed)} />
                <Tabs label="What is there" value={tab} onChange={(value) => change({ tab: value }, "smooth")}
                  tabs={[{ value: "state", label: "State" }, { value: "words", label: "Words" }, { value: "pixel", label: settings.pixel ? `Pixel ${settings.pixel}` : "Pixel" }]}>
                  {tab === "words"
                    ? <Events engine={engine} version={scene} settings={settings} change={(changed) => change(changed)}
                        copyFrom={thing ? `${thing}:${number}` : "start"} copyTo={thing ? next : "end"} copyWhat={thing ? `${thing} ${number}` : "all"} />
                    : tab === "pixel"
                    ? <Pixel engine={engine} version={opened} surface={settings.of ?? ""} pixel={settings.pixel ?? ""} word={scene.here.word} onPlace={(at) => change({ at })} />
                    : <State state={scene.state} before={scene.before} onWriter={(at) => change({ at, tab: "words" })} />}
                </Tabs>
              </div>
            )}
          </>
        )}
      </div>
    </main>
  );
}

// The entry of the time line at which, or behind which, one stands.
function lastBegun(timeline: TimelineEntry[], at: string, here: Here): number {
  const exact = timeline.findIndex((entry) => placeOf(entry) === at);
  return exact >= 0 ? exact : timeline.findLastIndex((entry) =>
    entry.kind === "primitive" ? entry.word < here.word : entry.kind === "frame" ? entry.number < here.frame : entry.number < here[entry.kind]);
}

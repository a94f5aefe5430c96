// A capture, step by step: what is drawn by then, what the chip holds, and the words around.
import { useEffect, useRef, useState } from "preact/hooks";

import type { Engine } from "../engine/engine.ts";
import type { About, BoardState, Here, Picture, Register, StreamEvent, TimelineEntry } from "../engine/types.ts";
import { goTo, type Settings } from "./address.ts";
import { Problem, save, Select, Tabs } from "./controls.tsx";
import { LongList } from "./list.tsx";
import { Canvas, toPng } from "./picture.tsx";

const kUnits = ["frame", "step", "call", "batch", "primitive", "word"] as const;
const kDepth = " depth"; // no surface is called so
const kAround = 60; // words shown around a place

const hex = (value: number) => (value >>> 0).toString(16).toUpperCase().padStart(8, "0");
const counted = (value: number) => value.toLocaleString("en");

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
  changed: Set<string>; // registers
  events: StreamEvent[];
}

export function Inspector({ engine, settings, capture }: { engine: Engine; settings: Settings; capture?: File }) {
  const [opened, setOpened] = useState<Opened | undefined>();
  const [scene, setScene] = useState<Scene | undefined>();
  const [problem, setProblem] = useState("");
  const [busy, setBusy] = useState(false);
  const [tab, setTab] = useState("state");
  const before = useRef<Map<string, number>>(new Map());
  const unit = (settings.by ?? "frame") as (typeof kUnits)[number];
  const change = (changed: Settings, step = true) =>
    goTo({ view: "inspector", settings: { ...settings, ...changed } }, step);

  const open = async (file: File | undefined, place = "") => {
    if (file === undefined) {
      return;
    }
    setBusy(true);
    try {
      const about = await engine.ask.open(new Uint8Array(await file.arrayBuffer()));
      const timeline = await engine.ask.timeline();
      before.current = new Map();
      setOpened({ name: file.name, about, timeline });
      setProblem(about.damage !== "" ? `'${file.name}' is damaged: ${about.damage}` : about.cutOff);
      goTo({ view: "inspector", settings: { ...settings, at: place, surface: "" } }, place === "");
    } catch (error) {
      setProblem(`'${file.name}': ${(error as Error).message}`);
    }
    setBusy(false);
  };

  useEffect(() => {
    void open(capture, settings.at ?? "");
  }, [capture]);

  useEffect(() => {
    if (!opened) {
      return;
    }
    let left = false;
    const show = async () => {
      setBusy(true);
      try {
        const here = await engine.ask.go(settings.at || "end");
        const wanted = settings.surface ?? "";
        let picture: Picture | undefined, pictureProblem = "";
        try {
          picture = await (wanted === kDepth ? engine.ask.depth() : engine.ask.surface(wanted));
        } catch (error) {
          pictureProblem = (error as Error).message;
        }
        const state = await engine.ask.state();
        const from = Math.max(0, here.word - kAround / 2);
        const events = await engine.ask.events(`word:${from}`, `word:${Math.min(here.word + kAround / 2, opened.about.total.word)}`)
          .catch(() => []);
        if (!left) {
          const changed = new Set(state.registers
            .filter(({ name, raw }) => before.current.has(name) && before.current.get(name) !== raw)
            .map(({ name }) => name));
          before.current = new Map(state.registers.map(({ name, raw }) => [name, raw]));
          setScene({ here, picture, pictureProblem, state, changed, events });
          setProblem("");
        }
      } catch (error) {
        setProblem((error as Error).message);
      }
      setBusy(false);
    };
    void show();
    return () => {
      left = true;
    };
  }, [opened, settings.at, settings.surface]);

  const step = (direction: 1 | -1) => {
    if (!opened || !scene) {
      return;
    }
    const at = scene.here.word;
    if (unit === "word") {
      change({ at: `word:${Math.max(0, at + direction)}` }, false);
      return;
    }
    const places = opened.timeline.filter(({ kind }) => kind === unit);
    const number = unit === "primitive" ? -1 : scene.here[unit];
    const place = direction > 0
      ? places.find((entry) => (number >= 0 ? entry.number >= number && (entry.word > at || entry.number > number - 1) && !(settings.at === placeOf(entry)) : entry.word > at))
      : places.findLast((entry) => (entry.word < at || (number >= 0 && entry.number < number)) && settings.at !== placeOf(entry));
    if (place) {
      change({ at: placeOf(place) }, false);
    } else {
      change({ at: direction > 0 ? "end" : "start" }, false);
    }
  };
  const onKey = (event: KeyboardEvent) => {
    if ((event.target as HTMLElement).closest("input, select, [role=list]")) {
      return;
    }
    const act: Record<string, () => void> = {
      ArrowRight: () => step(1), ArrowLeft: () => step(-1),
      Home: () => change({ at: "start" }), End: () => change({ at: "end" }),
    };
    if (act[event.key] && !event.ctrlKey && !event.metaKey && !event.altKey) {
      act[event.key]();
      event.preventDefault();
    }
  };

  return (
    <main class="inspector" onKeyDown={onKey}
      onDragOver={(event) => event.preventDefault()}
      onDrop={(event) => {
        event.preventDefault();
        void open(event.dataTransfer?.files[0]);
      }}>
      <aside aria-label="The capture">
        <label class="file">
          <input type="file" accept=".korv" onChange={(event) => void open(event.currentTarget.files?.[0])} />
          <span>Open a capture…</span>
          <small>or drop one here</small>
        </label>
        {opened && (
          <>
            <p class="about">
              <strong>{opened.name}</strong>: {opened.about.chip}{opened.about.setupUnit ? " with setup unit" : ""},{" "}
              {counted(opened.about.total.event)} events, {counted(opened.about.total.word)} words, by {opened.about.maker || "nobody"}
            </p>
            <LongList<TimelineEntry> label="Time line" count={opened.timeline.length} version={opened}
              marked={Math.max(0, opened.timeline.findLastIndex((entry) => placeOf(entry) === settings.at || entry.word < (scene?.here.word ?? 0)))}
              fetch={async (first, most) => opened.timeline.slice(first, first + most)}
              onChoose={(entry) => change({ at: placeOf(entry) })}
              row={(entry) => (
                <>
                  <span class={`kind ${entry.kind}`}>{entry.kind}</span>
                  <span class="number">{entry.number}</span>
                  <span class="meaning">{String(entry.name ?? entry.text ?? "")}</span>
                </>
              )} />
          </>
        )}
      </aside>
      <div class="bench">
        <Problem text={problem} />
        {!opened && (
          <p class="empty">
            Open a capture to walk through it. <code>korv demo --capture FOLDER</code>, <code>korv render … --capture FILE</code> and{" "}
            <code>korv replay … --capture FILE</code> write them.
          </p>
        )}
        {opened && (
          <>
            <div class="bar" role="toolbar" aria-label="Steps">
              <button type="button" onClick={() => change({ at: "start" })}>|◀ Start</button>
              <button type="button" onClick={() => step(-1)}>◀ Back</button>
              <button type="button" onClick={() => step(1)}>Forward ▶</button>
              <button type="button" onClick={() => change({ at: "end" })}>End ▶|</button>
              <Select label="by" value={unit} options={kUnits.map((value) => ({ value, label: value }))} onChange={(by) => change({ by }, false)} />
              <form onSubmit={(event) => {
                event.preventDefault();
                change({ at: String(new FormData(event.currentTarget).get("place")).trim() });
              }}>
                <input name="place" aria-label="Go to a place" placeholder="batch:3, call:7, 1234" key={settings.at} defaultValue={settings.at ?? ""} />
                <button type="submit">Go</button>
              </form>
              <output aria-live="polite">
                {busy ? "…" : scene && `word ${counted(scene.here.word)}, call ${scene.here.call}, batch ${scene.here.batch}, frame ${scene.here.frame}`}
              </output>
            </div>
            {scene && (
              <>
                <div class="pictures">
                  <figure>
                    {scene.pictureProblem !== "" ? <p class="empty">{scene.pictureProblem}</p> : <Canvas name="picture" picture={scene.picture} label={`What is drawn by ${settings.at || "the end"}`} />}
                    <figcaption>
                      <Select label="Surface" value={settings.surface ?? ""} onChange={(surface) => change({ surface })}
                        options={[
                          { value: "", label: "what was drawn to" }, { value: kDepth, label: "its depth" },
                          ...scene.here.surfaces.map(({ name, width, height, bits }) => ({ value: name, label: `${name} (${width}×${height}, ${bits} bits)` })),
                        ]} />
                      <button type="button" disabled={!scene.picture}
                        onClick={() => void toPng(scene.picture!).then((blob) => save(blob, `${opened.name}-${(settings.at || "end").replace(":", "-")}.png`))}>
                        Save PNG
                      </button>
                    </figcaption>
                  </figure>
                </div>
                <Tabs label="What is there" value={tab} onChange={setTab}
                  tabs={[{ value: "state", label: "State" }, { value: "words", label: "Words around" }]}>
                  {tab === "state"
                    ? <State scene={scene} onPlace={(place) => change({ at: place })} />
                    : <Events events={scene.events} here={scene.here.event} />}
                </Tabs>
              </>
            )}
          </>
        )}
      </div>
    </main>
  );
}

const placeOf = (entry: TimelineEntry) => (entry.kind === "primitive" ? `word:${entry.word}` : `${entry.kind}:${entry.number}`);

function State({ scene, onPlace }: { scene: Scene; onPlace(place: string): void }) {
  const [wanted, setWanted] = useState("");
  const [all, setAll] = useState(false);
  const text = wanted.toLowerCase();
  const rows = scene.state.registers.filter((register) =>
    (all || register.writtenBy !== null || register.raw !== 0) &&
    `${register.name} ${register.unit ?? ""} ${register.meaning}`.toLowerCase().includes(text));
  return (
    <>
      <div class="search">
        <input type="search" aria-label="Find registers" placeholder="Fog, LocalBuffer, Render…" value={wanted} onInput={(event) => setWanted(event.currentTarget.value)} />
        <label><input type="checkbox" checked={all} onChange={(event) => setAll(event.currentTarget.checked)} /> also those that nobody wrote</label>
        <output>{rows.length} registers, {scene.changed.size} changed since the last place</output>
      </div>
      <div class="scroll" tabIndex={0} role="region" aria-label="Registers">
        <table>
          <thead><tr><th scope="col">Register</th><th scope="col">Bits</th><th scope="col">Written by</th><th scope="col">Meaning</th></tr></thead>
          <tbody>
            {rows.map((register: Register) => (
              <tr key={register.offset} class={scene.changed.has(register.name) ? "changed" : undefined}>
                <th scope="row" title={register.unit}>{register.name}</th>
                <td><code>{hex(register.raw)}</code></td>
                <td>{register.writtenBy === null ? "" : <button type="button" class="link" onClick={() => onPlace(register.writtenBy!)}>{register.writtenBy}</button>}</td>
                <td>{register.meaning}</td>
              </tr>
            ))}
          </tbody>
        </table>
      </div>
    </>
  );
}

function Events({ events, here }: { events: StreamEvent[]; here: number }) {
  const letters: Record<string, string> = { fifo: "f", dma: "d", read: "r", write: "w" };
  return (
    <LongList<StreamEvent> label="Events around this place" count={events.length} version={events}
      marked={events.findIndex(({ event }) => event >= here)}
      fetch={async (first, most) => events.slice(first, first + most)}
      row={(event) => (
        <>
          <span class="number">{event.raw !== undefined ? event.word : ""}</span>
          <code>{letters[event.kind] ?? event.kind} {event.raw !== undefined ? hex(event.raw) : ""}</code>
          <span class={event.register ? "meaning" : "meaning tag"}>{event.text ?? [event.mark, event.name].filter(Boolean).join(" ")}</span>
        </>
      )} />
  );
}

// A scene of the demo, or one's own model, on one chip or two: turned, with other states, word by word.
import { useEffect, useLayoutEffect, useMemo, useRef, useState } from "preact/hooks";

import type { Engine } from "../engine/engine.ts";
import type { Call, Catalogue, DrawRequest, Frame, Model, StateName, States, Word } from "../engine/types.ts";
import { goTo, type Move, type Settings } from "./address.ts";
import { Choice, filesOf, Problem, save, Select, Tabs, type Option } from "./controls.tsx";
import { LongList } from "./list.tsx";
import { Canvas, difference, toPng } from "./picture.tsx";
import { counted, hex } from "./text.ts";

const kModel = "model"; // in place of a scene's name
const kTurn = 60; // degrees a second
const kAhead = 6; // degrees

const asIs: Option = { value: "", label: "scene's", title: "As the scene has it" };
const kStates: { name: StateName; label: string; options: Option[] }[] = [
  { name: "depth", label: "Depth test", options: [asIs, { value: "on", label: "on" }, { value: "off", label: "off" }] },
  { name: "fog", label: "Fog", options: [asIs, { value: "on", label: "on" }, { value: "off", label: "off" }] },
  { name: "blend", label: "Blending", options: [asIs, { value: "off", label: "off" },
    { value: "mix", label: "half", title: "Half of what is drawn, half of what is there" }, { value: "add", label: "add" }] },
  { name: "filter", label: "Texture filter", options: [asIs, { value: "nearest", label: "nearest" }, { value: "linear", label: "linear" }] },
  { name: "shade", label: "Shading", options: [asIs, { value: "flat", label: "flat" }, { value: "gouraud", label: "Gouraud" }] },
  { name: "fill", label: "Fill", options: [asIs, { value: "solid", label: "solid" }, { value: "wireframe", label: "wires" },
    { value: "points", label: "points" }] },
  { name: "cull", label: "Culling", options: [asIs, { value: "none", label: "none" }, { value: "cw", label: "cw" }, { value: "ccw", label: "ccw" }] },
];


function requestOf(settings: Settings): DrawRequest {
  const states: States = {};
  for (const { name } of kStates) {
    if (settings[name]) {
      states[name] = settings[name];
    }
  }
  const [width, height] = (settings.size ?? "640x480").split("x").map(Number);
  return {
    chip: settings.chip ?? "tx",
    scene: settings.scene === kModel ? undefined : settings.scene ?? "knot",
    width, height,
    depth: Number(settings.bits ?? 16),
    fifo: settings.carrier === "fifo",
    yaw: Number(settings.yaw ?? 0),
    pitch: Number(settings.pitch ?? 0),
    zoom: Number(settings.zoom ?? 1),
    states,
  };
}

interface Shown {
  frame?: Frame;
  problem: string;
  milliseconds: number;
  number: number; // of the drawing
}

// The frame of a request: always of the latest one, and never two at a time.
function useFrame(engine: Engine, request: DrawRequest | undefined, more: unknown): Shown {
  const [shown, setShown] = useState<Shown>({ problem: "", milliseconds: 0, number: 0 });
  const wanted = useRef<DrawRequest | undefined>(undefined);
  const busy = useRef(false);
  const text = JSON.stringify(request);
  useLayoutEffect(() => {
    wanted.current = request;
    const draw = async () => {
      while (wanted.current !== undefined) {
        const now = wanted.current;
        wanted.current = undefined;
        const start = performance.now();
        try {
          const frame = await engine.ask.frame(now);
          setShown((before) => ({ frame, problem: "", milliseconds: performance.now() - start, number: before.number + 1 }));
        } catch (error) {
          setShown((before) => ({ problem: (error as Error).message, milliseconds: 0, number: before.number + 1 }));
        }
      }
      busy.current = false;
    };
    if (!busy.current && request !== undefined) {
      busy.current = true;
      void draw();
    }
  }, [engine, text, more]);
  return request === undefined ? { problem: "", milliseconds: 0, number: 0 } : shown;
}

// A version that follows `number` with a delay, so that lists are not fetched for each picture of a turn.
function useSettled(number: number): number {
  const [settled, set] = useState(number);
  useEffect(() => {
    const timer = setTimeout(() => set(number), 150);
    return () => clearTimeout(timer);
  }, [number]);
  return settled;
}

export function Laboratory(props: { catalogue: Catalogue; engines: Engine[]; settings: Settings }) {
  const { catalogue, engines, settings } = props;
  const change = (changed: Settings, move: Move = "step") =>
    goTo({ view: "laboratory", settings: { ...settings, ...changed } }, move);
  const request = requestOf(settings);
  const scene = catalogue.scenes.find(({ name }) => name === request.scene);
  const other = settings.beside && settings.beside !== request.chip ? { ...request, chip: settings.beside } : undefined;
  const [model, setModel] = useState<(Model & { name: string }) | undefined>();
  const [problem, setProblem] = useState("");
  const [turning, setTurning] = useState(false);
  const needsModel = settings.scene === kModel && model === undefined;

  const first = useFrame(engines[0], needsModel ? undefined : request, model);
  const second = useFrame(engines[1], needsModel ? undefined : other, model);
  const differs = useMemo(
    () => (other && first.frame && second.frame ? difference(first.frame.picture, second.frame.picture) : undefined),
    [first.frame, second.frame, other !== undefined],
  );

  // Turns by itself: by the clock, so that the next picture is asked for before this one is there, but no more than
  // kAhead ahead of the one that is shown.
  const turned = useRef({ settings, ahead: 0 });
  turned.current.settings = settings;
  useLayoutEffect(() => {
    turned.current.ahead = 0;
  }, [first.number]);
  useEffect(() => {
    if (!turning) {
      return;
    }
    let latest = performance.now(), frame = 0;
    const step = (now: number) => {
      const { settings, ahead } = turned.current;
      const degrees = Math.min((kTurn * Math.max(0, now - latest)) / 1000, kAhead - ahead);
      latest = now;
      if (degrees > 0) {
        turned.current.ahead += degrees;
        const yaw = (Number(settings.yaw ?? 0) + degrees) % 360;
        goTo({ view: "laboratory", settings: { ...settings, yaw: yaw.toFixed(2) } }, "smooth");
      }
      frame = requestAnimationFrame(step);
    };
    frame = requestAnimationFrame(step);
    return () => cancelAnimationFrame(frame);
  }, [turning]);

  const turn = (yaw: number, pitch: number, zoom = 1) => {
    const round = (value: number) => String(Math.round(value * 100) / 100);
    change({
      yaw: round((request.yaw! + yaw) % 360),
      pitch: round(Math.max(-180, Math.min(180, request.pitch! + pitch))),
      zoom: round(Math.max(0.1, Math.min(20, request.zoom! * zoom))),
    }, "smooth");
  };
  const onKey = (event: KeyboardEvent) => {
    const step = event.shiftKey ? 15 : 5;
    const act: Record<string, () => void> = {
      ArrowLeft: () => turn(-step, 0), ArrowRight: () => turn(step, 0),
      ArrowUp: () => turn(0, step), ArrowDown: () => turn(0, -step),
      "+": () => turn(0, 0, 1.1), "=": () => turn(0, 0, 1.1), "-": () => turn(0, 0, 1 / 1.1),
      Home: () => change({ yaw: "", pitch: "", zoom: "" }), " ": () => setTurning(!turning),
    };
    if (act[event.key] && !event.ctrlKey && !event.metaKey && !event.altKey) {
      act[event.key]();
      event.preventDefault();
    }
  };
  const drag = useRef<{ x: number; y: number } | undefined>(undefined);

  const take = async (files: Iterable<File>) => {
    const all = [...files];
    const obj = all.find(({ name }) => /\.obj$/i.test(name));
    if (!obj) {
      setProblem(`no model among ${all.map(({ name }) => `'${name}'`).join(", ") || "what was dropped"}: expected a .obj file, with its .mtl and .png beside it`);
      return;
    }
    try {
      let read: Model | undefined;
      for (const engine of engines.slice(0, 2)) {
        await engine.ask.forgetFiles();
        for (const file of all) {
          await engine.ask.file(file.name, new Uint8Array(await file.arrayBuffer()));
        }
        read = await engine.ask.model(obj.name);
      }
      setModel({ ...read!, name: obj.name });
      setProblem(read!.warnings.join("\n"));
      change({ scene: kModel, yaw: "", pitch: "", zoom: "" });
    } catch (error) {
      setProblem((error as Error).message);
    }
  };

  const chips = (able?: string[]): Option[] =>
    catalogue.chips.map(({ name, about }) => ({
      value: name, label: `${name}: ${about}`, disabled: able !== undefined && !able.includes(name),
    }));
  const drawn = first.frame?.drawn;

  return (
    <main class="laboratory"
      onDragOver={(event) => event.preventDefault()}
      onDrop={(event) => {
        event.preventDefault();
        void take(event.dataTransfer?.files ?? []);
      }}>
      <aside aria-label="What is drawn">
        <Select label="Chip" value={request.chip} options={chips(scene?.chips)} onChange={(chip) => change({ chip })} />
        <Select label="Beside it" value={settings.beside ?? ""} options={[{ value: "", label: "nothing" }, ...chips(scene?.chips)]}
          onChange={(beside) => change({ beside })} />
        <Select label="Scene" value={settings.scene ?? "knot"}
          options={[
            ...catalogue.scenes.map(({ name, about, chips: able }) => ({
              value: name, label: name, title: about, disabled: !able.includes(request.chip),
            })),
            { value: kModel, label: model ? `model: ${model.name}` : "own model" },
          ]}
          onChange={(name) => change({ scene: name, yaw: "", pitch: "", zoom: "" })} />
        <p class="about">{scene ? scene.about : model ? `${counted(model.triangles)} triangles, ${counted(model.vertices)} vertices` : "an OBJ file of yours"}</p>
        <label class="file">
          <input type="file" multiple accept=".obj,.mtl,.png" onChange={(event) => void take(filesOf(event.currentTarget))} />
          <span>Open a model…</span>
          <small>or drop .obj, .mtl and .png here</small>
        </label>
        <div class="states">
          {kStates.map(({ name, label, options }) => (
            <Choice key={name} label={label} value={settings[name] ?? ""} options={options} onChange={(value) => change({ [name]: value })} />
          ))}
        </div>
        <details>
          <summary>Mode and carrier</summary>
          <Choice label="Size" value={settings.size ?? "640x480"} onChange={(size) => change({ size })}
            options={["320x240", "640x480", "800x600"].map((value) => ({ value, label: value.replace("x", "×") }))} />
          <Choice label="Bits a pixel" value={settings.bits ?? "16"} onChange={(bits) => change({ bits })}
            options={["8", "16", "32"].map((value) => ({ value, label: value }))} />
          <Choice label="Words go by" value={settings.carrier ?? "dma"} onChange={(carrier) => change({ carrier })}
            options={[{ value: "dma", label: "DMA" }, { value: "fifo", label: "FIFO" }]} />
        </details>
      </aside>

      <div class="bench">
        <Problem text={problem || first.problem || second.problem || drawn?.faults || ""} />
        {needsModel && <p class="empty">Open or drop an OBJ file, with its .mtl and .png, to see it here.</p>}
        <div class={other ? "pictures pair" : "pictures"} role="application" tabIndex={0} onKeyDown={onKey}
          aria-label="The picture. Arrow keys turn it, plus and minus enlarge and shrink, space turns it by itself, Home goes back."
          onPointerDown={(event) => {
            drag.current = { x: event.clientX, y: event.clientY };
            event.currentTarget.setPointerCapture(event.pointerId);
          }}
          onPointerMove={(event) => {
            if (drag.current) {
              turn((drag.current.x - event.clientX) / 2, (event.clientY - drag.current.y) / 2);
              drag.current = { x: event.clientX, y: event.clientY };
            }
          }}
          onPointerUp={() => (drag.current = undefined)}
          onPointerCancel={() => (drag.current = undefined)}
          onWheel={(event) => {
            event.preventDefault();
            turn(0, 0, event.deltaY < 0 ? 1.1 : 1 / 1.1);
          }}>
          <figure hidden={needsModel}>
            <Canvas name="picture" picture={first.frame?.picture} label={`${settings.scene ?? "knot"} on ${request.chip}`} />
            {other && <figcaption>{request.chip}</figcaption>}
          </figure>
          {other && (
            <figure>
              <Canvas picture={second.frame?.picture} label={`${settings.scene ?? "knot"} on ${other.chip}`} />
              <figcaption>{other.chip}</figcaption>
            </figure>
          )}
          {other && differs && (
            <figure>
              <Canvas picture={differs.map} label={`Where ${request.chip} and ${other.chip} differ`} />
              <figcaption>
                {differs.pixels === 0 ? "equal to the pixel" : `${counted(differs.pixels)} pixels differ, by ${differs.largest} of 255 at most`}
              </figcaption>
            </figure>
          )}
        </div>
        <div class="bar">
          <button type="button" aria-pressed={turning} onClick={() => setTurning(!turning)}>{turning ? "❚❚ Stop" : "▶ Turn"}</button>
          <button type="button" onClick={() => change({ yaw: "", pitch: "", zoom: "" })}>Back to the scene's view</button>
          <button type="button" disabled={!first.frame}
            onClick={() => void toPng(first.frame!.picture).then((blob) => save(blob, `${request.chip}-${settings.scene ?? "knot"}.png`))}>
            Save PNG
          </button>
          <output>
            {drawn && `${counted(drawn.words - drawn.frameStart)} words, ${drawn.calls} calls, ${first.milliseconds.toFixed(0)} ms`}
          </output>
        </div>
        <Listing engine={engines[0]} shown={first} name={`${request.chip}-${settings.scene ?? "knot"}`} letter={request.fifo ? "f" : "d"} />
      </div>
    </main>
  );
}

// What went to the chip, and what the driver was asked for.
function Listing({ engine, shown, name, letter }: { engine: Engine; shown: Shown; name: string; letter: string }) {
  const [tab, setTab] = useState("words");
  const [marked, setMarked] = useState<number | undefined>();
  const [wanted, setWanted] = useState("");
  const [found, setFound] = useState("");
  const [copied, setCopied] = useState(false);
  const version = useSettled(shown.number);
  const drawn = shown.frame?.drawn;
  const calls = useRef<{ version: number; all: Promise<Call[]> } | undefined>(undefined);
  const frameCalls = () => {
    if (calls.current?.version !== version) {
      calls.current = { version, all: engine.ask.calls().then((all) => all.filter((call) => call.frame)) };
    }
    return calls.current.all;
  };
  if (!drawn) {
    return null;
  }
  const start = drawn.frameStart, count = drawn.words - start;
  const search = async (event: Event) => {
    event.preventDefault();
    const from = start + (marked === undefined ? 0 : marked + 1);
    const word = (await engine.ask.find(wanted, from)) ?? (await engine.ask.find(wanted, start));
    setMarked(word === null ? undefined : word - start);
    setFound(word === null ? "nowhere" : `word ${counted(word)}`);
  };
  const copy = async () => {
    const words = await engine.ask.words(start, count);
    await navigator.clipboard.writeText(words.map((word) => `${letter} ${hex(word.raw)} ; ${word.text}\n`).join(""));
    setCopied(true);
    setTimeout(() => setCopied(false), 1500);
  };
  return (
    <Tabs label="What happened" value={tab} onChange={setTab}
      tabs={[{ value: "words", label: `Words (${counted(count)})` }, { value: "calls", label: `Calls (${drawn.calls})` }]}>
      {tab === "words" ? (
        <>
          <form class="search" role="search" onSubmit={(event) => void search(event)}>
            <input type="search" aria-label="Find in the words" placeholder="FogMode, Render, 0x…" value={wanted}
              onInput={(event) => setWanted(event.currentTarget.value.replace(/^0x/i, ""))} />
            <button type="submit" disabled={wanted === ""}>Find</button>
            <output>{found}</output>
            <button type="button" onClick={() => void copy()}>{copied ? "Copied" : "Copy as event text"}</button>
          </form>
          <LongList<Word> label="Words of this frame" count={count} version={`${name} ${version}`} marked={marked}
            fetch={(first, most) => engine.ask.words(start + first, most)}
            row={(word) => (
              <>
                <span class="number">{word.word}</span>
                <code>{hex(word.raw)}</code>
                <span class={word.data ? "meaning" : "meaning tag"}>{word.text}</span>
              </>
            )} />
        </>
      ) : (
        <LongList<Call> label="Calls of the driver for this frame" count={drawn.calls} version={`${name} ${version}`}
          fetch={async (first, most) => (await frameCalls()).slice(first, first + most)}
          onChoose={(call) => {
            setMarked(Math.max(0, call.word - start));
            setTab("words");
          }}
          row={(call, index) => (
            <>
              <span class="number">{index}</span>
              <span class="call">{call.name}</span>
              <span class="meaning">
                {Object.entries(call.fields).map(([field, value]) => `${field}=${value}`).join(" ")}
              </span>
              <span class="words">{call.end > call.word ? `words ${counted(call.word)}–${counted(call.end - 1)}` : ""}</span>
            </>
          )} />
      )}
    </Tabs>
  );
}

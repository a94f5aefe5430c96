// The events of the stream, filtered and searched.
import { useEffect, useRef, useState } from "preact/hooks";

import type { Engine } from "../../engine/engine.ts";
import type { StreamEvent } from "../../engine/types.ts";
import type { Settings } from "../address.ts";
import { Problem } from "../controls.tsx";
import { LongList } from "../list.tsx";
import { counted, hex } from "../text.ts";

// What the list shows unless somebody says otherwise: all but time that passes.
export const kUsualEvents = "fifo,dma,step,call,batch,frame";
const kFilters = [
  { label: "words and calls", only: kUsualEvents },
  { label: "everything", only: "*" },
  { label: "register accesses", only: "read,write" },
  { label: "stores", only: "store" },
  { label: "drawing commands", only: "Render,ContinueNewSub,ContinueNewDom,Continue,DrawTriangle,RepeatTriangle,DrawLine01,DrawLine10" },
];
const kLetters: Record<string, string> = { fifo: "f", dma: "d", read: "r", write: "w" };

export function placeOfEvent(event: StreamEvent): string {
  if (event.kind === "fifo" || event.kind === "dma") {
    return `word:${event.word}`;
  }
  return event.number !== undefined && event.mark !== "frame" ? `${event.mark}:${event.number}` : `event:${event.event}`;
}

function textOf(event: StreamEvent): string {
  if (event.kind === "mark") {
    const fields = Object.entries((event.fields ?? {}) as Record<string, unknown>)
      .filter(([name]) => !["frameBuffer", "localBuffer", "registers"].includes(name))
      .map(([name, value]) => `${name}=${value}`);
    return [event.name && `"${event.name}"`, ...fields].filter(Boolean).join(" ");
  }
  if (event.kind === "store") {
    return `${event.memory} ${event.offset} bytes=${String(event.bytes).length / 2}`;
  }
  if (event.text !== undefined) {
    return event.kind === "read" || event.kind === "write" ? `${event.register} ${event.text}` : event.text;
  }
  return event.value !== undefined ? String(event.value) : "";
}

export function Events({ engine, version, settings, copyFrom, copyTo, copyWhat, change }: {
  engine: Engine; version: unknown; settings: Settings; copyFrom: string; copyTo: string; copyWhat: string; change(changed: Settings): void;
}) {
  const only = settings.only ?? kUsualEvents, changes = settings.changes === "yes";
  const [rows, setRows] = useState(0);
  const [listed, setListed] = useState(0);
  const [here, setHere] = useState<number | undefined>();
  const [problem, setProblem] = useState("");
  const [wanted, setWanted] = useState("");
  const [found, setFound] = useState<{ row: number | null; text: string }>();
  const [copied, setCopied] = useState("");
  const filter = useRef<HTMLInputElement>(null);

  useEffect(() => {
    engine.ask.list(only === "*" ? "" : only, changes).then((count) => {
      setRows(count);
      setListed((before) => before + 1);
      setFound(undefined);
      setProblem("");
    }, (error) => setProblem((error as Error).message));
  }, [engine, only, changes]);
  // The row of what comes next; of a thing that the place names, its own.
  const named = /^(step|call|batch):/.exec(settings.at ?? "")?.[1];
  const own = named !== undefined && (only === "*" || only.split(",").includes(named)) && !changes ? 1 : 0;
  useEffect(() => {
    if (listed > 0) {
      engine.ask.rowHere().then((row) => setHere(Math.max(0, row - own)), () => {});
    }
  }, [listed, version]);
  useEffect(() => setFound(undefined), [version]);

  const search = async (backwards: boolean) => {
    const from = found?.row ?? here ?? 0;
    const row = await engine.ask.findRow(wanted, backwards ? from : from + 1, backwards) ??
      await engine.ask.findRow(wanted, backwards ? rows : 0, backwards);
    setFound({ row, text: row === null ? "nowhere" : `line ${counted(row + 1)} of ${counted(rows)}` });
  };
  const copy = async () => {
    try {
      await navigator.clipboard.writeText(await engine.ask.text(copyFrom, copyTo));
      setCopied("Copied");
    } catch (error) {
      setCopied((error as Error).message);
    }
    setTimeout(() => setCopied(""), 2000);
  };
  return (
    <>
      <form class="search" role="search" onSubmit={(event) => {
        event.preventDefault();
        void search(false);
      }}>
        <input type="search" aria-label="Find in the events" placeholder="FogMode, 00010048…" value={wanted} onInput={(event) => setWanted(event.currentTarget.value)} />
        <button type="submit" disabled={wanted === ""}>Find</button>
        <button type="button" disabled={wanted === ""} onClick={() => void search(true)} aria-label="Find the one before">Before</button>
        <button type="button" onClick={() => void copy()}>{copied || `Copy ${copyWhat} as event text`}</button>
        <output aria-live="polite">{found?.text ?? `${counted(rows)} lines`}</output>
      </form>
      <form class="search" onSubmit={(event) => {
        event.preventDefault();
        change({ only: filter.current!.value.trim() || "*" });
      }}>
        <select aria-label="Filters" value={kFilters.some((one) => one.only === only) ? only : ""} onChange={(event) => event.currentTarget.value && change({ only: event.currentTarget.value })}>
          {!kFilters.some((one) => one.only === only) && <option value="">own filter</option>}
          {kFilters.map((one) => <option key={one.only} value={one.only}>{one.label}</option>)}
        </select>
        <input ref={filter} class="wide" aria-label="Only these: registers, units, kinds of events" placeholder="Render,DepthMode,LocalBuffer,call" key={only} defaultValue={only === "*" ? "" : only} />
        <button type="submit">Filter</button>
        <label><input type="checkbox" checked={changes} onChange={(event) => change({ changes: event.currentTarget.checked ? "yes" : "" })} /> only changes</label>
      </form>
      <Problem text={problem} />
      <LongList<StreamEvent> label="Events" count={rows} version={listed} marked={found?.row ?? here}
        fetch={(first, most) => engine.ask.rows(first, most)}
        onChoose={(event) => change({ at: placeOfEvent(event) })}
        row={(event) => event.kind === "mark"
          ? (
            <>
              <span class="number" />
              <span class="kind">{event.mark}{event.number !== undefined ? `:${event.number}` : ""}</span>
              <span class="meaning">{textOf(event)}</span>
            </>
          )
          : (
            <>
              <span class="number">{event.kind === "fifo" || event.kind === "dma" ? event.word : ""}</span>
              <code>{kLetters[event.kind] ?? event.kind} {event.raw !== undefined ? hex(event.raw) : ""}</code>
              <span class={event.register || event.raw === undefined ? "meaning" : "meaning tag"}>{textOf(event)}</span>
            </>
          )} />
    </>
  );
}

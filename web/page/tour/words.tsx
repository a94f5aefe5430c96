// The tour's steps that show what is handed on: vertices, states, words.
import { useEffect, useRef, useState } from "preact/hooks";

import type { Register, TourRequest, TourTold, TourVertex, TourWord } from "../../engine/types.ts";
import type { Move } from "../address.ts";
import { hex, meaningOf, plural } from "../text.ts";
import { held, kNames } from "./triangle.ts";

const kRecord = ["sx", "sy", "sz", "rhw", "color", "specular", "tu", "tv"];
const kColumns: { key: Exclude<keyof TourVertex, "colour">; label: string; step: number }[] = [
  { key: "x", label: "x", step: 0.25 }, { key: "y", label: "y", step: 0.25 }, { key: "z", label: "z", step: 0.05 }, { key: "alpha", label: "alpha", step: 0.05 },
  { key: "fog", label: "fog leaves", step: 0.05 }, { key: "u", label: "u", step: 0.25 }, { key: "v", label: "v", step: 0.25 },
];

const single = (word: number) => new Float32Array(new Uint32Array([word]).buffer)[0];

export function VerticesStep({ request, told, onVertex }: {
  request: TourRequest; told: TourTold; onVertex(index: number, vertex: TourVertex, move?: Move): void;
}) {
  return (
    <>
      <h2>An application hands over three vertices</h2>
      <p>They are on the screen already: x and y count pixels, z runs from near (0) to far (1). Change a number, and all that follows is worked out anew.</p>
      <table class="edit">
        <thead><tr><th scope="col">Vertex</th>{kColumns.map(({ key, label }) => <th key={key} scope="col">{label}</th>)}<th scope="col">colour</th></tr></thead>
        <tbody>
          {request.vertices.map((vertex, i) => (
            <tr key={i}>
              <th scope="row">{kNames[i]}</th>
              {kColumns.map(({ key, label, step }) => (
                <td key={key}>
                  <input type="number" step={step} aria-label={`${label} of ${kNames[i]}`} value={vertex[key]}
                    onInput={(event) => event.currentTarget.value !== "" && onVertex(i, { ...vertex, [key]: held(key, Number(event.currentTarget.value)) })} />
                </td>
              ))}
              <td><input type="color" aria-label={`colour of ${kNames[i]}`} value={vertex.colour.toLowerCase()}
                onInput={(event) => onVertex(i, { ...vertex, colour: event.currentTarget.value.toUpperCase() })} /></td>
            </tr>
          ))}
        </tbody>
      </table>
      <h3>In memory</h3>
      <p>A vertex is a record of eight 32-bit words. Numbers are singles; alpha is the top byte of <code>color</code>, and what fog leaves the top byte of <code>specular</code>.</p>
      <table>
        <thead><tr><th scope="col">Field</th>{kNames.map((name) => <th key={name} scope="col">{name}</th>)}</tr></thead>
        <tbody>
          {kRecord.map((field, i) => (
            <tr key={field}>
              <th scope="row"><code>{field}</code></th>
              {told.vertices.map(({ words }, vertex) => (
                <td key={vertex}><code>{hex(words[i])}</code> <span class="dim">{i === 4 || i === 5 ? "" : String(single(words[i]))}</span></td>
              ))}
            </tr>
          ))}
        </tbody>
      </table>
    </>
  );
}

// Words before the triangle's own set-up: what the driver had to bring up to date.
const isMode = (word: TourWord) => word.after !== undefined && word.after.fields !== undefined && !word.command;

export function StatesStep({ told }: { told: TourTold }) {
  const modes = told.words.filter(isMode);
  return (
    <>
      <h2>It says how to draw</h2>
      <p>States reach the driver in a batch. It edits copies of the chip's mode words and remembers which differ; nothing goes to the chip yet.</p>
      <table>
        <thead><tr><th scope="col">State</th><th scope="col">Value</th><th scope="col">Meaning</th></tr></thead>
        <tbody>
          {told.states.map(({ name, value, text }, i) => (
            <tr key={i}><th scope="row"><code>{name}</code></th><td><code>{value > 9 ? hex(value) : value}</code></td><td>{text}</td></tr>
          ))}
        </tbody>
      </table>
      <h3>What becomes of them</h3>
      <p>With the first triangle behind them {plural(modes.length, "mode word")} {modes.length === 1 ? "goes" : "go"} to the chip, ahead of the triangle's own numbers. What differs from before is marked.</p>
      <table>
        <thead><tr><th scope="col">Register</th><th scope="col">Before</th><th scope="col">Word</th><th scope="col">Fields</th></tr></thead>
        <tbody>
          {modes.map((word) => (
            <tr key={word.word}>
              <th scope="row">{word.after!.name}</th>
              <td><code>{word.before ? hex(word.before.raw) : "–"}</code></td>
              <td><code>{hex(word.raw)}</code></td>
              <td><Became before={word.before} after={word.after!} /></td>
            </tr>
          ))}
        </tbody>
      </table>
    </>
  );
}

// Fields that are set or were, those that became different marked.
function Became({ before, after }: { before?: Register | null; after: Register }) {
  if (!after.fields) {
    return <>{meaningOf(after)}</>;
  }
  const told = after.fields.filter((field, i) => field.raw !== 0 || (before?.fields?.[i]?.raw ?? 0) !== 0);
  return told.length === 0 ? <>0</> : (
    <>
      {told.map((field) => {
        const old = before?.fields?.find(({ name }) => name === field.name);
        const differs = (old?.raw ?? 0) !== field.raw;
        return <span key={field.name} class={differs ? "bits changed" : "bits"}>{field.name}=<b>{field.text}</b>{differs && old && <s>{old.text}</s>}</span>;
      })}
    </>
  );
}

const kPace = 250; // milliseconds

export function WordsStep({ told, word, onWord }: { told: TourTold; word: number; onWord(at: number, move: Move): void }) {
  const [playing, setPlaying] = useState(false);
  const one = told.words[word];
  useEffect(() => {
    if (playing) {
      if (word >= told.words.length - 1) {
        setPlaying(false);
        return;
      }
      const timer = setTimeout(() => onWord(word + 1, "smooth"), kPace);
      return () => clearTimeout(timer);
    }
  }, [playing, word]);
  const list = useRef<HTMLOListElement>(null);
  useEffect(() => list.current?.querySelector(".marked")?.scrollIntoView({ block: "nearest" }), [word]);
  const rows = told.rows.filter((row) => row.word === one?.word).length;
  return (
    <>
      <h2>Words go to the chip, one by one</h2>
      <p>A tag says which registers follow, alone, as a burst to one of them, or as a list; data words are for those. A register that is a command acts when its word comes.</p>
      <div class="bar">
        <button type="button" disabled={word === 0} onClick={() => onWord(word - 1, "quick")}>◀ Word</button>
        <button type="button" class="wide-button" aria-pressed={playing} onClick={() => {
          if (!playing && word >= told.words.length - 1) {
            onWord(0, "smooth");
          }
          setPlaying(!playing);
        }}>{playing ? "❚❚ Pause" : "▶ Play"}</button>
        <button type="button" disabled={word >= told.words.length - 1} onClick={() => onWord(word + 1, "quick")}>Word ▶</button>
        <input type="range" aria-label="Word" min={0} max={told.words.length - 1} value={word} onInput={(event) => onWord(Number(event.currentTarget.value), "quick")} />
        <output>{word + 1} of {told.words.length}</output>
      </div>
      {one && (
        <div class="card" aria-live="polite">
          <p><code class="big">{hex(one.raw)}</code> {one.data ? "a data word" : "a tag word"}</p>
          {one.after
            ? (
              <p>
                <b>{one.after.name}</b>{one.after.unit ? `, of the unit ${one.after.unit}` : ""}: <span class="dim">{one.before ? meaningOf(one.before) : "unset"}</span> → <b>{meaningOf(one.after)}</b>
                {one.command && (rows > 0 ? ` It is a command: ${plural(rows, "row")} are drawn.` : " It is a command.")}
              </p>
            )
            : <p>It says what comes: <b>{one.text}</b></p>}
        </div>
      )}
      <ol class="stream tall" ref={list} tabIndex={0} aria-label="The words">
        {told.words.map((each, i) => (
          <li key={each.word} class={i === word ? "marked" : i < word ? "done" : undefined}>
            <button type="button" class="link" onClick={() => onWord(i, "quick")} aria-current={i === word ? "true" : undefined}><code>{hex(each.raw)}</code></button>
            <span class={each.data ? "meaning" : "meaning tag"}>{each.text}</span>
          </li>
        ))}
      </ol>
    </>
  );
}

// What every register holds, unit by unit, with what is different from the place before.
import { useState } from "preact/hooks";

import type { BoardState, FieldValue, Register } from "../../engine/types.ts";
import { hex, meaningOf } from "../text.ts";

// By the name of a register, what it held at the place before, if that was something else.
export type Before = Map<string, Register>;

export function differing(before: BoardState | undefined, now: BoardState): Before {
  const held = new Map(before?.registers.map((register) => [register.name, register]));
  return new Map(now.registers.flatMap((register) => {
    const old = held.get(register.name);
    return old !== undefined && old.raw !== register.raw ? [[register.name, old] as const] : [];
  }));
}

function Field({ field, before }: { field: FieldValue; before?: FieldValue }) {
  const changed = before !== undefined && before.raw !== field.raw;
  const bits = field.width === 1 ? `bit ${field.low}` : `bits ${field.low} to ${field.low + field.width - 1}`;
  return (
    <span class={changed ? "bits changed" : "bits"} title={`${bits}${field.in ? `, in ${field.in}` : ""}${changed ? `, was ${before.text}` : ""}`}>
      {field.name}=<b>{field.text}</b>{changed && <s>{before.text}</s>}
    </span>
  );
}

function Meaning({ register, before, all }: { register: Register; before?: Register; all: boolean }) {
  if (!register.fields) {
    return <>{meaningOf(register)} {before && <s>{meaningOf(before)}</s>}</>;
  }
  const told = register.fields.map((field, i) => ({ field, before: before?.fields?.find(({ name }) => name === field.name) ?? before?.fields?.[i] }))
    .filter(({ field, before: old }) => all || field.raw !== 0 || (old !== undefined && old.raw !== field.raw));
  return told.length === 0 ? <>0</> : <>{told.map(({ field, before: old }) => <Field key={field.name} field={field} before={old} />)}</>;
}

function inFlight(state: BoardState): string {
  const { inputFifo, burstWordsLeft, dmaWordsLeft, outputWords } = state.inFlight as Record<string, number> & { inputFifo: string[] };
  return [
    inputFifo.length > 0 && `${inputFifo.length} writes in the input FIFO: ${inputFifo.slice(0, 3).join("; ")}${inputFifo.length > 3 ? "…" : ""}`,
    burstWordsLeft > 0 && `a burst that waits for ${burstWordsLeft} words`,
    dmaWordsLeft > 0 && `a DMA transfer with ${dmaWordsLeft} words left`,
    outputWords > 0 && `${outputWords} words in the output FIFO`,
  ].filter(Boolean).join("; ");
}

export function State({ state, before, onWriter }: { state: BoardState; before: Before; onWriter(place: string): void }) {
  const [wanted, setWanted] = useState("");
  const [all, setAll] = useState(false);
  const [changes, setChanges] = useState(false);
  const text = wanted.toLowerCase();
  const shown = state.registers.filter((register) =>
    (!changes || before.has(register.name)) &&
    (all || register.writtenBy !== null || register.raw !== 0) &&
    `${register.name} ${register.unit ?? ""} ${meaningOf(register)}`.toLowerCase().includes(text));
  const units = [...new Set(shown.map(({ unit }) => unit ?? ""))];
  const flight = inFlight(state);
  return (
    <>
      <div class="search">
        <input type="search" aria-label="Find registers" placeholder="Fog, LocalBuffer, Render…" value={wanted} onInput={(event) => setWanted(event.currentTarget.value)} />
        <label><input type="checkbox" checked={changes} onChange={(event) => setChanges(event.currentTarget.checked)} /> only what changed</label>
        <label><input type="checkbox" checked={all} onChange={(event) => setAll(event.currentTarget.checked)} /> all registers and fields</label>
        <output>{shown.length} registers, {before.size} changed since the place before</output>
      </div>
      {flight !== "" && <p class="flight">In flight: {flight}</p>}
      <div class="scroll" tabIndex={0} role="region" aria-label="Registers">
        <table class="registers">
          <thead><tr><th scope="col">Register</th><th scope="col">Bits</th><th scope="col">Written by</th><th scope="col">Meaning</th></tr></thead>
          {units.map((unit) => (
            <tbody key={unit}>
              <tr class="unit"><th scope="colgroup" colSpan={4}>{unit || "outside the vocabulary"}</th></tr>
              {shown.filter((register) => (register.unit ?? "") === unit).map((register) => (
                <tr key={register.offset} class={before.has(register.name) ? "changed" : undefined}>
                  <th scope="row">{register.name}</th>
                  <td><code>{hex(register.raw)}</code></td>
                  <td>{register.writtenBy !== null &&
                    <button type="button" class="link" onClick={() => onWriter(register.writtenBy!)}>{register.writtenBy}</button>}</td>
                  <td><Meaning register={register} before={before.get(register.name)} all={all} /></td>
                </tr>
              ))}
            </tbody>
          ))}
        </table>
      </div>
    </>
  );
}

// The tour's rasteriser: row by row along two edges.
import { useEffect, useState } from "preact/hooks";

import type { TourTold } from "../../engine/types.ts";
import type { Move } from "../address.ts";
import { plural } from "../text.ts";
import { number, type Reckoning, rowAt } from "./reckoning.ts";

const kPace = 150; // milliseconds

export function RowsStep({ told, reckoning, row, onRow }: {
  told: TourTold; reckoning: Reckoning | undefined; row: number; onRow(at: number, move: Move): void;
}) {
  const [playing, setPlaying] = useState(false);
  useEffect(() => {
    if (playing) {
      if (row >= told.rows.length - 1) {
        setPlaying(false);
        return;
      }
      const timer = setTimeout(() => onRow(row + 1, "smooth"), kPace);
      return () => clearTimeout(timer);
    }
  }, [playing, row]);
  const drawn = told.rows[row];
  if (!reckoning || !drawn) {
    return <p class="empty">No row was drawn: a triangle without area or rows has none. Move its corners apart.</p>;
  }
  const at = rowAt(reckoning, row), { dominant } = reckoning;
  const first = reckoning.parts[0], bent = row >= first.rows && reckoning.parts.length > 1, part = bent ? reckoning.parts[1] : first;
  const k = bent ? row - first.rows : row;
  return (
    <>
      <h2>The rasteriser walks row by row</h2>
      <p>Two X values go from row to row, each by its step. Pixels whose centres lie between them are drawn: a pixel's centre is at half.</p>
      <div class="bar">
        <button type="button" disabled={row === 0} onClick={() => onRow(row - 1, "quick")}>◀ Row</button>
        <button type="button" class="wide-button" aria-pressed={playing} onClick={() => {
          if (!playing && row >= told.rows.length - 1) {
            onRow(0, "smooth");
          }
          setPlaying(!playing);
        }}>{playing ? "❚❚ Pause" : "▶ Play"}</button>
        <button type="button" disabled={row >= told.rows.length - 1} onClick={() => onRow(row + 1, "quick")}>Row ▶</button>
        <input type="range" aria-label="Row" min={0} max={told.rows.length - 1} value={row} onInput={(event) => onRow(Number(event.currentTarget.value), "quick")} />
        <output>{row + 1} of {told.rows.length}</output>
      </div>
      <div class="card" aria-live="polite">
        <p>Row <b>{drawn.y}</b>: {reckoning.first} {reckoning.down > 0 ? "+" : "−"} {row}</p>
        <table class="numbers">
          <tbody>
            <tr><th scope="row">long edge</th><td>{number(dominant.start)} + {row} · {number(dominant.step)}</td><td><b>{number(at.dominant, 5)}</b></td></tr>
            <tr><th scope="row">{bent ? "other side, behind the bend" : "other side"}</th><td>{number(part.start)} + {k} · {number(part.step)}</td><td><b>{number(at.other, 5)}</b></td></tr>
            <tr><th scope="row">first centre</th><td>at or right of {number(Math.min(at.dominant, at.other), 5)}</td><td><b>{at.left}.5</b></td></tr>
            <tr><th scope="row">pixels</th><td>{at.right > at.left ? `${at.left} to ${at.right - 1}` : "none: no centre lies between"}</td>
              <td><b>{at.left === drawn.left && at.right === drawn.right ? "as the board drew" : `the board drew ${drawn.left} to ${drawn.right - 1}`}</b></td></tr>
          </tbody>
        </table>
      </div>
      <p>{plural(told.rows.length, "row")}, {plural(told.rows.reduce((sum, one) => sum + Math.max(0, one.right - one.left), 0), "pixel")}:</p>
      <ol class="stream columns">
        {told.rows.map((one, i) => (
          <li key={i} class={i === row ? "marked" : undefined}>
            <button type="button" class="link" onClick={() => onRow(i, "quick")} aria-current={i === row ? "true" : undefined}>row {one.y}</button>
            <span class="meaning">{one.right > one.left ? `${one.left}–${one.right - 1}` : "none"}</span>
          </li>
        ))}
      </ol>
    </>
  );
}

// The tour's set-up: what must come out, and what did.
import type { TourTold } from "../../engine/types.ts";
import { hex } from "../text.ts";
import { number, type Reckoning } from "./reckoning.ts";

export function SetupStep({ reckoning, told, onWord }: { reckoning: Reckoning | undefined; told: TourTold; onWord(word: number): void }) {
  if (!reckoning) {
    return <p class="empty">Nothing was set up: a triangle without area or rows draws nothing. Move its corners apart.</p>;
  }
  const raw = new Map(told.words.map((word) => [word.word, word.raw]));
  return (
    <>
      <h2>{told.setupUnit ? "The chip sets the triangle up" : "The driver sets the triangle up"}</h2>
      <p>
        {told.setupUnit
          ? "The driver sends the vertices as they are; the unit in front of the rasteriser works out edges and slopes, in fixed point."
          : "This chip knows edges and slopes alone, in fixed point. The driver works them out in singles and sends them."}{" "}
        <b>Reckoned</b> is what they must come to, from the vertices as they are now; beside it stands what {told.setupUnit ? "the unit made" : "was sent"}, and by how much of its last bit the two differ.
      </p>
      {reckoning.unsent.length > 0 && (
        <p class="card">
          {told.setupUnit ? "The unit leaves out" : "The renderer that the driver picks for these states sends no"} {reckoning.unsent.join(", ")}.
          {told.words.some(({ after }) => after?.name === "FBBlockColor") ? " One colour, and no test: it fills whole words of memory at once." : ""}
        </p>
      )}
      {reckoning.groups.map((group) => (
        <section key={group.title}>
          <h3>{group.title}</h3>
          {group.about !== "" && <p>{group.about}</p>}
          <table class="numbers">
            <thead><tr><th scope="col">{told.setupUnit ? "Quantity" : "Register"}</th><th scope="col">How</th><th scope="col">Reckoned</th>
              {!told.setupUnit && <th scope="col">Word</th>}<th scope="col">Fixed point</th><th scope="col">Last bits</th></tr></thead>
            <tbody>
              {group.lines.map((line, i) => {
                const bits = (line.fixed - line.value) / line.step;
                return (
                  <tr key={i}>
                    <th scope="row">{line.name}</th>
                    <td>{line.formula}{line.note && <small class="dim">; {line.note}</small>}</td>
                    <td>{number(line.value, 6)}</td>
                    {line.word !== undefined && <td><button type="button" class="link" onClick={() => onWord(line.word!)}><code>{hex(raw.get(line.word) ?? 0)}</code></button></td>}
                    <td>{number(line.fixed, 6)}</td>
                    <td>{line.note ? "–" : Math.abs(bits) < 0.005 ? "0" : number(bits, 2)}</td>
                  </tr>
                );
              })}
            </tbody>
          </table>
        </section>
      ))}
    </>
  );
}

// What raw words do not say of themselves.
import { useState } from "preact/hooks";

import type { Chip, RawWords } from "../../engine/types.ts";
import { Select } from "../controls.tsx";

export function RawForm({ chips, name, onOpen }: { chips: Chip[]; name: string; onOpen(words: RawWords): void }) {
  const [words, setWords] = useState<RawWords>({ chip: "tx", width: 640, height: 480, bits: 16, base: 0 });
  const number = (key: "width" | "height" | "base") => (
    <label>{key} <input class="short" inputMode="numeric" value={words[key]} title={key === "base" ? "bytes" : "pixels"}
      onInput={(event) => setWords({ ...words, [key]: Math.floor(Number(event.currentTarget.value)) || 0 })} /></label>
  );
  return (
    <form class="bar part" aria-label={`What ${name} is for`} onSubmit={(event) => {
      event.preventDefault();
      onOpen(words);
    }}>
      <Select label="chip" value={words.chip} options={chips.map((chip) => ({ value: chip.name, label: `${chip.name}: ${chip.about}` }))}
        onChange={(chip) => setWords({ ...words, chip })} />
      {number("width")}
      {number("height")}
      <Select label="bits" value={String(words.bits)} options={["8", "16", "32"].map((value) => ({ value, label: value }))}
        onChange={(bits) => setWords({ ...words, bits: Number(bits) })} />
      {number("base")}
      <button type="submit">Open as raw words</button>
    </form>
  );
}

// The life of a pixel: everything that touched it, as `korv why` tells it.
import { useEffect, useState } from "preact/hooks";

import type { Engine } from "../../engine/engine.ts";
import type { Moment, PixelHistory, PixelReport } from "../../engine/types.ts";
import { Problem } from "../controls.tsx";
import { cssColour, hex, pixelColour, plural } from "../text.ts";
import { Swatch } from "../swatch.tsx";

const digits = (bits: number) => Math.ceil(bits / 4);
// Passed by all that come so far.
const kUsualTests = ["limits", "memory", "source"];

const kStages = { shaded: "shaded", texel: "texel", textured: "with texture", fogged: "fogged", under: "what is there", blended: "blended" };

function testText(report: Partial<PixelReport>, test: string): string {
  if (test === "depth" && report.fragmentDepth !== undefined) {
    const width = digits((report.depth?.bytes ?? 4) === 2 ? 16 : 32);
    return `depth ${hex(report.fragmentDepth, width)} ${report.depthCompare} ${hex(report.storedDepth ?? 0, width)}`;
  }
  if (test === "alpha" && report.alphaReference !== undefined) {
    return `alpha ${report.fragment?.alpha ?? ""} ${report.alphaCompare} ${report.alphaReference}`;
  }
  return test;
}

// Tests, and colours unit by unit.
export function Way({ report }: { report: Partial<PixelReport> }) {
  const tests = (report.tests ?? []).filter(({ test, passed }) => !passed || !kUsualTests.includes(test));
  return (
    <>
      {tests.length > 0 && (
        <p class="tests">
          {tests.map(({ test, passed }) => <span key={test} class={passed ? "pass" : "fail"}>{testText(report, test)} {passed ? "passed" : "failed"}</span>)}
        </p>
      )}
      {report.stages && (
        <p class="stages">
          {Object.entries(report.stages).map(([stage, colour]) => (
            <span key={stage}>
              <Swatch colour={cssColour(colour)} /> {kStages[stage as keyof typeof kStages]} {cssColour(colour)}
              {colour.alpha !== 255 ? ` alpha ${colour.alpha}` : ""}
              {stage === "fogged" && report.fogFactor !== undefined ? ` by ${report.fogFactor.toFixed(3)}` : ""}
            </span>
          ))}
        </p>
      )}
    </>
  );
}

function thing(moment: Moment): string {
  const name = moment.way === "fragment" ? moment.primitiveKind ?? "fragment" : moment.way ?? "";
  return `${name}${moment.x !== undefined ? ` at ${moment.x},${moment.y}` : ""}${moment.sourceByte !== undefined ? ` from byte ${moment.sourceByte}` : ""}`;
}

export function Pixel({ engine, version, surface, pixel, word, onPlace }: {
  engine: Engine; version: unknown; surface: string; pixel: string; word: number; onPlace(place: string): void;
}) {
  const [history, setHistory] = useState<PixelHistory>();
  const [problem, setProblem] = useState("");
  const [x, y] = pixel.split(",").map(Number);
  useEffect(() => {
    let left = false;
    setProblem("");
    setHistory(undefined);
    if (pixel !== "") {
      engine.ask.why(surface, x, y).then((told) => left || setHistory(told), (error) => left || setProblem((error as Error).message));
    }
    return () => {
      left = true;
    };
  }, [engine, version, surface, pixel]);
  if (pixel === "") {
    return <p class="empty">Click a pixel of the picture, or move to it with the arrow keys and press Enter, to see all that touched it.</p>;
  }
  if (problem !== "" || !history) {
    return problem !== "" ? <Problem text={problem} /> : <p class="empty">Playing the capture for this pixel…</p>;
  }
  const value = (bits: number | null) => {
    if (bits === null) {
      return <>nothing</>;
    }
    const colour = pixelColour(bits, history.bits, history.format);
    return <><code>{hex(bits, digits(history.bits))}</code>{colour && <> <Swatch colour={colour} /> {colour}</>}</>;
  };
  const drawn = history.moments.filter(({ what, passed }) => what === "drawn" && passed).length;
  const stopped = history.moments.filter(({ what, passed }) => (what === "drawn" || what === "cut") && !passed).length;
  return (
    <>
      <p class="told">
        <strong>Pixel {history.x},{history.y} of '{history.surface}'</strong>, {history.bits} bits {history.format}: drawn {plural(drawn, "time")},
        stopped {plural(stopped, "time")}, {value(history.value)} at the end
      </p>
      <ol class="scroll moments" tabIndex={0} aria-label="What touched the pixel">
        {history.moments.map((moment, i) => (
          <li key={i} class={moment.word > word ? "later" : undefined}>
            <p>
              <button type="button" class="link" onClick={() => onPlace(moment.place)}>{moment.place}</button>
              {moment.firstWord !== undefined && moment.words !== undefined &&
                <button type="button" class="link" onClick={() => onPlace(`word:${moment.firstWord! + moment.words!}`)}>behind it</button>}
              <span class="dim">
                {[moment.batch !== null && `batch:${moment.batch}`, `frame:${moment.frame}`, moment.step !== null && `step:${moment.step}`,
                  moment.call !== null && `call:${moment.call} ${moment.callName}`, moment.primitive !== undefined && `primitive ${moment.primitive}`]
                  .filter(Boolean).join(", ")}
              </span>
            </p>
            {moment.what === "moved"
              ? <p>{moment.to ? <>it lies at {moment.to.memory} buffer byte {moment.to.byte} from here on: {value(moment.after)}</> : "it lies nowhere any more"}</p>
              : (
                <p>
                  {moment.what === "stored" ? "the processor stores: " : <><b>{thing(moment)}</b> <span class="dim">{moment.command}</span><br /></>}
                  {moment.before === moment.after ? <>{value(moment.before)} stays</> : <>{value(moment.before)} → {value(moment.after)}</>}
                </p>
              )}
            {(moment.what === "drawn" || moment.what === "cut") && <Way report={moment} />}
          </li>
        ))}
      </ol>
    </>
  );
}

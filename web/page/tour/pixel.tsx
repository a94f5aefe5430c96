// The tour's pixel, through the units.
import type { ComponentChildren } from "preact";

import type { Colour, TourRequest, TourTold } from "../../engine/types.ts";
import { Swatch } from "../swatch.tsx";
import { cssColour, hex } from "../text.ts";
import { number, type Reckoning, shown, valueAt } from "./reckoning.ts";

const kChannels = ["red", "green", "blue"] as const;
const show = (colour: Colour) => <><Swatch colour={cssColour(colour)} /> {colour.red}, {colour.green}, {colour.blue}</>;
const ofRaw = (raw: number) => {
  const [red, green, blue] = shown(raw);
  return <><code>{hex(raw, 4)}</code> <Swatch colour={cssColour({ red, green, blue })} /></>;
};

function Unit({ title, children }: { title: string; children: ComponentChildren }) {
  return <li><h3>{title}</h3>{children}</li>;
}

export function PixelStep({ request, told, reckoning, x, y, onPixel }: {
  request: TourRequest; told: TourTold; reckoning: Reckoning | undefined; x: number; y: number; onPixel(x: number, y: number): void;
}) {
  const pixel = told.pixel;
  const move = (
    <p class="bar">
      <label>x <input type="number" min={0} max={63} value={x} onInput={(event) => onPixel(Number(event.currentTarget.value), y)} /></label>
      <label>y <input type="number" min={0} max={47} value={y} onInput={(event) => onPixel(x, Number(event.currentTarget.value))} /></label>
    </p>
  );
  if (!pixel || !reckoning) {
    return (
      <>
        <h2>Pixel {x},{y}</h2>
        {move}
        <p class="empty">The triangle does not cover this pixel. Click one inside it.</p>
      </>
    );
  }
  const { shaded, texel, textured, fogged, under, blended } = pixel.stages ?? {};
  const depth = valueAt(reckoning, "depth", x, y), s = valueAt(reckoning, "s", x, y), t = valueAt(reckoning, "t", x, y), fog = valueAt(reckoning, "fog", x, y);
  const before = textured ?? shaded;
  const written = pixel.colour;
  return (
    <>
      <h2>Pixel {x},{y} through the units</h2>
      {move}
      <ol class="units">
        {pixel.way !== "fragment" && (
          <Unit title={pixel.way}>
            <p>One colour for all pixels, and nothing to test: words of memory are filled at once, past the units of a single pixel.</p>
          </Unit>
        )}
        {shaded && (
          <Unit title="Colour">
            {request.states.smooth
              ? (
                <table class="numbers"><tbody>
                  {kChannels.map((channel) => {
                    const at = valueAt(reckoning, channel, x, y);
                    return at && <tr key={channel}><th scope="row">{channel}</th><td>{at.formula}</td><td>{number(at.value, 2)}</td><td><b>{shaded[channel]}</b></td></tr>;
                  })}
                </tbody></table>
              )
              : <p>The first vertex's, for all pixels.</p>}
            <p>{show(shaded)}{request.states.blend ? `, alpha ${shaded.alpha}` : ""}</p>
          </Unit>
        )}
        {texel && (
          <Unit title="Texture">
            {s && t && <p>s = {s.formula} = {number(s.value, 2)}; t = {t.formula} = {number(t.value, 2)}: texel {Math.floor(s.value)},{Math.floor(t.value)}</p>}
            <p>{show(texel)}</p>
            {textured && shaded && <p>{kChannels.map((channel) => `${shaded[channel]} · ${texel[channel]} / 255`).join(", ")} = {show(textured)}</p>}
          </Unit>
        )}
        {fogged && before && pixel.fogFactor !== undefined && (
          <Unit title="Fog">
            {fog && <p>it leaves {fog.formula} = {number(fog.value)}; the board has {number(pixel.fogFactor)}</p>}
            <p>{kChannels.map((channel, i) => {
              const colour = [0x98, 0xa8, 0xb8][i];
              return `${colour} + ${number(pixel.fogFactor!, 3)} · (${before[channel]} − ${colour})`;
            }).join(", ")}</p>
            <p>{show(fogged)}</p>
          </Unit>
        )}
        {pixel.fragmentDepth !== undefined && (
          <Unit title="Depth test">
            {depth && <p>{depth.formula} = {number(depth.value, 2)}</p>}
            <p class="tests"><span class={pixel.tests.some(({ test, passed }) => test === "depth" && !passed) ? "fail" : "pass"}>
              {pixel.fragmentDepth} {pixel.depthCompare} {pixel.storedDepth} {pixel.tests.some(({ test, passed }) => test === "depth" && !passed) ? "failed: something nearer is there" : "passed"}
            </span></p>
          </Unit>
        )}
        {blended && under && pixel.fragment && (
          <Unit title="Blend">
            <p>what is there: {show(under)}</p>
            <p>{kChannels.map((channel) => `(${pixel.fragment![channel]} · ${pixel.fragment!.alpha} + ${under[channel]} · ${255 - pixel.fragment!.alpha}) / 255`).join(", ")}</p>
            <p>{show(blended)}</p>
          </Unit>
        )}
        <Unit title="Write">
          {written && pixel.passed
            ? <p>{pixel.way === "fragment" ? "dithered to five bits a channel: " : ""}{ofRaw(written.before)} → {ofRaw(written.after)} at byte {written.byte} of the frame buffer{pixel.depth?.written ? `, depth ${pixel.depth.after} at byte ${pixel.depth.byte} of the ${pixel.depth.memory === "local" ? "local" : "frame"} buffer` : ""}</p>
            : <p>Nothing is written: {written && ofRaw(written.before)} stays.</p>}
        </Unit>
      </ol>
    </>
  );
}

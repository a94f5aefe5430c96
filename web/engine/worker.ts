// A worker with one module. A request is {id, name, values}; the answer {id, value} or {id, error}. The first message
// brings the compiled module.
import { Korv } from "./module.ts";
import type { Picture } from "./types.ts";

let korv: Korv | undefined;

function transferred(value: unknown): Transferable[] {
  const holder = value as { rgba?: Picture["rgba"]; picture?: Picture } | null;
  const rgba = holder?.rgba ?? holder?.picture?.rgba;
  return rgba ? [rgba.buffer] : [];
}

self.onmessage = ({ data }: MessageEvent) => {
  if (data.module) {
    korv = new Korv(data.module, (text) => console.warn(text));
    return;
  }
  try {
    const method = (korv as unknown as Record<string, (...values: unknown[]) => unknown>)[data.name];
    const value = method.apply(korv, data.values);
    self.postMessage({ id: data.id, value }, { transfer: transferred(value) });
  } catch (error) {
    self.postMessage({ id: data.id, error: String((error as Error).message), fatal: error instanceof WebAssembly.RuntimeError });
  }
};

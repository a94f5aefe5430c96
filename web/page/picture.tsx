// A picture of the module on a canvas.
import { useLayoutEffect, useRef } from "preact/hooks";

import type { Picture } from "../engine/types.ts";

export function Canvas(props: { picture: Picture | undefined; label: string; name?: string }) {
  const canvas = useRef<HTMLCanvasElement>(null);
  useLayoutEffect(() => {
    const element = canvas.current!, picture = props.picture;
    if (picture && picture.width > 0 && picture.height > 0) {
      if (element.width !== picture.width || element.height !== picture.height) {
        element.width = picture.width;
        element.height = picture.height;
      }
      const opaque = picture.rgba.slice();
      for (let i = 3; i < opaque.length; i += 4) {
        opaque[i] = 255;
      }
      element.getContext("2d")!.putImageData(new ImageData(opaque, picture.width, picture.height), 0, 0);
    }
  }, [props.picture]);
  return <canvas ref={canvas} role="img" aria-label={props.label} id={props.name} width={1} height={1} />;
}

// Where two pictures of one size differ: black where they do not, from yellow (little) to red (much).
export function difference(a: Picture, b: Picture): { map: Picture; pixels: number; largest: number } | undefined {
  if (a.width !== b.width || a.height !== b.height) {
    return undefined;
  }
  const rgba = new Uint8ClampedArray(a.rgba.length);
  let pixels = 0, largest = 0;
  for (let i = 0; i < rgba.length; i += 4) {
    let most = 0;
    for (let channel = 0; channel < 3; ++channel) {
      most = Math.max(most, Math.abs(a.rgba[i + channel] - b.rgba[i + channel]));
    }
    if (most > 0) {
      ++pixels;
      largest = Math.max(largest, most);
      rgba[i] = 255;
      rgba[i + 1] = Math.max(0, 220 - 3 * most);
    } else {
      // What is equal shows dimly, so that one sees where one is.
      const grey = (a.rgba[i] + a.rgba[i + 1] + a.rgba[i + 2]) / 18;
      rgba[i] = rgba[i + 1] = rgba[i + 2] = grey;
    }
    rgba[i + 3] = 255;
  }
  return { map: { width: a.width, height: a.height, rgba }, pixels, largest };
}

export function toPng(picture: Picture): Promise<Blob> {
  const canvas = document.createElement("canvas");
  canvas.width = picture.width;
  canvas.height = picture.height;
  const opaque = picture.rgba.map((value, i) => (i % 4 === 3 ? 255 : value)) as Picture["rgba"];
  canvas.getContext("2d")!.putImageData(new ImageData(opaque, picture.width, picture.height), 0, 0);
  return new Promise((resolve, reject) => canvas.toBlob((blob) => (blob ? resolve(blob) : reject(new Error("no PNG"))), "image/png"));
}

// The tour's picture: the triangle on its target, with corners to be moved and what a step points at.
import { useEffect, useRef } from "preact/hooks";

import type { Tour, TourVertex } from "../../engine/types.ts";
import { held, kHeight, kNames, kWidth } from "./triangle.ts";
import { pictureAfter } from "./reckoning.ts";

export interface Pointed {
  row?: { y: number; left: number; right: number; dominant: number; other: number };
  pixel?: { x: number; y: number };
  drawn(y: number): boolean;
}

export function TourStage({ tour, vertices, pointed, onVertex, onPixel }: {
  tour: Tour | undefined; vertices: TourVertex[]; pointed: Pointed; onVertex(index: number, x: number, y: number): void; onPixel(x: number, y: number): void;
}) {
  const canvas = useRef<HTMLCanvasElement>(null), box = useRef<SVGSVGElement>(null);
  const held_ = useRef<number | undefined>(undefined);
  useEffect(() => {
    if (tour) {
      canvas.current!.getContext("2d")!.putImageData(new ImageData(pictureAfter(tour, pointed.drawn), kWidth, kHeight), 0, 0);
    }
  }, [tour, pointed]);
  const at = (event: PointerEvent) => {
    const { left, top, width, height } = box.current!.getBoundingClientRect();
    return { x: ((event.clientX - left) / width) * kWidth, y: ((event.clientY - top) / height) * kHeight };
  };
  const onKey = (index: number) => (event: KeyboardEvent) => {
    const far = event.shiftKey ? 4 : event.altKey ? 0.125 : 1;
    const [dx, dy] = { ArrowLeft: [-far, 0], ArrowRight: [far, 0], ArrowUp: [0, -far], ArrowDown: [0, far] }[event.key] ?? [0, 0];
    if (dx !== 0 || dy !== 0) {
      onVertex(index, held("x", vertices[index].x + dx), held("y", vertices[index].y + dy));
      event.preventDefault();
      event.stopPropagation();
    }
  };
  const { row, pixel } = pointed;
  return (
    <div class="target">
      <canvas ref={canvas} id="picture" width={kWidth} height={kHeight} role="img" aria-label="What has been drawn" />
      <svg ref={box} viewBox={`0 0 ${kWidth} ${kHeight}`} role="group" aria-label="The triangle"
        onPointerDown={(event) => {
          if (held_.current === undefined) {
            const { x, y } = at(event);
            onPixel(Math.floor(x), Math.floor(y));
          }
        }}
        onPointerMove={(event) => {
          if (held_.current !== undefined) {
            const { x, y } = at(event);
            onVertex(held_.current, held("x", Math.round(x * 8) / 8), held("y", Math.round(y * 8) / 8));
          }
        }}
        onPointerUp={() => (held_.current = undefined)} onPointerCancel={() => (held_.current = undefined)}>
        <polygon class="outline" points={vertices.map(({ x, y }) => `${x},${y}`).join(" ")} />
        {row && (
          <>
            {row.right > row.left && <rect class="row-mark" x={row.left} y={row.y} width={row.right - row.left} height={1} />}
            <line class="edge-mark" x1={row.dominant} x2={row.dominant} y1={row.y - 0.5} y2={row.y + 1.5} />
            <line class="edge-mark" x1={row.other} x2={row.other} y1={row.y - 0.5} y2={row.y + 1.5} />
          </>
        )}
        {pixel && <rect class="pixel-mark" x={pixel.x} y={pixel.y} width={1} height={1} />}
        {vertices.map((vertex, i) => (
          <g key={i}>
            <circle class="corner" fill={vertex.colour} cx={vertex.x} cy={vertex.y} r={1.3} tabindex={0} role="button"
              aria-label={`Vertex ${kNames[i]} at ${vertex.x},${vertex.y}. Arrow keys move it.`} onKeyDown={onKey(i)}
              onPointerDown={(event) => {
                held_.current = i;
                box.current!.setPointerCapture(event.pointerId);
                event.stopPropagation();
              }} />
            <text x={vertex.x + (vertex.x > kWidth - 6 ? -3.6 : 1.8)} y={vertex.y + (vertex.y < 5 ? 3.4 : -1.2)} aria-hidden="true">{kNames[i]}</text>
          </g>
        ))}
      </svg>
    </div>
  );
}

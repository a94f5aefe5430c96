// Long lists, of which only the rows in sight are there. Rows come in pages, from a function.
import type { ComponentChildren } from "preact";
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";

const kRow = 20; // pixels
const kPage = 200; // rows
const kMostPixels = 8_000_000; // higher elements lose rows in some browsers

export function LongList<Row>(props: {
  label: string;
  count: number;
  version: unknown; // other rows from now on
  fetch(first: number, most: number): Promise<Row[]>;
  row(row: Row, index: number): ComponentChildren;
  marked?: number; // a row that is brought into sight
  onChoose?(row: Row, index: number): void;
}) {
  const box = useRef<HTMLDivElement>(null);
  const [top, setTop] = useState(0);
  const [height, setHeight] = useState(400);
  const [pages, setPages] = useState<Map<number, Row[]>>(new Map());
  const known = useRef<{ version: unknown; asked: Set<number> }>({ version: undefined, asked: new Set() });
  const pixels = Math.min(props.count * kRow, kMostPixels);
  const scale = (props.count * kRow) / Math.max(pixels, 1);

  useLayoutEffect(() => {
    const observer = new ResizeObserver(() => setHeight(box.current?.clientHeight ?? 0));
    observer.observe(box.current!);
    return () => observer.disconnect();
  }, []);

  useEffect(() => {
    if (props.marked !== undefined && box.current) {
      const at = (props.marked * kRow) / scale;
      if (at < box.current.scrollTop || at + kRow > box.current.scrollTop + box.current.clientHeight) {
        box.current.scrollTop = Math.max(0, at - box.current.clientHeight / 3);
      }
    }
  }, [props.marked, props.count]);

  const first = Math.max(0, Math.min(Math.floor((top * scale) / kRow), props.count - 1));
  const last = Math.min(props.count, first + Math.ceil(height / kRow) + 2);

  useEffect(() => {
    if (known.current.version !== props.version) {
      known.current = { version: props.version, asked: new Set() };
    }
    const current = known.current;
    for (let page = Math.floor(first / kPage); page * kPage < last; ++page) {
      if (!current.asked.has(page)) {
        current.asked.add(page);
        const fresh = current.asked.size === 1;
        props.fetch(page * kPage, Math.min(kPage, props.count - page * kPage)).then((rows) => {
          if (known.current === current) {
            setPages((before) => new Map(fresh ? [] : before).set(page, rows));
          }
        }, () => {});
      }
    }
  }, [props.version, first, last]);

  const rows: ComponentChildren[] = [];
  for (let i = first; i < last; ++i) {
    const row = pages.get(Math.floor(i / kPage))?.[i % kPage];
    rows.push(
      <div key={i} role="listitem" class={i === props.marked ? "row marked" : "row"} aria-setsize={props.count} aria-posinset={i + 1}
        onClick={() => row !== undefined && props.onChoose?.(row, i)}>
        {row === undefined ? "…" : props.row(row, i)}
      </div>,
    );
  }
  return (
    <div class="list" ref={box} tabIndex={0} role="list" aria-label={props.label} onScroll={(event) => setTop(event.currentTarget.scrollTop)}>
      <Spacer pixels={(first * kRow) / scale} />
      {rows}
      <Spacer pixels={Math.max(0, pixels - (first * kRow) / scale - rows.length * kRow)} />
    </div>
  );
}

// Height is set by script: the page's policy allows no styles in attributes.
function Spacer({ pixels }: { pixels: number }) {
  const element = useRef<HTMLDivElement>(null);
  useLayoutEffect(() => {
    element.current!.style.height = `${pixels}px`;
  }, [pixels]);
  return <div ref={element} aria-hidden="true" />;
}

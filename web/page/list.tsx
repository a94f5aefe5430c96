// Long lists, of which only the rows in sight are there. Rows come in pages, from a function. The arrow keys move
// among them, Enter chooses one.
import type { ComponentChildren } from "preact";
import { useEffect, useId, useLayoutEffect, useRef, useState } from "preact/hooks";

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
  const id = useId();
  const box = useRef<HTMLDivElement>(null);
  const [top, setTop] = useState(0);
  const [height, setHeight] = useState(400);
  const [active, setActive] = useState(0);
  const [pages, setPages] = useState<Map<number, Row[]>>(new Map());
  const known = useRef<{ version: unknown; asked: Set<number> }>({ version: undefined, asked: new Set() });
  const pixels = Math.min(props.count * kRow, kMostPixels);
  const scale = (props.count * kRow) / Math.max(pixels, 1);

  useLayoutEffect(() => {
    const observer = new ResizeObserver(() => setHeight(box.current?.clientHeight ?? 0));
    observer.observe(box.current!);
    return () => observer.disconnect();
  }, []);

  const bring = (row: number, part: number) => {
    const at = (row * kRow) / scale, element = box.current!;
    if (at < element.scrollTop || at + kRow > element.scrollTop + element.clientHeight) {
      element.scrollTop = Math.max(0, at - element.clientHeight * part);
    }
  };
  useEffect(() => {
    if (props.marked !== undefined && box.current) {
      setActive(props.marked);
      bring(props.marked, 1 / 3);
    }
  }, [props.marked, props.count, height > 0]);

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

  const rowAt = (index: number) => pages.get(Math.floor(index / kPage))?.[index % kPage];
  const choose = (index: number) => {
    const row = rowAt(index);
    if (row !== undefined && getSelection()?.isCollapsed !== false) {
      setActive(index);
      props.onChoose?.(row, index);
    }
  };
  const onKey = (event: KeyboardEvent) => {
    const page = Math.max(1, Math.floor(height / kRow) - 1);
    const moves: Record<string, number> = {
      ArrowDown: active + 1, ArrowUp: active - 1, PageDown: active + page, PageUp: active - page, Home: 0, End: props.count - 1,
    };
    if (event.ctrlKey || event.metaKey || event.altKey) {
      return;
    }
    if (event.key in moves && props.count > 0) {
      const next = Math.max(0, Math.min(props.count - 1, moves[event.key]));
      setActive(next);
      bring(next, moves[event.key] > active ? 0.9 : 0.1);
    } else if ((event.key === "Enter" || event.key === " ") && props.onChoose) {
      choose(active);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  };

  const chosen = props.onChoose !== undefined;
  const rows: ComponentChildren[] = [];
  for (let i = first; i < last; ++i) {
    const row = rowAt(i);
    rows.push(
      <div key={i} id={`${id}-${i}`} role={chosen ? "option" : "listitem"} aria-setsize={props.count} aria-posinset={i + 1}
        class={["row", i === props.marked && "marked", i === active && "active", chosen && "choice"].filter(Boolean).join(" ")}
        aria-selected={chosen ? i === props.marked : undefined} onClick={() => choose(i)}>
        {row === undefined ? "…" : props.row(row, i)}
      </div>,
    );
  }
  return (
    <div class="list" ref={box} tabIndex={0} role={chosen ? "listbox" : "list"} aria-label={props.label} onKeyDown={onKey}
      aria-activedescendant={chosen && active >= first && active < last ? `${id}-${active}` : undefined}
      onScroll={(event) => setTop(event.currentTarget.scrollTop)}>
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

// A small field of a colour. It is set by script: the page's policy allows no styles in attributes.
import { useLayoutEffect, useRef } from "preact/hooks";

export function Swatch({ colour }: { colour: string }) {
  const element = useRef<HTMLSpanElement>(null);
  useLayoutEffect(() => {
    element.current!.style.backgroundColor = colour;
  }, [colour]);
  return <span class="swatch" ref={element} aria-hidden="true" />;
}

// What the page shows, kept in its address behind the #, so that the browser's own buttons go back and forth in it, and
// a copied address shows the same.
import { useEffect, useState } from "preact/hooks";

export type Settings = Record<string, string>;

export interface Address {
  view: string;
  settings: Settings;
}

export function parseAddress(hash: string): Address {
  const [view, rest = ""] = hash.replace(/^#/, "").split("?", 2);
  return { view, settings: Object.fromEntries(new URLSearchParams(rest)) };
}

export function formatAddress({ view, settings }: Address): string {
  const kept = Object.entries(settings).filter(([, value]) => value !== "");
  return `#${view}${kept.length > 0 ? `?${new URLSearchParams(kept)}` : ""}`;
}

const changed = new EventTarget();
let current = parseAddress(location.hash);

// A step is worth going back to; what moves smoothly, as an angle, is not. Of many quick steps, as a key makes that is
// held down, only the first is.
export type Move = "step" | "quick" | "smooth";
const kQuick = 700; // milliseconds
let latestQuick = -Infinity;

// Browsers refuse a page that writes its address more than some hundred times in half a minute: while something moves,
// the address follows at a distance.
const kFollow = 400; // milliseconds
let following: ReturnType<typeof setTimeout> | undefined;

function follow(): void {
  clearTimeout(following);
  following = undefined;
  history.replaceState(null, "", formatAddress(current));
}

// Goes there. What is worth going back to gets a place of its own in the browser's history.
export function goTo(address: Address, move: Move): void {
  const hash = formatAddress(address);
  if (hash === formatAddress(current)) {
    return;
  }
  const now = performance.now(), held = move === "quick" && now - latestQuick < kQuick;
  latestQuick = move === "quick" ? now : -Infinity;
  if (move === "smooth" || held) {
    current = parseAddress(hash);
    following ??= setTimeout(follow, kFollow);
  } else {
    if (following !== undefined) {
      follow();
    }
    current = parseAddress(hash);
    history.pushState(null, "", hash);
  }
  changed.dispatchEvent(new Event("change"));
}

export function useAddress(): Address {
  const [address, set] = useState(current);
  useEffect(() => {
    const show = () => set(current);
    const read = () => {
      clearTimeout(following);
      following = undefined;
      current = parseAddress(location.hash);
      show();
    };
    window.addEventListener("popstate", read);
    window.addEventListener("hashchange", read);
    changed.addEventListener("change", show);
    return () => {
      window.removeEventListener("popstate", read);
      window.removeEventListener("hashchange", read);
      changed.removeEventListener("change", show);
    };
  }, []);
  return address;
}

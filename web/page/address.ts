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

// Goes there. A step that is worth going back to gets a place of its own in the browser's history; what moves smoothly,
// as an angle, replaces the present one.
export function goTo(address: Address, step: boolean): void {
  const hash = formatAddress(address);
  if (hash === location.hash) {
    return;
  }
  if (step) {
    history.pushState(null, "", hash);
  } else {
    history.replaceState(null, "", hash);
  }
  changed.dispatchEvent(new Event("change"));
}

export function useAddress(): Address {
  const [address, set] = useState(() => parseAddress(location.hash));
  useEffect(() => {
    const read = () => set(parseAddress(location.hash));
    window.addEventListener("popstate", read);
    window.addEventListener("hashchange", read);
    changed.addEventListener("change", read);
    return () => {
      window.removeEventListener("popstate", read);
      window.removeEventListener("hashchange", read);
      changed.removeEventListener("change", read);
    };
  }, []);
  return address;
}

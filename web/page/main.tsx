import { render } from "preact";
import { useEffect, useState } from "preact/hooks";

import { Engine } from "../engine/engine.ts";
import type { Catalogue } from "../engine/types.ts";
import { goTo, useAddress } from "./address.ts";
import { Inspector } from "./inspector.tsx";
import { Laboratory } from "./laboratory.tsx";
import { Tour } from "./tour.tsx";

declare const KORV_WORKER: string;

const kViews = [
  { name: "laboratory", title: "Laboratory", about: "scenes and models on each chip" },
  { name: "inspector", title: "Inspector", about: "captures, step by step" },
  { name: "tour", title: "Tour", about: "one triangle, from vertices to pixels" },
];

// A capture that the page was made with.
function ownCapture(): File | undefined {
  const element = document.getElementById("capture");
  if (element === null) {
    return undefined;
  }
  return new File([Uint8Array.from(atob(element.textContent!), (c) => c.charCodeAt(0))], element.dataset.name ?? "capture");
}

async function compiledModule(): Promise<WebAssembly.Module> {
  const text = document.getElementById("module")!.textContent!;
  const packed = Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("deflate-raw"));
  return WebAssembly.compile(await new Response(stream).arrayBuffer());
}

function Theme() {
  const [theme, set] = useState("auto");
  useEffect(() => {
    document.documentElement.dataset.theme = theme;
  }, [theme]);
  const next = { auto: "light", light: "dark", dark: "auto" }[theme] as string;
  return (
    <button type="button" class="quiet" onClick={() => set(next)} title={`Colours: ${theme}. Switches to ${next}.`}>
      {{ auto: "◐", light: "☀", dark: "☾" }[theme]} <span class="long">{theme}</span>
    </button>
  );
}

function App({ catalogue, engines, capture }: { catalogue: Catalogue; engines: Engine[]; capture?: File }) {
  const address = useAddress();
  const usual = capture ? "inspector" : "laboratory";
  const view = kViews.some(({ name }) => name === address.view) ? address.view : usual;
  useEffect(() => {
    document.title = `KORV32 ${kViews.find(({ name }) => name === view)!.title}`;
  }, [view]);
  return (
    <>
      <header>
        <h1>KORV32</h1>
        <nav aria-label="Views">
          {kViews.map(({ name, title, about }) => (
            <a key={name} href={`#${name}`} title={about} aria-current={view === name ? "page" : undefined}
              onClick={(event) => {
                event.preventDefault();
                goTo({ view: name, settings: {} }, "step");
              }}>
              {title}
            </a>
          ))}
        </nav>
        <span class="version">{catalogue.version}</span>
        <Theme />
      </header>
      {view === "inspector" && <Inspector engine={engines[2]} catalogue={catalogue} settings={address.settings} capture={capture} />}
      {view === "tour" && <Tour engine={engines[3]} catalogue={catalogue} settings={address.settings} />}
      {view === "laboratory" && <Laboratory catalogue={catalogue} engines={engines} settings={address.settings} />}
    </>
  );
}

async function start(): Promise<void> {
  const page = document.getElementById("page")!;
  try {
    const module = await compiledModule();
    const script = URL.createObjectURL(new Blob([KORV_WORKER], { type: "text/javascript" }));
    const engines = [0, 1, 2, 3].map(() => new Engine(module, script));
    const catalogue = await engines[0].ask.catalogue();
    render(<App catalogue={catalogue} engines={engines} capture={ownCapture()} />, (page.replaceChildren(), page));
  } catch (error) {
    page.textContent = `KORV32 cannot start in this browser: ${(error as Error).message}`;
  }
}

void start();

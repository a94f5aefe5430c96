// Makes korv.html of web/page and the module: node web/tools/build.mjs. One file that needs no other and asks for none.
import { createHash } from "node:crypto";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { deflateRawSync } from "node:zlib";

const kMostBytes = 4 << 20;

const web = join(dirname(fileURLToPath(import.meta.url)), "..");
const output = join(process.env.KORV_BUILD ?? join(web, "../build"), "web");

// Packages lie beside what is built of them.
const { build } = createRequire(join(output, "packages"))("esbuild");

const common = { nodePaths: [join(output, "node_modules")], bundle: true, minify: true, write: false, target: "es2022", legalComments: "none" };

async function bundled(entry, options = {}) {
  const result = await build({ ...common, entryPoints: [join(web, entry)], format: "iife", ...options });
  return result.outputFiles[0].text.trim();
}

// The worker's code is a text in the page's.
const worker = await bundled("engine/worker.ts");
const script = await bundled("page/main.tsx", {
  jsx: "automatic",
  jsxImportSource: "preact",
  define: { KORV_WORKER: JSON.stringify(worker) },
});
const style = await bundled("page/style.css", { loader: { ".css": "css" } });
const module = deflateRawSync(readFileSync(join(output, "web/module/korv.wasm")), { level: 9 }).toString("base64");

const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
const safe = (text) => text.replaceAll("</script", "<\\/script").replaceAll("<!--", "<\\!--");
const code = safe(script);
// Nothing is fetched, from nowhere. Workers are made of the page's own text.
const policy = [
  "default-src 'none'",
  `script-src ${hash(code)} 'wasm-unsafe-eval'`,
  "worker-src blob:",
  `style-src ${hash(style)}`,
  "img-src blob: data:",
  "base-uri 'none'",
  "form-action 'none'",
].join("; ");

const page = readFileSync(join(web, "page/page.html"), "utf8")
  .replace("{policy}", () => policy)
  .replace("{style}", () => style)
  .replace("{module}", () => module)
  .replace("{script}", () => code);
if (Buffer.byteLength(page) > kMostBytes) {
  throw new Error(`korv.html has ${Buffer.byteLength(page)} bytes, expected ${kMostBytes} at most`);
}
mkdirSync(output, { recursive: true });
writeFileSync(join(output, "korv.html"), page);
console.log(`${join(output, "korv.html")}: ${Math.ceil(Buffer.byteLength(page) / 1024)} KB`);

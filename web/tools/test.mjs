// Bundles web/tests and runs them: node web/tools/test.mjs [NAME...]. Names are those of files, without ".test.ts".
import { spawnSync } from "node:child_process";
import { mkdirSync, readdirSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const web = join(dirname(fileURLToPath(import.meta.url)), "..");
const project = join(web, "..");
const made = join(process.env.KORV_BUILD ?? join(project, "build"), "web");
const output = join(made, "tests");
// Packages lie beside what is built of them.
const { build } = createRequire(join(made, "packages"))("esbuild");
mkdirSync(output, { recursive: true });
const names = process.argv.slice(2);
const files = readdirSync(join(web, "tests"))
  .filter((file) => file.endsWith(".test.ts"))
  .filter((file) => names.length === 0 || names.includes(file.replace(".test.ts", "")))
  .sort();
await build({
  entryPoints: files.map((file) => join(web, "tests", file)),
  outdir: output,
  outExtension: { ".js": ".mjs" },
  bundle: true,
  platform: "node",
  format: "esm",
  packages: "external",
  target: "node18",
});
// Two files at a time, where Node can be told so.
const [major, minor] = process.versions.node.split(".").map(Number);
const atOnce = major > 20 || (major === 20 && minor >= 10);
const { status } = spawnSync(
  process.execPath,
  ["--test", ...(atOnce ? ["--test-concurrency=2"] : []), "--test-reporter=spec", ...files.map((file) => join(output, file.replace(/ts$/, "mjs")))],
  { stdio: "inherit", env: { ...process.env, KORV_PROJECT: project } },
);
process.exit(status ?? 1);

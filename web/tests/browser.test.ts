// The page in a real browser, opened from disk.
import assert from "node:assert/strict";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { after, before, test } from "node:test";

import puppeteer, { type Browser, type Page } from "puppeteer-core";

import { build, newModule, noTool, page as file, project, rgbOf, runTool, temporaryFolder } from "./rig.ts";

const chromium = ["/usr/bin/chromium", "/usr/bin/chromium-browser"].find((path) => existsSync(path));
const skip = chromium === undefined ? "there is no Chromium" : !existsSync(file) ? "the page is not built" : false;
const screenshots = join(build, "web/screenshots");
const korv = newModule();
const { chips, scenes } = korv.catalogue();

let browser: Browser;
let complaints: string[] = []; // on the console, and requests that left the page

before(async () => {
  if (skip === false) {
    browser = await puppeteer.launch({
      executablePath: chromium, headless: true, args: ["--no-sandbox", "--disable-gpu", "--force-color-profile=srgb"],
    });
    mkdirSync(screenshots, { recursive: true });
  }
});
after(async () => {
  await browser?.close();
});

async function open(hash = "", width = 1280, height = 860, path = file): Promise<Page> {
  const page = await browser.newPage();
  complaints = [];
  page.on("console", (message) => {
    // The test reads the canvas again and again; the page never does.
    if (!message.text().startsWith("Canvas2D: Multiple readback")) {
      complaints.push(`${message.type()}: ${message.text()}`);
    }
  });
  page.on("pageerror", (error) => complaints.push(String(error)));
  page.on("request", (request) => {
    if (!/^(file|data|blob):/.test(request.url())) {
      complaints.push(`request: ${request.url()}`);
    }
  });
  await page.setViewport({ width, height });
  await page.goto(`file://${path}${hash}`);
  await page.waitForSelector("header");
  return page;
}

// Pixels of a canvas, when it shows what the page was last asked for.
async function pixels(page: Page): Promise<{ width: number; height: number; rgba: Uint8ClampedArray }> {
  const found = await page.$eval("#picture", (element) => {
    const canvas = element as HTMLCanvasElement;
    const { data } = canvas.getContext("2d")!.getImageData(0, 0, canvas.width, canvas.height);
    let text = "";
    for (let i = 0; i < data.length; i += 0x8000) {
      text += String.fromCharCode(...data.subarray(i, i + 0x8000));
    }
    return { width: canvas.width, height: canvas.height, bytes: btoa(text) };
  });
  return { width: found.width, height: found.height, rgba: new Uint8ClampedArray(Buffer.from(found.bytes, "base64")) };
}

const said = (page: Page, selector: string) => page.$eval(selector, (element) => element.textContent ?? "");

test("every chip and scene on the canvas", { skip }, async (all) => {
  const page = await open("#laboratory?size=320x240");
  for (const scene of scenes) {
    await all.test(scene.name, async () => {
      for (const chip of scene.chips) {
        await page.evaluate((hash) => (location.hash = hash), `#laboratory?chip=${chip}&scene=${scene.name}&size=320x240`);
        await page.waitForFunction((label) => document.querySelector("#picture")?.getAttribute("aria-label") === label, {},
          `${scene.name} on ${chip}`);
        const expected = korv.frame({ chip, scene: scene.name, width: 320, height: 240 }).picture;
        // The picture follows its label when it is drawn.
        let equal = false;
        for (let attempt = 0; attempt < 200 && !equal; ++attempt) {
          const shown = await pixels(page);
          equal = shown.width === expected.width && rgbOf(shown.rgba).equals(rgbOf(expected.rgba));
          if (!equal) {
            await new Promise((resolve) => setTimeout(resolve, 25));
          }
        }
        assert.ok(equal, `${scene.name} on ${chip}`);
      }
    });
  }
  assert.deepEqual(complaints, []);
  await page.close();
});

test("keys turn the picture, and the browser's own button goes back", { skip }, async () => {
  const page = await open("#laboratory?chip=tx&scene=crossing&size=320x240");
  await page.waitForFunction(() => document.querySelector(".bar output")?.textContent?.includes("words"));
  const first = await pixels(page);
  await page.focus(".pictures");
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("ArrowUp");
  await page.keyboard.press("+");
  await page.waitForFunction(() => location.hash.includes("yaw=5") && location.hash.includes("pitch=5") && location.hash.includes("zoom=1.1"));
  await page.waitForNetworkIdle();
  await page.keyboard.press("Home");
  await page.waitForFunction(() => !location.hash.includes("yaw="));
  await page.select("aside select", "permedia2");
  await page.waitForFunction(() => location.hash.includes("chip=permedia2"));
  await page.goBack();
  await page.waitForFunction(() => location.hash.includes("chip=tx"));
  await page.waitForFunction(() => document.querySelector("#picture")?.getAttribute("aria-label") === "crossing on tx");
  await page.waitForFunction(() => document.querySelector(".bar output")?.textContent?.includes("words"));
  for (let attempt = 0; attempt < 100 && !rgbOf((await pixels(page)).rgba).equals(rgbOf(first.rgba)); ++attempt) {
    await new Promise((resolve) => setTimeout(resolve, 25));
  }
  assert.ok(rgbOf((await pixels(page)).rgba).equals(rgbOf(first.rgba)));
  assert.deepEqual(complaints, []);
  await page.close();
});

test("all that can be used is reached by the tab key, and shows its focus", { skip }, async () => {
  for (const view of ["laboratory", "inspector"]) {
    const page = await open(`#${view}`);
    await page.waitForSelector(view === "laboratory" ? ".row" : ".empty");
    const reached = new Set<string>();
    let unseen = "";
    for (let i = 0; i < 60; ++i) {
      await page.keyboard.press("Tab");
      const [path, visible] = await page.evaluate(() => {
        const element = document.activeElement as HTMLElement;
        const style = getComputedStyle(element.closest(".file, .segments label") ? (element.closest(".file") ?? element.nextElementSibling ?? element) : element);
        const all = [...document.querySelectorAll("a, button, input, select, summary, [tabindex='0']")];
        return [String(all.indexOf(element)), style.outlineStyle !== "none" || element === document.body] as const;
      });
      unseen = visible ? unseen : path;
      reached.add(path);
    }
    // One of each group of radio buttons and of each row of tabs takes the focus, the arrow keys do the rest.
    const wanted = await page.evaluate(() => {
      const all = [...document.querySelectorAll<HTMLElement>("a, button, input, select, summary, [tabindex='0']")];
      return all.flatMap((element, i) => {
        const input = element as HTMLInputElement;
        const left = (input.type === "radio" && !input.checked) || element.tabIndex < 0 || input.disabled ||
          element.closest("details:not([open]) :not(summary)") !== null || element.hidden;
        return left ? [] : [`${i}`];
      });
    });
    assert.deepEqual(wanted.filter((index) => !reached.has(index)), [], view);
    assert.equal(unseen, "", `${view}: an element without a visible focus`);
    assert.deepEqual(complaints, []);
    await page.close();
  }
});

test("a capture opens and is walked through", { skip: skip || noTool }, async () => {
  const folder = temporaryFolder();
  const capture = join(folder, "triangles.korv");
  runTool("replay", join(project, "scenes/triangles-tx.json"), "--capture", capture);
  const page = await open("#inspector");
  const input = (await page.waitForSelector("input[type=file]"))! as Awaited<ReturnType<typeof page.$<"input">>>;
  await input!.uploadFile(capture);
  await page.waitForSelector("#picture");
  korv.open(readFileSync(capture));
  for (const [place, step] of [["batch:3", false], ["step:8", false], ["start", false], ["end", true]] as const) {
    await page.$eval("input[name=place]", (element, text) => ((element as HTMLInputElement).value = text), place);
    await page.click(".bar form button");
    const here = korv.go(place);
    await page.waitForFunction((word) => document.querySelector(".bar output")?.textContent?.startsWith(`word ${word},`), {},
      here.word.toLocaleString("en"));
    if (step) {
      const expected = korv.surface(""), shown = await pixels(page);
      assert.ok(rgbOf(shown.rgba).equals(rgbOf(expected.rgba)), "the picture at the end");
    }
  }
  await page.screenshot({ path: join(screenshots, "inspector.png") });

  const bad = join(folder, "bad.korv");
  for (const bytes of [Buffer.from("no capture at all"), readFileSync(capture).subarray(0, 40), Buffer.alloc(0)]) {
    writeFileSync(bad, bytes);
    await input!.uploadFile(bad);
    await page.waitForFunction(() => document.querySelector("[role=alert]")?.textContent?.startsWith("'bad.korv'"));
    assert.ok((await said(page, ".about")).startsWith("triangles.korv"), "the capture before stays");
  }
  assert.deepEqual(complaints, []);
  await page.close();
});

test("a report opens with its capture", { skip: skip || noTool }, async () => {
  const folder = temporaryFolder();
  const capture = join(folder, "knot.korv"), report = join(folder, "report.html");
  runTool("render", join(project, "scenes/cube.obj"), "--chip", "tx", "--size", "64x48", "--capture", capture, "-o", join(folder, "p.png"));
  runTool("inspect", capture, "--page", file, "-o", report);
  const page = await open("", 1280, 860, report);
  await page.waitForSelector("#picture");
  assert.ok((await said(page, ".about")).startsWith("knot.korv"));
  korv.open(readFileSync(capture));
  korv.go("end");
  const expected = rgbOf(korv.surface("").rgba);
  for (let attempt = 0; attempt < 100 && !rgbOf((await pixels(page)).rgba).equals(expected); ++attempt) {
    await new Promise((resolve) => setTimeout(resolve, 25));
  }
  assert.ok(rgbOf((await pixels(page)).rgba).equals(expected));
  assert.deepEqual(complaints, []);
  await page.close();
});

test("bad models get a line", { skip }, async () => {
  const folder = temporaryFolder();
  const page = await open();
  const input = (await page.waitForSelector("input[type=file]"))! as Awaited<ReturnType<typeof page.$<"input">>>;
  for (const [name, text, line] of [
    ["broken.obj", "v 1 2\nf 1 2 3\n", "broken.obj:1"],
    ["notes.png", "text", "expected a .obj file"],
  ]) {
    writeFileSync(join(folder, name), text);
    await input!.uploadFile(join(folder, name));
    await page.waitForFunction((wanted) => document.querySelector("[role=alert]")?.textContent?.includes(wanted), {}, line);
  }
  await input!.uploadFile(join(project, "scenes/cube.obj"));
  await page.waitForFunction(() => document.querySelector("#picture")?.getAttribute("aria-label") === "model on tx");
  await page.waitForFunction(() => document.querySelector(".bar output")?.textContent?.includes("words"));
  assert.deepEqual(complaints, []);
  await page.close();
});

test("an accessibility checker finds nothing serious, and each view has its picture taken", { skip }, async () => {
  const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
  const views: [string, string, number, boolean][] = [
    ["laboratory", "#laboratory", 1280, false],
    ["laboratory-dark", "#laboratory?chip=permedia2&scene=texture-fog", 1280, true],
    ["laboratory-pair", "#laboratory?chip=permedia2&beside=tx-delta&scene=texture-fog", 1024, false],
    ["laboratory-tablet", "#laboratory?chip=mx-delta&scene=tiles", 768, false],
    ["inspector-empty", "#inspector", 1024, true],
  ];
  for (const [name, hash, width, dark] of views) {
    const page = await open(hash, width);
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: dark ? "dark" : "light" }]);
    await page.waitForSelector(hash.startsWith("#lab") ? ".row code" : ".empty");
    await page.screenshot({ path: join(screenshots, `${name}.png`) });
    const own = complaints.slice();
    const found = (await page.evaluate(`${axe}; axe.run()`)) as {
      violations: { id: string; impact: string; nodes: { html: string }[] }[];
    };
    const serious = found.violations.filter(({ impact }) => impact === "serious" || impact === "critical");
    assert.deepEqual(serious.map(({ id, nodes }) => `${name}: ${id}: ${nodes[0].html.slice(0, 120)}`), []);
    const wide = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
    assert.equal(wide, 0, `${name}: it is wider than the window`);
    assert.deepEqual(own, []);
    await page.close();
  }
});

test("the page says that it may ask for nothing", { skip: existsSync(file) ? false : "the page is not built" }, () => {
  const text = readFileSync(file, "utf8");
  assert.ok(text.length < 4 << 20);
  const policy = /Content-Security-Policy" content="([^"]*)"/.exec(text)![1];
  assert.match(policy, /default-src 'none'/);
  assert.doesNotMatch(policy, /https?:|unsafe-inline|'unsafe-eval'|\*/);
  assert.ok(chips.length === 9);
});

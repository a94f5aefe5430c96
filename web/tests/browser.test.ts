// The page in a real browser, opened from disk.
import assert from "node:assert/strict";
import { existsSync, mkdirSync, readFileSync, renameSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { after, before, test } from "node:test";

import puppeteer, { type Browser, type Page } from "puppeteer-core";

import { primitiveEnds, stepFrom, type Unit } from "../page/steps.ts";
import { pictureAfter } from "../page/tour/reckoning.ts";
import { kChips, requestOf } from "../page/tour/triangle.ts";
import { build, newModule, noTool, page as file, project, readPng, rgbOf, runTool, temporaryFolder } from "./rig.ts";

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

// Whether the canvas comes to show a picture.
async function shows(page: Page, expected: { width: number; rgb: Buffer }): Promise<boolean> {
  for (let attempt = 0; attempt < 400; ++attempt) {
    const shown = (await page.$("#picture")) ? await pixels(page) : undefined;
    if (shown?.width === expected.width && rgbOf(shown.rgba).equals(expected.rgb)) {
      return true;
    }
    await new Promise((resolve) => setTimeout(resolve, 25));
  }
  return false;
}
const pictureOf = (picture: { width: number; rgba: Uint8ClampedArray }) => ({ width: picture.width, rgb: rgbOf(picture.rgba) });

test("every chip and scene on the canvas is the tool's PNG", { skip: skip || noTool }, async (all) => {
  const folder = temporaryFolder();
  runTool("demo", "-o", folder, "--plain", "--size", "320x240");
  const page = await open("#laboratory?size=320x240");
  for (const scene of scenes) {
    await all.test(scene.name, async () => {
      for (const chip of scene.chips) {
        await page.evaluate((hash) => (location.hash = hash), `#laboratory?chip=${chip}&scene=${scene.name}&size=320x240`);
        await page.waitForFunction((label) => document.querySelector("#picture")?.getAttribute("aria-label") === label, {},
          `${scene.name} on ${chip}`);
        // The picture follows its label when it is drawn.
        assert.ok(await shows(page, readPng(join(folder, `${chip}-${scene.name}.png`))), `${scene.name} on ${chip}`);
      }
    });
  }
  // What is saved is that picture.
  const session = await page.createCDPSession();
  await session.send("Browser.setDownloadBehavior", { behavior: "allow", downloadPath: folder, eventsEnabled: true });
  const done = new Promise<void>((resolve) => session.on("Browser.downloadProgress", ({ state }) => state === "completed" && resolve()));
  await page.evaluate(() => (location.hash = "#laboratory?chip=permedia2&scene=texture-fog&size=320x240"));
  assert.ok(await shows(page, readPng(join(folder, "permedia2-texture-fog.png"))));
  renameSync(join(folder, "permedia2-texture-fog.png"), join(folder, "expected.png"));
  await page.evaluate(() => [...document.querySelectorAll("button")].find((button) => button.textContent === "Save PNG")!.click());
  await done;
  assert.deepEqual(readPng(join(folder, "permedia2-texture-fog.png")), readPng(join(folder, "expected.png")));
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

test("a turn goes on, writes the address seldom, and stops where the address says", { skip }, async () => {
  const page = await open("#laboratory?chip=tx&scene=crossing&size=320x240");
  await page.waitForFunction(() => document.querySelector(".bar output")?.textContent?.includes("words"));
  await page.evaluate(() => {
    const counts = { pictures: 0, addresses: 0, since: performance.now() };
    Object.assign(window, { counts });
    const put = CanvasRenderingContext2D.prototype.putImageData, replace = history.replaceState;
    CanvasRenderingContext2D.prototype.putImageData = function (...all: unknown[]) {
      ++counts.pictures;
      (put as (...all: unknown[]) => void).apply(this, all);
    };
    history.replaceState = function (...all) {
      ++counts.addresses;
      replace.apply(this, all);
    };
  });
  await page.focus(".pictures");
  await page.keyboard.press("Space");
  type Counts = { pictures: number; addresses: number; since: number };
  const counted = () => page.evaluate(() => {
    const { pictures, addresses, since } = (window as unknown as { counts: Counts }).counts;
    return { pictures, addresses, seconds: (performance.now() - since) / 1000 };
  });
  await page.waitForFunction(() => (window as unknown as { counts: Counts }).counts.pictures > 250);
  const { addresses, seconds } = await counted();
  assert.ok(addresses > 0 && addresses <= seconds * 2.5 + 1, `${addresses} addresses in ${seconds} s`);
  await page.keyboard.press("Space");
  await page.waitForFunction(() => document.querySelector(".bar button")?.getAttribute("aria-pressed") === "false");
  // Anew from what the address says in the end: the same picture. A timer behind the address's own.
  await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 450)));
  const turned = await pixels(page), hash = await page.evaluate(() => location.hash);
  assert.match(hash, /yaw=/);
  await page.close();
  const again = await open(hash);
  assert.ok(await shows(again, pictureOf(turned)));
  assert.deepEqual(complaints, []);
  await again.close();
});

// Opens a capture in the inspector, and shows what an address says.
async function inspect(capture: string, hash = "#inspector", width = 1280, height = 860): Promise<Page> {
  const page = await open("#inspector", width, height);
  const input = (await page.waitForSelector("input[type=file]"))! as Awaited<ReturnType<typeof page.$<"input">>>;
  await input!.uploadFile(capture);
  await page.waitForSelector(".split");
  await page.evaluate((address) => (location.hash = address), hash);
  await settled(page);
  return page;
}
async function settled(page: Page): Promise<void> {
  await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 120)));
  await page.waitForFunction(() => document.querySelector(".steps output")?.getAttribute("aria-busy") !== "true");
}
let triangles = "";
function trianglesCapture(): string {
  if (triangles === "") {
    triangles = join(temporaryFolder(), "triangles.korv");
    runTool("replay", join(project, "scenes/triangles-tx.json"), "--capture", triangles);
  }
  return triangles;
}

const kTourSteps = ["vertices", "states", "setup", "words", "rows", "pixel"];

test("all that can be used is reached by the tab key, and shows its focus", { skip: skip || noTool }, async () => {
  const views = ["#laboratory", "#inspector", "#inspector?at=batch:4&tab=state&show=overdraw", "#inspector?at=end&tab=words&show=memory",
    "#inspector?at=end&tab=pixel&pixel=60,70", ...kTourSteps.map((step) => `#tour?step=${step}`)];
  for (const view of views) {
    const page = view.includes("at=") ? await inspect(trianglesCapture(), view) : await open(view);
    await page.waitForSelector(view.startsWith("#lab") ? ".row" : view.startsWith("#tour") ? ".page" : view.includes("at=") ? ".split" : ".empty");
    if (view.includes("tab=pixel")) {
      await page.waitForSelector(".moments");
    }
    const reached = new Set<string>();
    let unseen = "";
    const most = (await page.evaluate(() => document.querySelectorAll("a, button, input, select, summary, [tabindex='0']").length)) + 4;
    for (let i = 0; i < most && i < 160; ++i) {
      await page.keyboard.press("Tab");
      const [path, visible] = await page.evaluate(() => {
        const element = document.activeElement as HTMLElement;
        const style = getComputedStyle(element.closest(".file, .segments label") ? (element.closest(".file") ?? element.nextElementSibling ?? element) : element);
        const all = [...document.querySelectorAll("a, button, input, select, summary, [tabindex='0']")];
        return [String(all.indexOf(element)), style.outlineStyle !== "none" || style.strokeWidth === "0.7px" || element === document.body] as const;
      });
      unseen = visible ? unseen : path;
      reached.add(path);
    }
    // One of each group of radio buttons and of each row of tabs takes the focus, the arrow keys do the rest. Of long
    // tables it is enough that one goes on in them.
    const wanted = await page.evaluate(() => {
      const all = [...document.querySelectorAll<HTMLElement>("a, button, input, select, summary, [tabindex='0']")];
      return all.flatMap((element, i) => {
        const input = element as HTMLInputElement;
        const left = (input.type === "radio" && !input.checked) || element.tabIndex < 0 || input.disabled ||
          element.closest("details:not([open]) :not(summary)") !== null || element.hidden || element.closest("tbody, .stream, .moments li") !== null;
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
  const folder = temporaryFolder(), capture = trianglesCapture();
  const page = await inspect(capture);
  const input = (await page.$("input[type=file]"))! as Awaited<ReturnType<typeof page.$<"input">>>;
  const { total } = korv.open(readFileSync(capture));
  const ends = primitiveEnds(korv.timeline());
  const isAt = async (place: string) => {
    const here = korv.go(place);
    await page.waitForFunction((word) => document.querySelector(".steps output")?.textContent?.startsWith(`word ${word},`), {},
      here.word.toLocaleString("en"));
    assert.ok(await shows(page, pictureOf(korv.surface(""))), `the picture at ${place}`);
    return here;
  };
  for (const place of ["batch:3", "step:8", "end"]) {
    await page.$eval("input[name=place]", (element, text) => ((element as HTMLInputElement).value = text), place);
    await page.click(".steps form button");
    await isAt(place);
  }
  // By buttons and keys, back and forth; the browser's own button goes back.
  let here = korv.go("end");
  const press = async (direction: 1 | -1, unit: Unit, key: boolean) => {
    const place = stepFrom(here, total, ends, unit, direction);
    if (key) {
      await page.focus(".steps button");
      await page.keyboard.press(direction > 0 ? "ArrowRight" : "ArrowLeft");
    } else {
      await page.click(`.steps button[title="${direction > 0 ? "Right" : "Left"} arrow"]`);
    }
    here = await isAt(place);
    return place;
  };
  for (const [unit, direction, key] of [["batch", -1, true], ["batch", -1, false], ["batch", 1, true], ["primitive", -1, false], ["word", 1, true]] as const) {
    await page.select(".steps select", unit);
    await new Promise((resolve) => setTimeout(resolve, 800)); // quick steps are one in the browser's history
    await press(direction, unit, key);
  }
  const place = new URLSearchParams((await page.evaluate(() => location.hash)).split("?")[1]).get("at");
  await page.$eval("input[name=place]", (element) => ((element as HTMLInputElement).value = "batch:3"));
  await page.click(".steps form button");
  await isAt("batch:3");
  await page.goBack();
  await isAt(place!);
  // Played to the end.
  await page.select(".steps select", "batch");
  await page.evaluate(() => (location.hash = "#inspector?at=batch:31&by=batch"));
  await isAt("batch:31");
  await page.keyboard.press("p");
  await isAt("end");
  await page.waitForFunction(() => document.querySelector(".steps .wide-button")?.textContent?.includes("Play"));

  const bad = join(folder, "bad.korv");
  for (const [bytes, line, words] of [
    [Buffer.from("no capture at all"), /is no capture/, true], [readFileSync(capture).subarray(0, 40), /cut off before it began/, false], [Buffer.alloc(0), /is no capture/, true],
  ] as const) {
    writeFileSync(bad, bytes);
    await input!.uploadFile(bad);
    await page.waitForFunction((source) => new RegExp(`^'bad\\.korv'.*(${source})`).test(document.querySelector("[role=alert]")?.textContent ?? ""), {}, line.source);
    assert.ok((await said(page, ".about")).startsWith("triangles.korv"), "the capture before stays");
    assert.equal((await page.$("form[aria-label^=What]")) !== null, words, "what is no capture may be raw words");
  }
  // One that is damaged in its middle opens as far as it goes.
  const damaged = readFileSync(capture);
  damaged[Math.floor(damaged.length / 2)] ^= 0xff;
  writeFileSync(bad, damaged);
  await input!.uploadFile(bad);
  await page.waitForFunction(() => /^'bad\.korv' is damaged, and opened as far as it goes: /.test(document.querySelector("[role=alert]")?.textContent ?? ""));
  await settled(page);
  korv.open(damaged);
  assert.ok(korv.go("end").word > 100);
  assert.ok(await shows(page, pictureOf(korv.surface(""))));
  assert.deepEqual(complaints, []);
  await page.close();
});

test("captures of other chips open and go to their ends and back; damaged ones leave no blank page", { skip: skip || noTool }, async () => {
  const folder = temporaryFolder();
  const page = await open("#inspector");
  const input = (await page.waitForSelector("input[type=file]"))! as Awaited<ReturnType<typeof page.$<"input">>>;
  const press = (name: string) => page.$eval(`.steps button[aria-label="${name}"]`, (button) => (button as HTMLButtonElement).click());
  for (const script of ["blits-permedia2", "flip-tx", "textures-permedia-delta"]) {
    const capture = join(folder, `${script}.korv`);
    runTool("replay", join(project, `scenes/${script}.json`), "--capture", capture);
    await input!.uploadFile(capture);
    await page.waitForFunction((name) => document.querySelector(".about")?.textContent?.startsWith(name), {}, `${script}.korv`);
    korv.open(readFileSync(capture));
    korv.go("end");
    const expected = pictureOf(korv.surface(""));
    assert.ok(await shows(page, expected), script);
    await press("To the start");
    await page.waitForFunction(() => document.querySelector(".steps output")?.textContent?.startsWith("word 0,"));
    await press("To the end");
    assert.ok(await shows(page, expected), `${script} again`);
  }
  const whole = readFileSync(join(folder, "flip-tx.korv"));
  let state = 5;
  const dice = (most: number) => (state = (Math.imul(state, 1664525) + 1013904223) >>> 0) % most;
  for (let i = 0; i < 12; ++i) {
    const bytes = Buffer.from(whole);
    for (let n = 0; n < 3; ++n) {
      bytes[dice(i % 2 === 0 ? 400 : bytes.length)] = dice(256);
    }
    const bad = join(folder, `bad-${i}.korv`);
    writeFileSync(bad, i % 3 === 0 ? bytes.subarray(0, dice(bytes.length)) : bytes);
    await input!.uploadFile(bad);
    await page.waitForFunction((name) => document.querySelector("[role=alert]")?.textContent?.startsWith(`'${name}'`) ||
      document.querySelector(".about")?.textContent?.startsWith(name), {}, `bad-${i}.korv`);
    assert.ok((await said(page, "main")).length > 100);
  }
  assert.deepEqual(complaints, []);
  await page.close();
});

test("a pixel is clicked, and a line of its history leads there", { skip: skip || noTool }, async () => {
  const capture = trianglesCapture();
  const page = await inspect(capture, "#inspector?at=end", 1440, 1000);
  korv.open(readFileSync(capture));
  const { drawn } = korv.go("end");
  assert.ok(await shows(page, pictureOf(korv.surface(""))));
  const box = (await (await page.$("#picture"))!.boundingBox())!;
  const scale = Math.min(box.width / drawn!.width, box.height / drawn!.height);
  const at = (x: number, y: number) => [box.x + (box.width - drawn!.width * scale) / 2 + (x + 0.5) * scale, box.y + (box.height - drawn!.height * scale) / 2 + (y + 0.5) * scale] as const;
  await page.mouse.click(...at(60, 70));
  await page.waitForFunction(() => location.hash.includes("pixel=60%2C70"));
  await page.waitForSelector(".moments li");
  const { moments } = korv.why("", 60, 70);
  assert.equal(await page.$$eval(".moments li", (lines) => lines.length), moments.length);
  const last = moments.findLast(({ what }) => what === "drawn")!;
  await page.evaluate((text) => [...document.querySelectorAll<HTMLButtonElement>(".moments .link")].findLast((button) => button.textContent === text)!.click(), last.place);
  await page.waitForFunction((text) => new URLSearchParams(location.hash.split("?")[1]).get("at") === text, {}, last.place);
  await settled(page);
  korv.go(last.place);
  assert.ok(await shows(page, pictureOf(korv.surface(""))));
  // By keys.
  await page.focus(".stage .pictures");
  for (const key of ["ArrowRight", "ArrowDown", "Enter"] as const) {
    await page.keyboard.press(key);
  }
  await page.waitForFunction(() => location.hash.includes("pixel=61%2C71"));
  // Other pictures.
  for (const [show, picture] of [["depth", () => korv.depth()], ["overdraw", () => korv.overdraw("", "step:20")], ["wires", () => korv.wires("", "step:20")],
    ["memory", () => korv.part("frame", 1280, 640, 100, 50, "rgb565")]] as const) {
    await page.evaluate((hash) => (location.hash = hash), `#inspector?at=batch:20&show=${show}&since=step:20&base=1280&pitch=640&width=100&height=50&format=rgb565`);
    korv.go("batch:20");
    assert.ok(await shows(page, pictureOf(picture())), show);
  }
  assert.deepEqual(complaints, []);
  await page.close();
});

test("registers lead to the words that wrote them; words are searched, filtered and copied", { skip: skip || noTool }, async () => {
  const capture = trianglesCapture();
  const page = await inspect(capture, "#inspector?at=batch:6&tab=state");
  korv.open(readFileSync(capture));
  korv.go("batch:6");
  const render = korv.state().registers.find(({ name }) => name === "Render")!;
  await page.evaluate(() => (location.hash = "#inspector?at=batch:7&tab=state"));
  await settled(page);
  korv.go("batch:7");
  const now = korv.state().registers.filter(({ name, raw }) => raw !== undefined && name !== "");
  korv.go("batch:6");
  const before = new Map(korv.state().registers.map(({ name, raw }) => [name, raw]));
  const changed = now.filter(({ name, raw }) => before.get(name) !== raw).map(({ name }) => name);
  await page.waitForFunction((count) => document.querySelectorAll("tr.changed").length === count, {}, changed.length);
  assert.deepEqual(await page.$$eval("tr.changed th", (names) => names.map((name) => name.textContent)).then((names) => names.sort()), changed.sort());
  await page.evaluate(() => (location.hash = "#inspector?at=batch:6&tab=state"));
  await settled(page);
  await page.evaluate(() => [...document.querySelectorAll<HTMLElement>("tbody tr")].find((row) => row.querySelector("th")?.textContent === "Render")!
    .querySelector<HTMLButtonElement>("button.link")!.click());
  await page.waitForFunction((at) => new URLSearchParams(location.hash.split("?")[1]).get("at") === at, {}, render.writtenBy!);
  await page.waitForFunction((word) => document.querySelector(".panel .row.marked .number")?.textContent === word, {}, render.writtenBy!.split(":")[1]);
  // Search.
  await page.type(".panel input[type=search]", "continuenewsub");
  await page.click(".panel button[type=submit]");
  await page.waitForFunction(() => document.querySelector(".panel .row.marked .meaning")?.textContent?.includes("ContinueNewSub"));
  // Filter.
  await page.evaluate(() => (location.hash = "#inspector?at=end&tab=words&only=Render"));
  const count = korv.list("Render", false);
  await page.waitForFunction((text) => document.querySelector(".panel .search output")?.textContent === text, {}, `${count.toLocaleString("en")} lines`);
  await page.evaluate(() => (location.hash = "#inspector?at=end&tab=words&only=Rendr"));
  await page.waitForFunction(() => document.querySelector(".panel [role=alert]")?.textContent?.includes("nothing is called 'Rendr'"));
  // Copy.
  await page.evaluate(() => {
    Object.defineProperty(navigator, "clipboard", { value: { writeText: (text: string) => ((window as unknown as { copied: string }).copied = text) } });
    location.hash = "#inspector?at=batch:3&tab=words&by=batch&only=fifo,dma";
  });
  await settled(page);
  await page.waitForFunction(() => [...document.querySelectorAll("button")].some((button) => button.textContent === "Copy batch 3 as event text"));
  await page.evaluate(() => [...document.querySelectorAll("button")].find((button) => button.textContent === "Copy batch 3 as event text")!.click());
  await page.waitForFunction(() => (window as unknown as { copied?: string }).copied !== undefined);
  assert.equal(await page.evaluate(() => (window as unknown as { copied: string }).copied),
    runTool("dump", capture, "--from", "batch:3", "--to", "batch:4", "--only", "fifo,dma"));
  assert.deepEqual(complaints, []);
  await page.close();
});

test("raw words open when somebody says what they are for", { skip: skip || noTool }, async () => {
  const folder = temporaryFolder(), words = join(folder, "knot.words");
  runTool("render", join(project, "scenes/cube.obj"), "--chip", "permedia2", "--size", "320x240", "--words", words, "-o", join(folder, "p.png"));
  const page = await open("#inspector");
  const input = (await page.waitForSelector("input[type=file]"))! as Awaited<ReturnType<typeof page.$<"input">>>;
  await input!.uploadFile(words);
  await page.waitForSelector("form[aria-label^=What]");
  await page.select("form[aria-label^=What] select", "permedia2");
  await page.click("form[aria-label^=What] button");
  await page.waitForSelector(".split");
  korv.open(readFileSync(words), { chip: "permedia2", width: 640, height: 480, bits: 16, base: 0 });
  korv.go("end");
  assert.ok(await shows(page, pictureOf(korv.surface(""))));
  assert.deepEqual(complaints, []);
  await page.close();
});

test("the tour follows a triangle that is changed", { skip }, async () => {
  const page = await open("#tour");
  await page.waitForSelector(".page table");
  // A corner is dragged, and by keys.
  const corner = (await (await page.$(".corner"))!.boundingBox())!;
  await page.mouse.move(corner.x + corner.width / 2, corner.y + corner.height / 2);
  await page.mouse.down();
  await page.mouse.move(corner.x + 60, corner.y + 40, { steps: 3 });
  await page.mouse.up();
  await page.waitForFunction(() => /v0=/.test(location.hash));
  const dragged = await page.$eval("input[aria-label='x of A']", (element) => Number((element as HTMLInputElement).value));
  assert.ok(dragged > 15, `x is ${dragged}`);
  await page.$eval(".corner", (element) => (element as SVGElement).focus());
  await page.keyboard.press("ArrowRight");
  await page.waitForFunction((x) => Number(document.querySelector<HTMLInputElement>("input[aria-label='x of A']")?.value) === x, {}, dragged + 1);
  // Every step has its numbers, on each chip.
  for (const chip of kChips) {
    for (const step of kTourSteps) {
      await page.evaluate((hash) => (location.hash = hash), `#tour?chip=${chip}&step=${step}&on=smooth depth fog blend texture`);
      await page.waitForFunction((text) => document.querySelector(".journey [aria-current]")?.textContent?.toLowerCase().replace(/\W/g, "").includes(text), {}, step);
      await page.waitForFunction(() => document.querySelector(".page h2") !== null && !/NaN|undefined/.test(document.querySelector(".page")!.textContent!));
    }
    // What the unit blend makes is what is written.
    const request = requestOf({ chip, on: "smooth depth fog blend texture" });
    const { told, picture } = korv.tour(request);
    assert.ok(told.pixel?.stages?.blended);
    assert.ok(await shows(page, pictureOf(picture)), chip);
  }
  // Word by word the picture grows.
  await page.evaluate(() => (location.hash = "#tour?step=words&word=0"));
  const { told } = korv.tour(requestOf({}));
  const blank = { width: 64, rgb: Buffer.from(rgbOf(pictureAfter(korv.tour(requestOf({})), () => false))) };
  assert.ok(await shows(page, blank));
  const command = told.words.findIndex((word) => word.command);
  await page.evaluate((word) => (location.hash = `#tour?step=words&word=${word}`), command);
  const half = { width: 64, rgb: rgbOf(pictureAfter(korv.tour(requestOf({})), (y) => told.rows.some((row) => row.y === y && row.word === told.words[command].word))) };
  assert.ok(await shows(page, half));
  await page.goBack();
  assert.ok(await shows(page, blank));
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
    ...(noTool ? [] : [
      ["inspector-state", "#inspector?at=batch:20&by=batch", 1440, false],
      ["inspector-words-dark", "#inspector?at=step:44&tab=words&show=wires", 1440, true],
      ["inspector-pixel", "#inspector?at=end&tab=pixel&pixel=60,70&show=overdraw", 1024, false],
      ["inspector-memory-tablet", "#inspector?at=end&tab=state&show=memory", 800, true],
    ] as [string, string, number, boolean][]),
    ...kTourSteps.map((step, i): [string, string, number, boolean] =>
      [`tour-${step}`, `#tour?step=${step}&chip=${kChips[i % kChips.length]}&on=smooth depth fog blend texture`, [1440, 1024, 800][i % 3], i % 2 === 1]),
  ];
  for (const [name, hash, width, dark] of views) {
    const page = hash.includes("at=") ? await inspect(trianglesCapture(), hash, width) : await open(hash, width);
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: dark ? "dark" : "light" }]);
    await page.waitForSelector(hash.startsWith("#lab") ? ".row code" : hash.startsWith("#tour") ? ".page h2" : hash.includes("tab=pixel") ? ".moments li" : hash.includes("at=") ? ".panel" : ".empty");
    await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 200)));
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

// The emulator's page in a real browser: headless Chromium (Debian's, driven
// by playwright-core) opens the page, clicks a key of the remote control and
// sees the screen change; a key of the keyboard does the same.
//
// Run by CTest with TARNWAVE_EMULATOR (box-emulator) and TARNWAVE_TEST_PLUGIN
// (the test plug-in: its swatch takes the colour of the last colour key).

import { spawn } from "node:child_process";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import assert from "node:assert/strict";

const chromiumPath = process.env.TARNWAVE_CHROMIUM || "/usr/bin/chromium";
const emulatorPath = process.env.TARNWAVE_EMULATOR;
const pluginPath = process.env.TARNWAVE_TEST_PLUGIN;
assert.ok(emulatorPath && pluginPath, "TARNWAVE_EMULATOR and TARNWAVE_TEST_PLUGIN must be set");

let chromium;
try {
  ({ chromium } = await import("playwright-core"));
} catch (error) {
  console.error("playwright-core is missing: run scripts/install-deps (npm ci) first");
  process.exit(1);
}

const root = mkdtempSync(join(tmpdir(), "tarnwave-page-"));
const emulator = spawn(
  emulatorPath,
  ["--headless", "--root", join(root, "box"), "--listen", "127.0.0.1:0", "--directory", "http://127.0.0.1:9",
   "--plugin", pluginPath],
  { stdio: ["ignore", "pipe", "inherit"] },
);
const emulatorEnded = new Promise((resolve) => emulator.on("exit", (code, signal) => resolve({ code, signal })));
// Never leave the emulator behind, whatever happens below.
process.on("exit", () => emulator.kill("SIGKILL"));

function sleep(ms) {
  return new Promise((resolve) => setTimeout(resolve, ms));
}

function withTimeout(promise, ms, what) {
  return Promise.race([promise, sleep(ms).then(() => { throw new Error(`${what} took longer than ${ms} ms`); })]);
}

async function emulatorUrl() {
  let output = "";
  return withTimeout(new Promise((resolve, reject) => {
    emulator.stdout.on("data", (chunk) => {
      output += chunk;
      const found = output.match(/box-emulator: listening on (http:\/\/\S+)/);
      if (found) resolve(found[1]);
    });
    emulator.on("exit", () => reject(new Error(`box-emulator ended before it listened: ${output}`)));
  }), 20000, "starting box-emulator");
}

// The screen rectangle of the widget called `name` in GET /api/widgets.
function findWidget(widgets, name) {
  for (const widget of widgets) {
    if (widget.name === name) return widget.geometry;
    const inside = findWidget(widget.children || [], name);
    if (inside) return inside;
  }
  return null;
}

let browser;
let failed = false;
try {
  const url = await emulatorUrl();
  // The test plug-in starts by itself; wait for its window.
  let swatch = null;
  for (let tries = 0; !swatch && tries < 100; ++tries) {
    swatch = findWidget(await (await fetch(`${url}/api/widgets`)).json(), "swatch");
    if (!swatch) await sleep(50);
  }
  assert.ok(swatch, "the test plug-in's window did not show");
  const centre = { x: swatch.x + Math.floor(swatch.width / 2), y: swatch.y + Math.floor(swatch.height / 2) };

  browser = await chromium.launch({ executablePath: chromiumPath, headless: true, args: ["--no-sandbox"] });
  const page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  await page.goto(url);
  // The page shows the screen live; the colour a viewer sees at the swatch.
  await page.waitForFunction(() => Number(document.getElementById("screen").dataset.frames || 0) > 0, null,
                             { timeout: 10000 });
  const shownColour = () => page.evaluate(({ x, y }) => {
    const image = document.getElementById("screen");
    const canvas = document.createElement("canvas");
    canvas.width = image.naturalWidth;
    canvas.height = image.naturalHeight;
    const context = canvas.getContext("2d");
    context.drawImage(image, 0, 0);
    return Array.from(context.getImageData(x, y, 1, 1).data);
  }, centre);
  async function waitForColour(expected, what) {
    let seen = null;
    for (let tries = 0; tries < 100; ++tries) {
      seen = await shownColour();
      if (seen.join() === expected.join()) return;
      await sleep(50);
    }
    assert.fail(`${what}: the swatch shows ${seen}, not ${expected}`);
  }

  await waitForColour([128, 128, 128, 255], "before any key");
  // Every key of the remote is on the page.
  for (const key of ["up", "down", "left", "right", "ok", "exit", "menu", "record", "red", "green", "yellow", "blue",
                     "0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "channelup", "channeldown"]) {
    assert.equal(await page.locator(`button[data-key="${key}"]`).count(), 1, `the remote has no ${key} key`);
  }

  await page.click('button[data-key="green"]');
  await waitForColour([0, 255, 0, 255], "after clicking green");

  // The keyboard works as the remote: F4 is the blue key.
  await page.keyboard.press("F4");
  await waitForColour([0, 0, 255, 255], "after pressing F4");
  console.log("page_remote: 1 passed, 0 failed");
} catch (error) {
  failed = true;
  console.error(`page_remote: ${error.stack || error}`);
  console.log("page_remote: 0 passed, 1 failed");
} finally {
  if (browser) await browser.close();
  emulator.kill("SIGTERM");
  const ended = await withTimeout(emulatorEnded, 10000, "stopping box-emulator").catch(() => null);
  if (!ended || ended.code !== 0) {
    console.error(`box-emulator did not stop cleanly: ${JSON.stringify(ended)}`);
    failed = true;
  }
  rmSync(root, { recursive: true, force: true });
}
process.exit(failed ? 1 : 0);

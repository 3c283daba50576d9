// The emulator's page: shows the box's screen and LCD live, and sends the
// remote control's keys (clicked or typed) to the control API.
"use strict";

const frameInterval = 100; // at most ten pictures a second

const screenImage = document.getElementById("screen");
const lcdImage = document.getElementById("lcd");
const statusLine = document.getElementById("status");
const logPanel = document.getElementById("log-panel");
const logView = document.getElementById("log");

// The desktop keyboard's map (design: arrows, Enter=ok, Escape/Backspace=exit,
// F1-F4 colours, M=menu, R=record, digits, Page Up/Down channels).
const keyboardKeys = {
  ArrowUp: "up",
  ArrowDown: "down",
  ArrowLeft: "left",
  ArrowRight: "right",
  Enter: "ok",
  Escape: "exit",
  F1: "red",
  F2: "green",
  F3: "yellow",
  F4: "blue",
  PageUp: "channelup",
  PageDown: "channeldown",
};

function setStatus(live, text) {
  statusLine.textContent = text;
  statusLine.classList.toggle("live", live);
  statusLine.classList.toggle("lost", !live);
}

function sleep(ms) {
  return new Promise((resolve) => setTimeout(resolve, ms));
}

// Loads a picture from the API into an <img>, through a blob URL (so the
// picture can also be read back from a canvas).
async function loadPicture(image, path) {
  const response = await fetch(path, { cache: "no-store" });
  if (!response.ok) throw new Error(`${path}: ${response.status}`);
  const url = URL.createObjectURL(await response.blob());
  await new Promise((resolve, reject) => {
    image.onload = resolve;
    image.onerror = reject;
    const previous = image.dataset.url;
    image.src = url;
    image.dataset.url = url;
    if (previous) URL.revokeObjectURL(previous);
  });
}

let refreshSoon = null;

// Refreshes the screen and the LCD continuously, faster right after a key.
async function refreshLoop() {
  for (;;) {
    const started = performance.now();
    try {
      await loadPicture(screenImage, "/api/screen.png");
      await loadPicture(lcdImage, "/api/lcd.png");
      screenImage.dataset.frames = String(Number(screenImage.dataset.frames || 0) + 1);
      setStatus(true, "live");
    } catch (error) {
      setStatus(false, "no connection to the box — retrying");
      await sleep(1000);
      continue;
    }
    const rest = Math.max(0, frameInterval - (performance.now() - started));
    await Promise.race([sleep(document.hidden ? 1000 : rest), new Promise((resolve) => (refreshSoon = resolve))]);
    refreshSoon = null;
  }
}

function flash(key) {
  const button = document.querySelector(`button[data-key="${key}"]`);
  if (!button) return;
  button.classList.add("pressed");
  setTimeout(() => button.classList.remove("pressed"), 120);
}

async function post(path, body) {
  try {
    const response = await fetch(path, { method: "POST", body });
    if (!response.ok) setStatus(false, `${path}: ${response.status}`);
  } catch (error) {
    setStatus(false, "no connection to the box");
  }
  if (refreshSoon) refreshSoon();
}

function pressKey(key) {
  flash(key);
  return post(`/api/key/${encodeURIComponent(key)}`);
}

function typeText(text) {
  return post("/api/text", text);
}

document.querySelectorAll("button[data-key]").forEach((button) => {
  button.addEventListener("click", () => pressKey(button.dataset.key));
});

document.addEventListener("keydown", (event) => {
  if (event.ctrlKey || event.altKey || event.metaKey) return;
  if (event.target instanceof HTMLElement && event.target.matches("input, textarea, select")) return;
  let handled = true;
  if (keyboardKeys[event.key]) {
    pressKey(keyboardKeys[event.key]);
  } else if (/^[0-9]$/.test(event.key)) {
    pressKey(event.key);
  } else if (event.key === "Backspace") {
    // Deletes in a text field; the box reads it as EXIT when none takes it.
    typeText("\b");
  } else if (event.key.length === 1) {
    // Letters go to a text field that has the focus; M and R are MENU and
    // RECORD when none takes them.
    const key = event.key.toLowerCase();
    if (key === "m" || key === "r") flash(key === "m" ? "menu" : "record");
    typeText(event.key);
  } else {
    handled = false;
  }
  if (handled) event.preventDefault();
});

// The host log, while its panel is open.
let logSince = 0;
async function logLoop() {
  for (;;) {
    if (logPanel.open) {
      try {
        const reply = await (await fetch(`/api/log?since=${logSince}`, { cache: "no-store" })).json();
        for (const line of reply.lines) logView.textContent += `${line.level.padEnd(7)} ${line.text}\n`;
        logSince = reply.last;
        if (reply.lines.length) logView.scrollTop = logView.scrollHeight;
      } catch (error) {
        // The status line tells about lost connections.
      }
    }
    await sleep(1000);
  }
}

refreshLoop();
logLoop();

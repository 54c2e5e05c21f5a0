// SPDX-License-Identifier: Apache-2.0
"use strict";

const $ = (id) => document.getElementById(id);
const el = (name, properties = {}, ...children) => {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
};
const pause = (ms) => new Promise((done) => setTimeout(done, ms));
const fixed = (number, digits) => number.toFixed(digits);

// --- The server ---

// The token is in the address once, behind the #, and then in this tab's memory only.
let token = location.hash.slice(1) || sessionStorage.getItem("kxcam-token") || "";
const remember = () => {
  sessionStorage.setItem("kxcam-token", token);
  history.replaceState(null, "", location.pathname);
};
remember();

class Refused extends Error {}

async function ask(path, body) {
  const options = { headers: { "X-Kxcam-Token": token }, cache: "no-store" };
  if (body !== undefined) {
    options.method = "POST";
    options.headers["Content-Type"] = "application/json";
    options.body = JSON.stringify(body);
  }
  const reply = await fetch(path, options);
  if (reply.status === 403) {
    await login();
    return ask(path, body);
  }
  if (!reply.ok) throw new Refused((await reply.json()).error);
  return reply;
}
const at = (path) => `${path}${path.includes("?") ? "&" : "?"}camera=${camera}`;
const get = async (path) => (await ask(at(path))).json();
const post = async (path, body = {}) => (await ask(at(path), body)).json();

let asking = null;
function login() {
  asking ??= new Promise((done) => {
    $("login").showModal();
    $("enter").onclick = () => {
      token = $("address").value.trim().replace(/^.*#/, "");
      remember();
      $("login").close();
      asking = null;
      done();
    };
  });
  return asking;
}

let messageTimer = 0;
function say(text, isError = false) {
  clearTimeout(messageTimer);
  $("message").textContent = text;
  $("message").classList.toggle("error", isError);
  if (text && !isError) messageTimer = setTimeout(() => say(""), 6000);
}

/// Runs what a button does, and tells the user when it is refused.
async function attempt(action) {
  try {
    await action();
  } catch (error) {
    say(error instanceof Refused ? error.message : "kxcam view does not answer", true);
  }
}

async function save(path) {
  const reply = await ask(at(path));
  const name = /filename="([^"]+)"/.exec(reply.headers.get("Content-Disposition"))[1];
  const url = URL.createObjectURL(await reply.blob());
  el("a", { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 60000);
  say(`Saved ${name}`);
}

// --- What is shown ---

let camera = 0;
let about = null; // of the camera
let picture = null; // of the newest frame: number, size, part
let settings = null;
let changes = -1;
let paused = false;
let zebra = false;
let oneToOne = false;
let centre = [0, 0]; // of the 1:1 view
let focusBox = null;
let returns = null;
let serverLost = false;
const shown = { frames: 0, since: performance.now(), fps: 0 };
const view = $("view");
const canvas = $("picture");
const scale = () => window.devicePixelRatio || 1;
const clamp = (value, low, high) => Math.max(low, Math.min(high, value));

/// For tests and for the curious.
window.kxcam = { frames: 0, picture: () => picture, settings: () => settings };

function partWanted() {
  if (!oneToOne || !picture) return "";
  const width = Math.min(picture.width, Math.round(view.clientWidth * scale()));
  const height = Math.min(picture.height, Math.round(view.clientHeight * scale()));
  const x = clamp(Math.round(centre[0] - width / 2), 0, picture.width - width);
  const y = clamp(Math.round(centre[1] - height / 2), 0, picture.height - height);
  return `&part=${x},${y},${width},${height}`;
}

let lastFigures = 0;
function frameQuery() {
  const now = performance.now();
  const figures = now - lastFigures > 80;
  if (figures) lastFigures = now;
  const width = oneToOne ? 4096 : Math.round(clamp(view.clientWidth * scale(), 320, 2048));
  let query = `frame?after=${picture?.number ?? 0}&width=${width}&zebra=${+zebra}&figures=${+figures}`;
  if (focusBox) query += `&focus=${focusBox.join(",")}`;
  return query + partWanted();
}

function parse(buffer) {
  const length = new DataView(buffer).getUint32(0, true);
  const json = new TextDecoder().decode(new Uint8Array(buffer, 4, length));
  return [JSON.parse(json), new Uint8Array(buffer, 4 + length)];
}

/// One question is under way at a time, and a picture is drawn before the next one is: whatever is slow,
/// the newest picture comes next.
async function watch() {
  let drawing = Promise.resolve();
  for (;;) {
    try {
      if (paused) {
        await pause(100);
        continue;
      }
      const of = camera;
      const [status, bytes] = parse(await (await ask(at(frameQuery()))).arrayBuffer());
      if (serverLost) say("");
      serverLost = false;
      if (of !== camera) continue;
      await drawing;
      show(status);
      if (bytes.length && !paused) drawing = draw(status.picture, bytes);
    } catch (error) {
      serverLost = true;
      say(error instanceof Refused ? error.message : "kxcam view does not answer: is it still running?", true);
      await pause(500);
    }
  }
}

async function draw(newest, bytes) {
  const image = await createImageBitmap(new Blob([bytes], { type: "image/jpeg" }));
  if (canvas.width !== image.width || canvas.height !== image.height) {
    canvas.width = image.width;
    canvas.height = image.height;
  }
  canvas.getContext("2d").drawImage(image, 0, 0);
  image.close();
  if (!picture || picture.width !== newest.width || picture.height !== newest.height) {
    focusBox = null;
    centre = [newest.width / 2, newest.height / 2];
    focusHistory.length = 0;
  }
  picture = newest;
  layOut();
  window.kxcam.frames += 1;
  shown.frames += 1;
  const elapsed = performance.now() - shown.since;
  if (elapsed > 1000) {
    shown.fps = (shown.frames * 1000) / elapsed;
    shown.frames = 0;
    shown.since = performance.now();
  }
}

function layOut() {
  if (!picture) return;
  const [, , width, height] = picture.part;
  let factor = oneToOne ? 1 / scale() : Math.min(view.clientWidth / width, view.clientHeight / height);
  if (oneToOne) factor = Math.min(factor, view.clientWidth / width, view.clientHeight / height);
  canvas.style.width = `${width * factor}px`;
  canvas.style.height = `${height * factor}px`;
  canvas.classList.toggle("sharp", factor * scale() * picture.step >= 1);
  $("size").textContent = `${picture.width} × ${picture.height}`;
  place($("focus-box"), focusBox ?? middle());
}
addEventListener("resize", layOut);

const middle = () => [picture.width, picture.height, picture.width, picture.height].map((n) => Math.floor(n / 3));

/// Puts a box over part of the picture.
function place(box, [x, y, width, height]) {
  const [left, top, all, tall] = picture.part;
  const [x0, x1] = [x, x + width].map((n) => clamp((n - left) / all, 0, 1) * 100);
  const [y0, y1] = [y, y + height].map((n) => clamp((n - top) / tall, 0, 1) * 100);
  Object.assign(box.style, { left: `${x0}%`, top: `${y0}%`, width: `${x1 - x0}%`, height: `${y1 - y0}%` });
  box.hidden = x1 <= x0 || y1 <= y0;
}

const kStates = {
  streaming: "live",
  waiting: "waiting for a trigger",
  silent: "no frames",
  gone: "gone",
};
let bannerTimer = 0;
function banner(text, isBack = false) {
  clearTimeout(bannerTimer);
  $("banner").textContent = text;
  $("banner").hidden = !text;
  $("banner").classList.toggle("back", isBack);
  if (isBack) bannerTimer = setTimeout(() => banner(""), 5000);
}

let state = "";
function show(status) {
  if (state !== status.state) {
    state = status.state;
    $("state").textContent = kStates[state];
    $("state").dataset.state = state;
    if (state === "gone") banner("The camera is gone. Plug it in again: the picture comes back by itself.");
    if (state === "silent") banner("The camera answers but sends no frames. It is being restarted.");
    if (state === "streaming" || state === "waiting") banner("");
  }
  if (returns !== null && status.returns > returns) banner("The camera is back.", true);
  returns = status.returns;
  if (status.figures) showFigures(status.figures);
  showRecording(status.recording);
  showStatistics(status);
  if (status.changes !== changes) {
    changes = status.changes;
    readSettings();
  }
}

function showRecording(recording) {
  $("record").setAttribute("aria-pressed", recording.on);
  $("record").textContent = recording.on ? "Stop" : "Record";
  $("type").disabled = recording.on;
  $("recording").hidden = !recording.folder;
  if (!recording.folder) return;
  const free = fixed(recording.free / 1e9, 1);
  const end = recording.end ? ` Ended: ${recording.end}.` : "";
  $("recording").textContent =
    `${recording.on ? "Recording" : "Recorded"} ${recording.frames} ${recording.type} files, ` +
    `${recording.lost} frames lost, in ${recording.folder} (${free} GB free).${end}`;
}

let statisticsShown = 0;
function showStatistics(status) {
  const now = performance.now();
  if (now - statisticsShown < 250) return;
  statisticsShown = now;
  const rows = [
    ["Camera", `${fixed(status.fps, 1)} frames/s, ${fixed(status.megabytes, 1)} MB/s`],
    ["Shown here", `${fixed(shown.fps, 1)} frames/s`],
  ];
  if (picture?.exposure_ms) rows.push(["Exposure", `${picture.exposure_ms.toPrecision(4)} ms, gain ${picture.gain}`]);
  rows.push(["Frames since opening", status.frames]);
  for (const { cause, frames } of status.losses) if (frames) rows.push([`– ${cause}`, frames]);
  if (status.full_seconds >= 0.1) rows.push(["No free buffer", `${fixed(status.full_seconds, 1)} s`]);
  if (status.resets) rows.push(["Resets", status.resets]);
  if (status.returns) rows.push(["Came back", `${status.returns} ×`]);
  if (about) rows.push(["Connection", `${about.megabits ? `USB, ${about.megabits} Mbit/s` : "none"}`]);
  $("statistics").tBodies[0].replaceChildren(
    ...rows.map(([name, value]) => el("tr", {}, el("td", { textContent: name }), el("td", { textContent: value }))));
}

// --- Figures ---

let ofRaw = false;
let logarithmic = false;
let figures = null;
const focusHistory = []; // of [time, figure]
let peak = 0;
const style = (name) => getComputedStyle(document.documentElement).getPropertyValue(name);

function showFigures(newest) {
  figures = newest;
  drawHistogram();
  const now = performance.now();
  peak = Math.max(peak, newest.focus);
  focusHistory.push([now, newest.focus]);
  while (focusHistory[0][0] < now - 30000) focusHistory.shift();
  $("focus").textContent = fixed(newest.focus, 2);
  $("peak").textContent = fixed(peak, 2);
  drawFocus(now);
}

function drawHistogram() {
  const colours = ofRaw ? figures.raw : figures.picture;
  const target = $("histogram");
  const pen = target.getContext("2d");
  const { width, height } = target;
  pen.globalCompositeOperation = "source-over";
  pen.clearRect(0, 0, width, height);
  const size = logarithmic ? Math.log1p : Math.sqrt;
  // The ends tower above all else where a picture is clipped.
  const top = Math.max(1, ...colours.flatMap(({ counts }) => counts.slice(1, 255))) * 1.05;
  const names = colours.length === 1 ? ["--dim"] : ["--red", "--green", "--blue"];
  pen.globalCompositeOperation = style("--blend").trim();
  pen.globalAlpha = 0.75;
  colours.forEach(({ counts }, c) => {
    pen.fillStyle = style(names[c]);
    pen.beginPath();
    pen.moveTo(0, height);
    counts.forEach((count, level) => {
      const y = height * (1 - Math.min(1, size(count) / size(top)));
      pen.lineTo((level / 256) * width, y);
      pen.lineTo(((level + 1) / 256) * width, y);
    });
    pen.lineTo(width, height);
    pen.fill();
  });
  pen.globalAlpha = 1;
  const labels = colours.length === 1 ? ["Grey"] : ["Red", "Green", "Blue"];
  $("levels").tBodies[0].replaceChildren(...colours.map((colour, c) => el("tr", {},
    el("td", { textContent: labels[c] }),
    el("td", { textContent: fixed(colour.mean, 1) }),
    el("td", { textContent: `${fixed(colour.clipped, 2)} %`, className: colour.clipped >= 1 ? "over" : "" }),
    el("td", { textContent: `${fixed(colour.black, 2)} %` }))));
}

function drawFocus(now) {
  const target = $("focus-curve");
  const pen = target.getContext("2d");
  const { width, height } = target;
  pen.clearRect(0, 0, width, height);
  const top = Math.max(peak, 0.01) * 1.1;
  const y = (figure) => height * (1 - figure / top);
  pen.strokeStyle = style("--dim");
  pen.setLineDash([4, 4]);
  pen.beginPath();
  pen.moveTo(0, y(peak));
  pen.lineTo(width, y(peak));
  pen.stroke();
  pen.setLineDash([]);
  pen.strokeStyle = style("--accent");
  pen.lineWidth = 2;
  pen.beginPath();
  for (const [time, figure] of focusHistory) pen.lineTo(width * (1 - (now - time) / 30000), y(figure));
  pen.stroke();
  pen.lineWidth = 1;
}

function resetPeak() {
  peak = 0;
  focusHistory.length = 0;
}

// --- Controls ---

const kOpenGroups = ["exposure", "white balance", "tone"];
const rows = new Map(); // by the control's name

/// Of a slider, which has 0 to 1000. One that spans more than three powers of ten is logarithmic; the largest
/// values of all are for the number beside it only.
function scaleOf({ minimum, maximum, step }) {
  const top = maximum > 1e6 ? Math.max(minimum, 1e5) : maximum;
  const low = minimum > 0 ? minimum : step || top / 1e6;
  if (top / low > 1000 && top > 300) {
    return {
      place: (value) => (value < low ? 0 : clamp((1000 * Math.log(value / low)) / Math.log(top / low), 1, 1000)),
      value: (place) => (place < 1 ? minimum : low * (top / low) ** (place / 1000)),
    };
  }
  return {
    place: (value) => (1000 * (value - minimum)) / (top - minimum),
    value: (place) => minimum + (place / 1000) * (top - minimum),
  };
}

function rounded(control, value) {
  if (control.whole) return clamp(Math.round(value), control.minimum, control.maximum);
  const step = control.step || 0;
  const stepped = step ? Math.round(value / step) * step : Number(value.toPrecision(4));
  return clamp(Number(stepped.toPrecision(7)), control.minimum, control.maximum);
}

const textOf = (control, value) => (control.whole ? String(value) : String(Number(value.toPrecision(6))));

function rangeOf({ choices, minimum, maximum, unit, step }) {
  if (choices) return choices.join(", ");
  const steps = step ? `, in steps of ${step}` : "";
  return `${minimum} to ${maximum}${unit ? ` ${unit}` : ""}${steps}`;
}

function makeRow(control) {
  const id = `control-${control.name}`;
  const title = `${control.description}: ${rangeOf(control)}`;
  const label = el("label", { textContent: control.name, title, htmlFor: id });
  const row = el("div", { className: "control" }, label);
  row.dataset.name = control.name;
  const explained = el("div", { className: "about", id: `${id}-about`, textContent: title });
  const reset = el("button", { className: "reset", type: "button", textContent: "↺", title: `Back to ${control.neutral}` });
  reset.setAttribute("aria-label", `Reset ${control.name}`);
  reset.onclick = () => set(control.name, control.neutral);
  const unit = el("span", { className: "unit", textContent: control.unit });
  const finish = (input) => {
    input.setAttribute("aria-describedby", explained.id);
    row.append(unit, control.neutral === undefined ? "" : reset, explained);
  };
  const change = (value) => {
    row.classList.toggle("changed", control.neutral !== undefined && value !== control.neutral);
  };
  if (control.choices?.length === 2 && control.choices[0] === "off") {
    const box = el("input", { type: "checkbox", id, className: "wide" });
    box.onchange = () => set(control.name, +box.checked);
    row.append(box);
    finish(box);
    return { row, show: (value) => { box.checked = value === 1; change(value); } };
  }
  if (control.choices) {
    const list = el("select", { id, className: "wide" }, ...control.choices.map((word, value) => new Option(word, value)));
    list.onchange = () => set(control.name, +list.value);
    row.append(list);
    finish(list);
    return { row, show: (value) => { list.value = value; change(value); } };
  }
  const { place, value } = scaleOf(control);
  const slider = el("input", { type: "range", min: 0, max: 1000, step: "any", title });
  slider.setAttribute("aria-label", `${control.name}${control.unit ? ` in ${control.unit}` : ""}`);
  const number = el("input", { type: "text", inputMode: "decimal", id, title, autocomplete: "off" });
  slider.oninput = () => {
    const wanted = rounded(control, value(+slider.value));
    number.value = textOf(control, wanted);
    slider.setAttribute("aria-valuetext", number.value);
    set(control.name, wanted);
  };
  number.onchange = () => {
    const wanted = Number(number.value.replace(",", "."));
    if (number.value.trim() === "" || Number.isNaN(wanted)) {
      say(`${control.name}: ${number.value} is no number`, true);
      readSettings();
    } else {
      set(control.name, wanted);
    }
  };
  row.append(slider, number);
  finish(number);
  return {
    row,
    show: (now) => {
      if (document.activeElement !== slider || !wanted.has(control.name)) slider.value = place(now);
      if (document.activeElement !== number || number.dataset.shown !== String(now)) number.value = textOf(control, now);
      number.dataset.shown = now;
      slider.setAttribute("aria-valuetext", `${textOf(control, now)} ${control.unit}`);
      change(now);
    },
  };
}

function makeControls() {
  rows.clear();
  const groups = new Map();
  for (const control of about.controls) {
    if (!groups.has(control.group)) {
      const group = el("details", { open: kOpenGroups.includes(control.group) }, el("summary", { textContent: control.group }));
      groups.set(control.group, group);
    }
    const made = makeRow(control);
    rows.set(control.name, made);
    groups.get(control.group).append(made.row);
  }
  $("controls").replaceChildren(...groups.values());
}

function showSettings(newest) {
  settings = newest;
  changes = newest.changes;
  for (const [name, { row, show: showValue }] of rows) {
    const value = newest.values[name];
    row.hidden = value === undefined || !name.includes($("filter").value.trim().toLowerCase());
    if (value !== undefined) showValue(value);
  }
  for (const group of $("controls").children) {
    group.hidden = [...group.querySelectorAll(".control")].every((row) => row.hidden);
    if ($("filter").value.trim()) group.open = true;
  }
  $("trigger").hidden = newest.values.trigger !== 1;
  showPreset(newest.region, newest.full, newest.in_preset);
}

function showPreset(region, full, inPreset) {
  const list = $("presets");
  const isFull = region.width === full.width && region.height === full.height;
  list.replaceChildren(...about.presets.map(({ width, height }, i) => new Option(`${width} × ${height}`, i)));
  const chosen = about.presets.findIndex(({ width, height }) => width === region.width && height === region.height);
  if (isFull || inPreset) {
    list.value = Math.max(chosen, 0);
  } else {
    list.prepend(new Option(`Region ${region.width} × ${region.height}`, "region", true, true));
  }
  $("full").disabled = isFull;
}

let reading = false;
async function readSettings() {
  if (reading || !about) return;
  reading = true;
  await attempt(async () => showSettings(await get("settings")));
  reading = false;
}
// Automatic exposure and the like change controls by themselves.
setInterval(() => {
  if (!paused && !document.hidden && wanted.size === 0) readSettings();
}, 1000);

/// The newest value of each control wins; one change is under way at a time.
const wanted = new Map();
let setting = false;
async function set(name, value) {
  wanted.set(name, value);
  if (setting) return;
  setting = true;
  while (wanted.size) {
    const [next, newest] = wanted.entries().next().value;
    try {
      const reply = await post("control", { name: next, value: newest });
      if (wanted.get(next) === newest) wanted.delete(next);
      if (!wanted.size) {
        say("");
        showSettings(reply);
      }
    } catch (error) {
      wanted.delete(next);
      say(error instanceof Refused ? error.message : "kxcam view does not answer", true);
      document.activeElement?.blur();
      await readSettings();
    }
  }
  setting = false;
}

// --- Pointer ---

let dragMode = "focus";
let drag = null;
let cursor = null;

function setDragMode(mode) {
  dragMode = mode;
  for (const each of ["focus", "region", "pan"]) $(`drag-${each}`).setAttribute("aria-checked", each === mode);
  canvas.classList.toggle("pan", mode === "pan");
}

function pixelAt(event) {
  const box = canvas.getBoundingClientRect();
  const [x, y, width, height] = picture.part;
  return [
    clamp(x + ((event.clientX - box.left) / box.width) * width, 0, picture.width),
    clamp(y + ((event.clientY - box.top) / box.height) * height, 0, picture.height),
  ];
}

const boxOf = ([x0, y0], [x1, y1]) => [
  Math.floor(Math.min(x0, x1)), Math.floor(Math.min(y0, y1)),
  Math.ceil(Math.abs(x1 - x0)), Math.ceil(Math.abs(y1 - y0)),
];

canvas.onpointerdown = (event) => {
  if (!picture || event.button !== 0) return;
  drag = { from: pixelAt(event), x: event.clientX, y: event.clientY, centre: [...centre] };
  canvas.setPointerCapture(event.pointerId);
};
canvas.onpointermove = (event) => {
  if (!picture) return;
  cursor = pixelAt(event).map((n, i) => Math.min(Math.floor(n), (i ? picture.height : picture.width) - 1));
  $("magnifier").classList.toggle("left", event.clientX > view.getBoundingClientRect().left + view.clientWidth * 0.65);
  if (!drag) return;
  if (dragMode === "pan") {
    const factor = picture.part[2] / canvas.getBoundingClientRect().width;
    moveView(drag.centre[0] - (event.clientX - drag.x) * factor, drag.centre[1] - (event.clientY - drag.y) * factor);
    return;
  }
  const box = boxOf(drag.from, pixelAt(event));
  place($("drag-box"), box);
  $("drag-box").firstChild.textContent = `${dragMode} ${box[2]} × ${box[3]}`;
};
canvas.onpointerup = (event) => {
  if (!drag) return;
  const box = boxOf(drag.from, pixelAt(event));
  drag = null;
  $("drag-box").hidden = true;
  if (dragMode === "pan" || box[2] < 8 || box[3] < 8) return;
  if (dragMode === "focus") {
    focusBox = box;
    resetPeak();
    layOut();
  } else {
    chooseRegion(box);
  }
};
canvas.onpointerleave = () => (cursor = null);
canvas.onpointercancel = () => {
  drag = null;
  $("drag-box").hidden = true;
};
canvas.ondblclick = (event) => toggleOneToOne(pixelAt(event));

function chooseRegion([x, y, width, height]) {
  if (settings.in_preset) {
    say("A region is part of the full frame: choose that first.", true);
    return;
  }
  const { region } = settings;
  attempt(async () => {
    showSettings(await post("region", { x: region.x + x, y: region.y + y, width, height }));
    setDragMode("focus");
    say(`Region ${settings.region.width} × ${settings.region.height} at ${settings.region.x}, ${settings.region.y}`);
  });
}

function moveView(x, y) {
  const half = [picture.part[2] / 2, picture.part[3] / 2];
  centre = [clamp(x, half[0], picture.width - half[0]), clamp(y, half[1], picture.height - half[1])];
}

function toggleOneToOne(around) {
  oneToOne = !oneToOne;
  if (around) centre = around;
  $("one").setAttribute("aria-pressed", oneToOne);
  setDragMode(oneToOne ? "pan" : dragMode === "pan" ? "focus" : dragMode);
}

/// The pixels around the cursor as the camera gave them: the picture that is shown is a JPEG, and smaller.
async function magnify() {
  const kAround = 10;
  const figure = $("magnifier");
  const caption = figure.querySelector("figcaption");
  const pen = figure.querySelector("canvas").getContext("2d");
  for (;;) {
    await pause(60);
    if (!cursor || !picture || $("loupe").getAttribute("aria-pressed") !== "true" || drag || document.hidden) {
      figure.hidden = true;
      continue;
    }
    const [x, y] = cursor;
    try {
      const reply = await ask(at(`pixels?frame=${picture.number}&x=${x}&y=${y}&around=${kAround}`));
      const [{ channels, size }, bytes] = parse(await reply.arrayBuffer());
      const image = new ImageData(size, size);
      for (let i = 0; i < size * size; ++i) {
        for (let c = 0; c < 3; ++c) image.data[4 * i + c] = bytes[i * channels + (channels === 3 ? c : 0)];
        image.data[4 * i + 3] = 255;
      }
      const bitmap = await createImageBitmap(image);
      pen.imageSmoothingEnabled = false;
      const one = pen.canvas.width / size;
      pen.drawImage(bitmap, 0, 0, pen.canvas.width, pen.canvas.height);
      pen.strokeStyle = "#fff";
      pen.strokeRect(kAround * one - 0.5, kAround * one - 0.5, one + 1, one + 1);
      const middleAt = ((size * size - 1) / 2) * channels;
      const value = [...bytes.slice(middleAt, middleAt + channels)].map((n) => String(n).padStart(3)).join(" ");
      caption.textContent = `${x}, ${y}\n${channels === 3 ? "RGB" : "grey"} ${value}`;
      figure.hidden = false;
    } catch {
      figure.hidden = true; // the picture has gone meanwhile
    }
  }
}

// --- Buttons and keys ---

const isOn = (button) => button.getAttribute("aria-pressed") === "true";
function toggle(button) {
  const on = !isOn(button);
  button.setAttribute("aria-pressed", on);
  return on;
}

$("pause").onclick = () => {
  paused = toggle($("pause"));
  $("pause").textContent = paused ? "Go on" : "Pause";
};
$("one").onclick = () => toggleOneToOne(cursor);
$("zebra").onclick = () => (zebra = toggle($("zebra")));
$("loupe").onclick = () => toggle($("loupe"));
for (const mode of ["focus", "region", "pan"]) $(`drag-${mode}`).onclick = () => setDragMode(mode);
$("presets").onchange = () => {
  const preset = Number($("presets").value);
  if (!Number.isNaN(preset)) attempt(async () => showSettings(await post("preset", { preset })));
};
$("full").onclick = () => attempt(async () => showSettings(await post("preset", { preset: 0 })));
$("trigger").onclick = () => attempt(() => post("trigger"));
$("snapshot").onclick = () => picture && attempt(() => save(`snapshot?frame=${picture.number}`));
$("snapshot-raw").onclick = () => picture && attempt(() => save(`snapshot?frame=${picture.number}&raw=1`));
$("record").onclick = () => attempt(() => post("record", { on: !isOn($("record")), type: $("type").value }));
$("white-balance").onclick = () => attempt(async () => {
  showSettings(await post("white-balance"));
  say("White balance is measured on the next picture.");
});
$("of-picture").onclick = $("of-raw").onclick = (event) => {
  ofRaw = event.target.id === "of-raw";
  $("of-raw").setAttribute("aria-pressed", ofRaw);
  $("of-picture").setAttribute("aria-pressed", !ofRaw);
  if (figures) drawHistogram();
};
$("log").onclick = () => {
  logarithmic = toggle($("log"));
  if (figures) drawHistogram();
};
$("reset-peak").onclick = resetPeak;
$("filter").oninput = () => settings && showSettings(settings);
$("download").onclick = () => attempt(() => save("settings.txt"));
$("upload").onclick = () => $("file").click();
$("file").onchange = () => attempt(async () => {
  const [file] = $("file").files;
  if (!file) return;
  const reply = await post("load", { text: await file.text() });
  $("file").value = "";
  showSettings(reply);
  say(reply.missing.length ? `Loaded; not offered by this camera: ${reply.missing.join(", ")}` : `Loaded ${file.name}`);
});
$("store").onclick = () => {
  $("question").textContent =
    `Store the present settings in ${about.name} ${about.serial}? They replace those that it was last told to keep.`;
  $("ask").showModal();
};
$("no").onclick = () => $("ask").close();
$("yes").onclick = () => {
  $("ask").close();
  attempt(async () => {
    say("Storing…");
    showSettings(await post("store"));
    say("Stored in the camera.");
  });
};
$("help-button").onclick = () => $("help").showModal();
$("help-close").onclick = () => $("help").close();

const kKeys = { " ": "pause", 1: "one", z: "zebra", l: "loupe", s: "snapshot", r: "record", t: "trigger", "?": "help-button" };
const kArrows = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
addEventListener("keydown", (event) => {
  const typing = /^(INPUT|SELECT|TEXTAREA)$/.test(event.target.tagName);
  if (typing || event.ctrlKey || event.metaKey || event.altKey || document.querySelector("dialog[open]")) return;
  if (event.key === "Escape") {
    drag = null;
    $("drag-box").hidden = true;
  } else if (kKeys[event.key] && !(event.key === " " && event.target.tagName === "BUTTON")) {
    const button = $(kKeys[event.key]);
    if (!button.hidden) button.click();
    event.preventDefault();
  } else if (kArrows[event.key] && oneToOne && picture) {
    const [x, y] = kArrows[event.key];
    moveView(centre[0] + x * 64, centre[1] + y * 64);
    event.preventDefault();
  }
});

const kThemes = ["Auto", "Light", "Dark"];
const systemIsDark = matchMedia("(prefers-color-scheme: dark)");
function applyTheme() {
  const theme = localStorage.getItem("kxcam-theme") ?? "Auto";
  $("theme").textContent = theme;
  const dark = theme === "Dark" || (theme === "Auto" && systemIsDark.matches);
  document.documentElement.dataset.theme = dark ? "dark" : "light";
  if (figures) drawHistogram();
}
systemIsDark.onchange = applyTheme;
$("theme").onclick = () => {
  const now = kThemes.indexOf($("theme").textContent);
  localStorage.setItem("kxcam-theme", kThemes[(now + 1) % kThemes.length]);
  applyTheme();
};

// --- Cameras ---

async function listCameras() {
  const { cameras } = await (await ask("cameras")).json();
  $("cameras").replaceChildren(...cameras.map((each) => new Option(`${each.name} · ${each.serial}`, each.serial,
    false, each.camera === camera)));
}
$("cameras").onfocus = () => attempt(listCameras);
$("cameras").onchange = () => attempt(async () => {
  const reply = await (await ask("open", { serial: $("cameras").value })).json();
  await choose(reply.camera);
});

async function choose(number) {
  camera = number;
  about = null;
  picture = null;
  focusBox = null;
  returns = null;
  changes = -1;
  state = "";
  banner("");
  resetPeak();
  about = await get("camera");
  document.title = `${about.name} – kxcam`;
  makeControls();
  await readSettings();
}

async function begin() {
  applyTheme();
  for (;;) {
    try {
      await listCameras();
      await choose(0);
      break;
    } catch {
      say("kxcam view does not answer: is it still running?", true);
      await pause(500);
    }
  }
  watch();
  magnify();
}
begin();

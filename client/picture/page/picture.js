"use strict";
// Shows the session that stands in the element "session" as JSON. Texts in it go into the page as text only.
(() => {
const byId = id => document.getElementById(id);
window.addEventListener("error", event => {
  const told = element("p", "script-error", "The page's script failed: " + event.message);
  document.body.prepend(told);
});

// ---- Making elements ----

function element(name, className, ...children) {
  const made = document.createElement(name);
  if (className)
    made.className = className;
  made.append(...children);
  return made;
}

function drawn(name, attributes, text) {
  const made = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const key in attributes)
    made.setAttribute(key, attributes[key]);
  if (text !== undefined)
    made.textContent = text;
  return made;
}

// What cannot be seen is named, and what would turn the text around it is taken out of force.
function shown(text) {
  return text.replace(/[\u0000-\u0008\u000b-\u001f]/g, c => String.fromCharCode(0x2400 + c.charCodeAt(0)))
    .replace(/[\u007f-\u009f\u00ad\u061c\u200b\u200e\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g,
      c => "\u27e8U+" + c.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0") + "\u27e9");
}

function mono(text, className) {
  return element("span", "mono" + (className ? " " + className : ""), shown(text));
}

// ---- Data ----

const data = JSON.parse(byId("session").textContent);
const session = data.session;
const isLog = session.source === "log";
const commands = data.steps.filter(step => step.number);
const outcomeTexts = {
  succeeded: "succeeded", failed: "failed", notFound: "not found", exception: "exception", timedOut: "timed out",
  lost: "workbench lost", interrupted: "interrupted"
};

const lineOf = step => step.text ? step.command + " " + step.text : step.command;
// What the client asked for its own sake, or for a word of its own; a log has it as it was sent.
const isQuestion = step => isLog && /^OrvWorkBench\.Look\./.test(step.text);
const outcomeOf = step => outcomeTexts[step.outcome] || "no result";
const isBad = step => step.outcome !== "succeeded" || Boolean(step.deviation);
const durationOf = step => step.elapsedMs !== undefined ? step.elapsedMs : Math.max(0, step.endMs - step.atMs);
commands.forEach((step, index) => { step.index = index; });

// ---- Numbers ----

const digits = isLog ? 0 : 3;
const exact = ms => ms.toFixed(digits);

function human(ms) {
  if (isLog && ms < 1)
    return "< 1 ms";
  if (ms < 1000)
    return (isLog ? ms.toFixed(0) : ms < 10 ? ms.toFixed(3) : ms < 100 ? ms.toFixed(2) : ms.toFixed(1)) + " ms";
  if (ms < 60000)
    return (ms / 1000).toFixed(ms < 10000 ? 2 : 1) + " s";
  const seconds = Math.round(ms / 1000);
  const parts = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60];
  return (parts[0] ? parts[0] + " h " : "") + parts[1] + " min " + parts[2] + " s";
}

// What a command consists of: each phase with its name, from and to.
function phasesOf(step) {
  const end = step.elapsedMs !== undefined ? step.atMs + step.elapsedMs : step.endMs;
  const find = (kind, text) => (step.moments.find(m => m[1] === kind && (!text || m[2] === text)) || [])[0];
  const first = step.breakpoint ? find("response") : undefined;
  const idle = find("message", "idle");
  if (first === undefined || step.times)
    return [["call", step.atMs, end]];
  const phases = [["call", step.atMs, Math.min(first, end)]];
  if (idle === undefined)
    return first < end ? [...phases, ["break", first, end]] : phases;
  const answer = (step.moments.find(m => m[1] === "answer" && m[0] >= idle) || [end])[0];
  phases.push(["idle", Math.min(first, end), Math.min(answer, end)]);
  if (answer < end)
    phases.push(["break", answer, end]);
  return phases;
}

const phaseNames = {call: "managed call", idle: "idle message", break: "breakpoint step", life: "start or end"};

// ---- The head of the page ----

function writeHead() {
  const failed = session.failed;
  const title = byId("title");
  title.textContent = session.commands + (session.commands === 1 ? " command, " : " commands, ");
  title.append(failed ? element("span", "bad", failed + " failed") : "none failed");
  document.title = title.textContent + " \u2013 " + (isLog ? "trace log" : "session") + " " + session.began;

  const about = [isLog ? "From the trace log " + shown(session.file) + ", last written " + session.began
                       : "OrvClient, " + session.began];
  for (const life of data.lives) {
    const parts = [life.workbench ? "workbench " + life.workbench + (life.attached ? ", attached" : "") : "workbench"];
    parts.push("client id " + life.client);
    if (life.exitCode !== undefined)
      parts.push((life.exitCode === 1 && endOf(life) !== undefined ? "ended in order with exit code " : "ended with exit code ") +
        life.exitCode);
    else if (!isLog)
      parts.push(life.attached ? "left running" : "end not seen");
    about.push(parts.join(", "));
  }
  if (about.length > 4)
    about.splice(3, about.length - 4, "\u2026");
  byId("about").textContent = about.join("  \u00b7  ");

  const inCommands = commands.reduce((sum, step) => sum + durationOf(step), 0);
  const slowest = commands.reduce((most, step) => !most || durationOf(step) > durationOf(most) ? step : most, null);
  const tile = (name, value, small) => {
    const dd = element("dd", "", value);
    if (small)
      dd.append(element("small", "", small));
    byId("tiles").append(element("div", "", element("dt", "", name), dd));
  };
  tile("Session", human(session.durationMs), commands.length ? human(inCommands) + " in commands" : "");
  const ready = data.lives.find(life => life.readyElapsedMs !== undefined);
  if (ready)
    tile("Ready after", human(ready.readyElapsedMs), data.lives.length > 1 ? "the first of " + data.lives.length : "");
  if (!slowest)
    return;
  const sorted = commands.map(durationOf).sort((a, b) => a - b);
  tile("Median command", human(sorted[sorted.length >> 1]), "fastest " + human(sorted[0]));
  const link = element("a", "", "#" + slowest.number + " " + shown(lineOf(slowest)).slice(0, 60));
  link.href = "#c" + slowest.number;
  tile("Slowest command", human(durationOf(slowest)), link);
}

// To a folder: by its whole path, or from the page on where it lies below it.
function folderLink({folder, below}) {
  const encoded = path => path.replace(/\\/g, "/").split("/").map(encodeURIComponent).join("/");
  const link = element("a", "mono", shown(folder));
  if (below !== undefined)
    link.href = "./" + encoded(below);
  else if (/^[\\/]{2}/.test(folder))
    link.href = "file:" + encoded(folder);
  else
    link.href = "file:///" + encoded(folder).replace(/^([A-Za-z])%3A/, "$1:");
  return link;
}

function whyBad(step) {
  if (step.deviation)
    return "departed from the protocol: " + step.deviation;
  if (step.exception)
    return outcomeOf(step) + ", " + (step.exception.type || "") + (step.exception.message ? ": " + step.exception.message : "");
  return outcomeOf(step) + (step.error && step.error.message ? ", " + step.error.message : "");
}

function writeProblems() {
  const most = 12;
  const list = element("ul");
  const bad = commands.filter(isBad);
  for (const step of bad.slice(0, most)) {
    const link = element("a", "", "#" + step.number + " " + shown(lineOf(step)).slice(0, 80));
    link.href = "#c" + step.number;
    list.append(element("li", "", link, ": " + shown(whyBad(step)).slice(0, 300)));
  }
  if (bad.length > most)
    list.append(element("li", "soft", `${bad.length - most} more commands.`));
  // Those of a command that has failed, raised an exception or departed stand above.
  const others = data.errors.filter(error => !bad.length || ![1, 6, 7].includes(error.exitStatus));
  for (const error of others) {
    const item = element("li", "", shown(error.message));
    if (error.exitStatus !== undefined)
      item.append(element("span", "soft", " (after " + human(error.atMs) + ", exit status " + error.exitStatus + ")"));
    if (error.hints.length)
      item.append(element("ul", "", ...error.hints.map(hint => element("li", "", shown(hint)))));
    list.append(item);
  }
  if (session.errorsLeftOut)
    list.append(element("li", "soft", session.errorsLeftOut + " more errors are left out."));
  for (const entry of session.evidence)
    list.append(element("li", "", "What is left of the call: ", folderLink(entry)));
  if (!list.childNodes.length)
    return;
  byId("problems").append(element("h2", "", "What went wrong"), list);
  byId("problems").hidden = false;
}

function writeNotes() {
  const notes = session.notes.map(shown);
  if (isLog)
    notes.push("All times are the log's own, in whole milliseconds: a duration can be off by one, and what a command " +
      "printed and the value that it gave are not in a log.");
  if (commands.some(isQuestion))
    notes.push("Calls of OrvWorkBench.Look are questions of the client: lists, completions, values that are shown.");
  if (session.commandsLeftOut)
    notes.push(session.commandsLeftOut + " commands in the middle of the session are left out, to keep this page " +
      "usable: it has the first and the last ones.");
  if (session.logWithoutRoom)
    notes.push(session.logWithoutRoom + " lines of the trace log are left out, to keep this page usable.");
  if (!notes.length)
    return;
  byId("notes").append(element("ul", "", ...notes.map(note => element("li", "", note))));
  byId("notes").hidden = false;
}

// When the workbench told that it ends; undefined when it did not.
function endOf(life) {
  for (const step of data.steps)
    for (const [ms, kind, text] of step.moments)
      if (kind === "message" && text === "exiting" && ms >= life.atMs && ms <= life.endMs)
        return ms;
  return undefined;
}

// ---- Time and place ----
// A scale gives each time a place on the line; the view is the part of the line that is seen.

const busy = [];
for (const step of commands)
  busy.push({from: step.atMs, to: Math.max(step.endMs, step.atMs + durationOf(step)), step});
for (const life of data.lives) {
  if (life.readyMs !== undefined)
    busy.push({from: life.atMs, to: life.readyMs, life, name: "starting"});
  const last = commands.filter(s => life.endMs !== undefined && s.endMs <= life.endMs).pop();
  if (life.endMs !== undefined && !isLog) {
    const from = Math.max(life.readyMs || life.atMs, last ? last.endMs : 0);
    const exiting = endOf(life);
    if (exiting !== undefined && life.endMs > from)
      busy.push({from: Math.max(from, exiting), to: life.endMs, life, name: "ending"});
  }
}
busy.sort((a, b) => a.from - b.from);
// The line begins with what happened first, which is not when the client began.
const begin = busy.length ? busy[0].from : 0;
const total = Math.max(session.durationMs, ...busy.slice(-3).map(b => b.to), begin + 0.001);

function timeScale() {
  return {times: [begin, total], places: [0, total - begin]};
}

// Widths grow with the logarithm of the time.
function readableScale() {
  const lengths = busy.map(b => b.to - b.from).filter(d => d > 0).sort((a, b) => a - b);
  const unit = Math.max(lengths[Math.floor(lengths.length / 10)] || 1, 0.01);
  const times = [begin];
  const places = [0];
  const add = (time, width) => {
    if (time <= times[times.length - 1])
      return;
    times.push(time);
    places.push(places[places.length - 1] + width);
  };
  for (const one of busy) {
    const wait = one.from - times[times.length - 1];
    add(one.from, 0.12 + 0.12 * Math.log10(1 + Math.max(0, wait) / unit));
    add(one.to, 1 + 1.4 * Math.log10(1 + (one.to - one.from) / unit));
  }
  add(total, 0.3);
  return {times, places};
}

function between(from, to, value) {
  let low = 0;
  let high = from.length - 1;
  while (high - low > 1) {
    const middle = (low + high) >> 1;
    if (from[middle] <= value)
      low = middle;
    else
      high = middle;
  }
  const span = from[high] - from[low];
  return span > 0 ? to[low] + (to[high] - to[low]) * (value - from[low]) / span : to[low];
}

const state = {scale: null, isReadable: true, from: 0, to: 1, width: 800, selected: null, hover: null};
const placeOf = ms => between(state.scale.times, state.scale.places, ms);
const timeOf = place => between(state.scale.places, state.scale.times, place);
const lengthOf = () => state.scale.places[state.scale.places.length - 1];

function useScale(isReadable) {
  const middle = state.scale ? timeOf((state.from + state.to) / 2) : 0;
  const share = state.scale ? (state.to - state.from) / lengthOf() : 1;
  state.isReadable = isReadable;
  state.scale = isReadable ? readableScale() : timeScale();
  byId("scale-readable").setAttribute("aria-pressed", isReadable);
  byId("scale-time").setAttribute("aria-pressed", !isReadable);
  const span = share * lengthOf();
  look(placeOf(middle) - span / 2, placeOf(middle) + span / 2);
}

function look(from, to) {
  const length = lengthOf();
  const least = state.isReadable ? 0.2 : Math.max(length / 1e7, isLog ? 1 : 0.02);
  const span = Math.min(Math.max(to - from, least), length);
  state.from = Math.min(Math.max(from, 0), length - span);
  state.to = state.from + span;
  byId("zoom-all").disabled = span >= length;
  draw();
}

function zoom(factor, around) {
  const middle = around === undefined ? (state.from + state.to) / 2 : around;
  look(middle - (middle - state.from) * factor, middle + (state.to - middle) * factor);
}

// ---- Drawing the lanes ----

function layout() {
  const isNarrow = state.width < 640;
  const gutter = isNarrow ? 0 : 104;
  const name = isNarrow ? 15 : 0;
  const lane = {};
  let y = 27;
  for (const [key, height, gap] of [["client", 28, 14], ["bench", 28, 12], ["output", 14, 6], ["log", 14, 10]]) {
    lane[key] = {y: y + name, height};
    y += name + height + gap;
  }
  return {isNarrow, gutter, lane, height: y};
}

const laneNames = {client: "Client", bench: "Workbench", output: "Output", log: "Trace log"};

// Boxes that would be thinner than a pixel become one.
class Boxes {
  constructor(svg, y, height) {
    this.svg = svg;
    this.y = y;
    this.height = height;
    this.open = null;
  }
  add(x0, x1, className, least) {
    const end = Math.max(x1, x0 + least);
    const open = this.open;
    if (open && open.className === className && x0 <= open.x1 + 0.4 && (end - x0 < 1.6 || open.x1 - open.x0 < 1.6)) {
      open.x1 = Math.max(open.x1, end);
      return;
    }
    this.flush();
    this.open = {x0, x1: end, className};
  }
  flush() {
    const open = this.open;
    this.open = null;
    if (open)
      this.svg.append(drawn("rect", {x: open.x0.toFixed(2), y: this.y, width: (open.x1 - open.x0).toFixed(2),
        height: this.height, rx: open.x1 - open.x0 > 6 ? 3 : 0, class: open.className}));
  }
}

// Once for all that changes before the next frame.
function draw() {
  if (state.isDrawAwaited)
    return;
  state.isDrawAwaited = true;
  requestAnimationFrame(() => {
    state.isDrawAwaited = false;
    drawNow();
  });
}

function drawNow() {
  const svg = byId("lanes");
  const width = state.width;
  const {isNarrow, gutter, lane, height} = layout();
  const scale = (width - gutter - 8) / (state.to - state.from);
  const x = ms => gutter + (placeOf(ms) - state.from) * scale;
  state.x = x;
  state.timeAt = px => timeOf(state.from + (px - gutter) / scale);
  state.placeAt = px => state.from + (px - gutter) / scale;
  state.pxPerPlace = scale;
  svg.replaceChildren();
  svg.setAttribute("viewBox", `0 0 ${width} ${height}`);
  svg.setAttribute("height", height);
  const clip = drawn("clipPath", {id: "inside"});
  clip.append(drawn("rect", {x: gutter, y: 0, width: Math.max(0, width - gutter), height}));
  svg.append(clip);
  const inside = drawn("g", {"clip-path": "url(#inside)"});
  const [first, last] = [timeOf(state.from), timeOf(state.to)];
  const isSeen = one => one.to >= first && one.from <= last;
  const seen = busy.filter(isSeen);

  for (const key in lane)
    inside.append(drawn("rect", {x: gutter, y: lane[key].y, width, height: lane[key].height, class: "s-track"}));
  drawAxis(inside, x, gutter, height, seen, first, last);
  drawLives(inside, x, lane.bench, first, last);
  drawSelected(inside, x, height);
  drawBars(inside, x, lane, seen);
  drawDots(inside, x, lane, first, last);
  svg.append(inside);
  for (const key in lane)
    svg.append(drawn("text", {x: isNarrow ? 4 : 12, y: isNarrow ? lane[key].y - 4 : lane[key].y + lane[key].height / 2 + 4,
      class: "lane-name"}, laneNames[key]));
  drawOverview();
}

function drawAxis(svg, x, gutter, height, seen, first, last) {
  if (!state.isReadable) {
    const wish = (last - first) * 96 / Math.max(1, state.width - gutter);
    const power = Math.pow(10, Math.floor(Math.log10(wish)));
    const step = [1, 2, 5, 10].map(n => n * power).find(n => n >= wish) || wish;
    for (let ms = Math.ceil(first / step) * step; ms <= last; ms += step) {
      svg.append(drawn("line", {x1: x(ms), x2: x(ms), y1: 20, y2: height, class: "grid"}));
      const text = step >= 1000 ? (ms / 1000).toFixed(step % 1000 ? 1 : 0) + " s"
        : ms.toFixed(Math.max(0, -Math.floor(Math.log10(step) + 1e-9))) + " ms";
      if (x(ms) + text.length * 6.5 < state.width)
        svg.append(drawn("text", {x: x(ms) + 3, y: 13, class: "axis"}, text));
    }
    return;
  }
  let free = -Infinity;
  for (const one of seen) {
    const at = x(one.from);
    if (at < Math.max(free, gutter - 1))
      continue;
    const text = one.from >= 10000 ? human(one.from) : one.from.toFixed(0) + " ms";
    svg.append(drawn("line", {x1: at, x2: at, y1: 20, y2: height, class: "grid"}));
    if (at + text.length * 6.5 < state.width)
      svg.append(drawn("text", {x: at + 3, y: 13, class: "axis"}, text));
    free = at + 12 + text.length * 7;
  }
  // A wait that was folded.
  for (let i = 1; i < seen.length; ++i) {
    const wait = seen[i].from - seen[i - 1].to;
    const [from, to] = [x(seen[i - 1].to), x(seen[i].from)];
    if (wait > 100 && wait > total / 50 && to - from > 3)
      svg.append(drawn("line", {x1: (from + to) / 2, x2: (from + to) / 2, y1: 22, y2: height, class: "fold"}));
  }
}

function drawLives(svg, x, bench, first, last) {
  for (const life of data.lives) {
    const end = life.endMs !== undefined ? life.endMs : total;
    if (end < first || life.atMs > last)
      continue;
    const middle = bench.y + bench.height / 2;
    svg.append(drawn("line", {x1: x(life.atMs), x2: x(end), y1: middle, y2: middle, class: "edge"}));
  }
}

function drawSelected(svg, x, height) {
  const step = state.selected;
  if (!step)
    return;
  const from = x(step.atMs);
  const to = Math.max(x(step.atMs + durationOf(step)), from + 3);
  svg.append(drawn("rect", {x: from - 2, y: 20, width: to - from + 4, height: height - 22, rx: 3, class: "s-pick"}));
}

function drawBars(svg, x, lane, seen) {
  const client = new Boxes(svg, lane.client.y, lane.client.height);
  const bench = new Boxes(svg, lane.bench.y, lane.bench.height);
  for (const one of seen) {
    if (!one.step) {
      bench.add(x(one.from), x(one.to), "s-life", 1);
      continue;
    }
    if (isBad(one.step))
      continue;
    client.add(x(one.from), x(one.from + durationOf(one.step)), "s-client", 1);
    addPhases(bench, x, one.step);
  }
  client.flush();
  bench.flush();
  // Over the others, so that none is lost among them.
  for (const one of seen)
    if (one.step && isBad(one.step)) {
      client.add(x(one.from), x(one.from + durationOf(one.step)), "s-bad", 3);
      addPhases(bench, x, one.step);
    }
  client.flush();
  bench.flush();
  for (const one of seen)
    drawInside(svg, x, lane, one);
}

// Where there is no room for its parts, a command is shown as the longest one.
function addPhases(boxes, x, step) {
  const phases = phasesOf(step);
  const [from, to] = [x(step.atMs), x(phases[phases.length - 1][2])];
  const classOf = name => step.outcome ? "s-" + name : "s-unknown";
  if (to - from < 3) {
    const longest = phases.reduce((most, phase) => phase[2] - phase[1] > most[2] - most[1] ? phase : most);
    boxes.add(from, to, classOf(longest[0]), 0.7);
    return;
  }
  for (const [name, start, end] of phases)
    boxes.add(x(start), x(end), classOf(name), 0.7);
}

// What there is room for: the text in the bar, and who told whom between the lanes.
function drawInside(svg, x, lane, one) {
  const step = one.step;
  const [from, to] = [Math.max(x(one.from), layout().gutter), Math.min(x(one.to), state.width)];
  const room = Math.floor((to - from - 10) / 6.7);
  if (room >= 4 && !step)
    svg.append(drawn("text", {x: from + 5, y: lane.bench.y + 18, class: "inside"}, one.name.slice(0, room)));
  if (!step)
    return;
  if (isBad(step) && x(one.from) >= layout().gutter - 6) {
    const at = x(one.from);
    const y = lane.client.y - 2;
    svg.append(drawn("path", {d: `M${at - 4} ${y - 7}h8l-4 7z`, class: "s-bad"}));
  }
  if (room >= 4) {
    const text = shown(lineOf(step)).replace(/\s+/g, " ");
    svg.append(drawn("text", {x: from + 5, y: lane.client.y + 18, class: "inside"},
      text.length > room ? text.slice(0, room - 1) + "\u2026" : text));
  }
  if (x(one.to) - x(one.from) < 46 || step.times)
    return;
  const [top, bottom] = [lane.client.y + lane.client.height, lane.bench.y];
  const arrow = (ms, isDown) => {
    const at = x(ms);
    const tip = isDown ? bottom : top;
    svg.append(drawn("path", {d: `M${at} ${top}V${bottom}`, class: "s-line"}),
      drawn("path", {d: `M${at - 3} ${tip + (isDown ? -4 : 4)}L${at} ${tip}L${at + 3} ${tip + (isDown ? -4 : 4)}`, class: "s-line"}));
  };
  arrow(step.atMs, true);
  for (const [ms, kind] of step.moments)
    if (kind === "response" || kind === "message" || kind === "answer")
      arrow(ms, kind === "answer");
}

function drawDots(svg, x, lane, first, last) {
  const taken = {output: -Infinity, log: -Infinity};
  const dot = (key, ms, isShown) => {
    if (ms < first || ms > last)
      return;
    const at = x(ms);
    if (at - taken[key] < 3)
      return;
    taken[key] = at;
    const {y, height} = lane[key];
    svg.append(isShown ? drawn("circle", {cx: at, cy: y + height / 2, r: 3, class: "s-dot"})
      : drawn("rect", {x: at - 0.75, y: y + 2, width: 1.5, height: height - 4, class: "s-log"}));
  };
  for (const step of data.steps)
    for (const [ms, kind] of step.moments)
      if (kind === "output" || kind === "partial" || kind === "shown")
        dot("output", ms, true);
  for (const [ms] of allLog)
    dot("log", ms, false);
}

const allLog = [...data.log, ...data.steps.flatMap(step => step.log || [])].sort((a, b) => a[0] - b[0]);

function drawOverview() {
  const svg = byId("overview");
  const isWhole = state.to - state.from >= lengthOf() * 0.999;
  svg.style.display = isWhole ? "none" : "";
  svg.replaceChildren();
  if (isWhole)
    return;
  const height = 30;
  const width = state.width;
  svg.setAttribute("viewBox", `0 0 ${width} ${height}`);
  svg.setAttribute("height", height);
  const x = ms => placeOf(ms) / lengthOf() * width;
  for (const wanted of [false, true]) {
    const boxes = new Boxes(svg, 8, 14);
    for (const one of busy)
      if ((one.step ? isBad(one.step) : false) === wanted)
        boxes.add(x(one.from), x(one.to), one.step ? (wanted ? "s-bad" : "s-client") : "s-life", wanted ? 2 : 1);
    boxes.flush();
  }
  const [from, to] = [state.from / lengthOf() * width, state.to / lengthOf() * width];
  svg.append(drawn("rect", {x: from, y: 1, width: Math.max(3, to - from), height: height - 2, rx: 3, class: "s-window"}));
}

// ---- Pointer and keys on the time line ----

function nearest(px, py) {
  const ms = state.timeAt(px);
  let best = null;
  let distance = 7;
  for (const one of busy) {
    const [from, to] = [state.x(one.from), Math.max(state.x(one.to), state.x(one.from) + 1)];
    if (from > px + 8)
      break;
    const away = px < from ? from - px : px > to ? px - to : 0;
    // Of several at one place the failed one is drawn on top.
    if (away < distance || (away === distance && one.step && isBad(one.step))) {
      best = one;
      distance = away;
    }
  }
  return {one: best, ms, py};
}

function tipFor(one, py) {
  const parts = [];
  if (!one.step) {
    parts.push(element("div", "", "workbench " + one.name), element("div", "soft num", human(one.to - one.from)));
    return parts;
  }
  const step = one.step;
  parts.push(element("div", "", element("b", "", "#" + step.number + " "), mono(lineOf(step).slice(0, 300))));
  parts.push(element("div", isBad(step) ? "bad" : "soft", outcomeOf(step) + ", " + human(durationOf(step)) +
    (step.deviation ? ", against the protocol" : "")));
  const lane = layout().lane;
  const isBeside = key => py >= lane[key].y - 4 && py <= lane[key].y + lane[key].height + 4;
  if (isBeside("output"))
    for (const [, kind, text] of step.moments.filter(m => /output|partial|shown/.test(m[1])).slice(0, 8))
      parts.push(element("div", "", mono(text.slice(0, 200), kind === "shown" ? "soft" : "")));
  else if (isBeside("log"))
    for (const [, text] of (step.log || []).slice(0, 12))
      parts.push(element("div", "", mono(text.slice(0, 200))));
  else
    parts.push(element("div", "soft num",
      phasesOf(step).map(([name, from, to]) => phaseNames[name] + " " + human(to - from)).join(", ")));
  return parts;
}

function bindChart() {
  const svg = byId("lanes");
  const tip = byId("tip");
  let drag = null;
  const place = event => {
    const box = svg.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
  };
  svg.addEventListener("pointerdown", event => {
    drag = {px: place(event)[0], from: state.from, to: state.to, moved: false};
    svg.setPointerCapture(event.pointerId);
  });
  svg.addEventListener("pointermove", event => {
    const [px, py] = place(event);
    if (drag && Math.abs(px - drag.px) > 4)
      drag.moved = true;
    if (drag && drag.moved) {
      const by = (drag.px - px) / state.pxPerPlace;
      svg.classList.add("dragging");
      tip.hidden = true;
      look(drag.from + by, drag.to + by);
      return;
    }
    const {one} = nearest(px, py);
    tip.hidden = !one;
    if (!one)
      return;
    tip.replaceChildren(...tipFor(one, py));
    tip.style.left = Math.max(0, Math.min(px + 14, state.width - tip.offsetWidth - 6)) + "px";
    tip.style.top = Math.max(4, Math.min(py + 16, svg.clientHeight - tip.offsetHeight - 4)) + "px";
  });
  svg.addEventListener("pointerup", event => {
    const clicked = drag && !drag.moved;
    drag = null;
    svg.classList.remove("dragging");
    if (!clicked)
      return;
    const {one} = nearest(...place(event));
    if (one && one.step)
      select(one.step);
  });
  svg.addEventListener("pointerleave", () => { tip.hidden = true; });
  svg.addEventListener("pointercancel", () => { drag = null; });
  svg.addEventListener("wheel", event => {
    const [px] = place(event);
    if (event.ctrlKey || event.metaKey)
      zoom(Math.exp(event.deltaY / 300), state.placeAt(px));
    else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      const by = (event.deltaX || event.deltaY) / state.pxPerPlace;
      look(state.from + by, state.to + by);
    } else
      return;
    event.preventDefault();
  }, {passive: false});
  const centre = event => {
    const box = byId("overview").getBoundingClientRect();
    const middle = (event.clientX - box.left) / box.width * lengthOf();
    const half = (state.to - state.from) / 2;
    look(middle - half, middle + half);
  };
  byId("overview").addEventListener("pointerdown", event => {
    byId("overview").setPointerCapture(event.pointerId);
    centre(event);
  });
  byId("overview").addEventListener("pointermove", event => { if (event.buttons) centre(event); });
  byId("zoom-in").addEventListener("click", () => zoom(0.5));
  byId("zoom-out").addEventListener("click", () => zoom(2));
  byId("zoom-all").addEventListener("click", () => look(0, lengthOf()));
  byId("scale-readable").addEventListener("click", () => useScale(true));
  byId("scale-time").addEventListener("click", () => useScale(false));
  byId("failure-next").addEventListener("click", () => toFailure(1));
  byId("failure-before").addEventListener("click", () => toFailure(-1));
  byId("chart").addEventListener("keydown", onKey);
}

function onKey(event) {
  if (event.ctrlKey || event.metaKey || event.altKey)
    return;
  const index = state.selected ? state.selected.index : -1;
  const to = step => { select(step); reveal(step); };
  const keys = {
    ArrowLeft: () => to(commands[Math.max(0, index - 1)]),
    ArrowRight: () => to(commands[Math.min(commands.length - 1, index + 1)]),
    Home: () => to(commands[0]),
    End: () => to(commands[commands.length - 1]),
    "+": () => zoom(0.5, state.selected ? placeOf(state.selected.atMs) : undefined),
    "-": () => zoom(2),
    0: () => look(0, lengthOf()),
    f: () => toFailure(1),
    F: () => toFailure(-1)
  };
  if (!keys[event.key] || !commands.length)
    return;
  event.preventDefault();
  keys[event.key]();
}

function toFailure(direction) {
  const bad = commands.filter(isBad);
  const at = state.selected ? state.selected.index : -1;
  const next = direction > 0 ? bad.find(step => step.index > at) || bad[0]
    : [...bad].reverse().find(step => step.index < at) || bad[bad.length - 1];
  if (!next)
    return;
  select(next);
  reveal(next);
}

// Moves the view so that the command is seen.
function reveal(step) {
  const [from, to] = [placeOf(step.atMs), placeOf(step.atMs + durationOf(step))];
  if (from >= state.from && to <= state.to)
    return;
  const span = Math.max(state.to - state.from, (to - from) * 1.5);
  look((from + to - span) / 2, (from + to + span) / 2);
}

// ---- One command ----

function sequenceOf(step) {
  const rows = element("div", "rows");
  const put = (ms, client, arrow, bench, phase) => {
    rows.append(element("span", "at num", ms === null ? "" : "+" + exact(ms - step.atMs)),
      element("span", "client-side", ...[].concat(client)), arrow, element("span", "bench " + (phase || ""), ...[].concat(bench)));
  };
  const arrow = (text, side, isFailure) => element("span", "arrow " + side + (isFailure ? " bad" : ""), text);
  const none = () => element("span", "none");
  rows.append(element("span", "side at", "ms"), element("span", "side client-side", "Client"), element("span", "side"),
    element("span", "side bench", "Workbench"));
  const responses = step.moments.filter(m => m[1] === "response");
  const final = step.elapsedMs === undefined ? null : responses[responses.length - 1];
  let phase = "in-call";
  put(step.atMs, "", arrow("sets " + step.event, "right"), step.method ? ["calls ", mono(step.method)] : "stops", phase);
  step.moments.forEach((moment, index) => {
    if (step.momentsLeftOut && index === step.momentsBeforeGap)
      rows.append(element("span", "gap", "\u2026 " + step.momentsLeftOut + " more left out \u2026"));
    const [ms, kind, text] = moment;
    if (kind === "output" || kind === "partial")
      put(ms, "", none(), element("span", "out", mono(text), kind === "partial" ? element("span", "soft", " (no line end yet)") : ""),
        phase);
    else if (kind === "shown")
      put(ms, "", none(), element("span", "out soft", mono(text)));
    else if (kind === "response") {
      const isFinal = moment === final;
      put(ms, isFinal ? "done" : "", arrow(text, "left", text === "failed"), isFinal ? "final response" : "first response", phase);
      phase = isFinal ? "" : "in-idle";
    } else if (kind === "message")
      put(ms, "", arrow(text, "left"), text + " message, waits for the answer", phase);
    else if (kind === "answer") {
      phase = step.breakpoint && phase === "in-idle" ? "in-break" : phase;
      put(ms, "", arrow("answer", "right"), phase === "in-break" ? ["calls ", mono("OrvBreakPoint")] : "", phase);
    }
  });
  if (!step.outcome || /lost|timedOut|interrupted/.test(step.outcome))
    put(step.endMs, element("span", "bad", outcomeOf(step)), none(), element("span", "bad", "no final response"), "");
  return rows;
}

function exceptionOf(exception, isCause) {
  const made = element("div", isCause ? "cause" : "", isCause ? element("span", "soft", "caused by ") : "",
    mono(exception.type || "", "bad"), exception.message ? ": " + shown(exception.message) : "");
  if (exception.frames && exception.frames.length)
    made.append(element("pre", "frames", exception.frames.map(shown).join("\n")));
  for (const cause of exception.causes || [])
    made.append(exceptionOf(cause, true));
  return made;
}

function valueOf(value) {
  const text = value.text === null || value.text === undefined ? "" : " " + value.text;
  return element("span", "", mono((value.type || "null") + text));
}

function factsOf(step) {
  const list = element("dl");
  const add = (name, ...what) => list.append(element("dt", "", name), element("dd", "", ...what));
  if (step.times)
    add("Runs", `${step.times.count}: minimum ${exact(step.times.minimumMs)}, median ${exact(step.times.medianMs)}, ` +
      `maximum ${exact(step.times.maximumMs)} ms`);
  else
    add("Time", element("span", "num", step.elapsedMs !== undefined ? exact(step.elapsedMs) + " ms" : "no final response"));
  const phases = phasesOf(step);
  for (const [name, from, to] of phases.length > 1 ? phases : [])
    add("", element("span", "num soft", phaseNames[name] + " " + exact(to - from) + " ms"));
  if (step.deviation)
    add("Protocol", element("span", "bad", shown(step.deviation)));
  if (step.error)
    add("Refused", element("span", "bad", shown(step.error.message || "")));
  if (step.exception)
    add("Raised", exceptionOf(step.exception, false));
  if (step.value)
    add("Value", valueOf(step.value));
  if (step.made)
    add("Made", mono(String(step.made)));
  for (const reference of step.references || [])
    add("out " + shown(String(reference.name || "")), valueOf(reference));
  if (step.assembly)
    add("Assembly", mono(step.assembly.name || ""), element("div", "soft", mono(step.assembly.file || "")));
  if (step.result)
    add("Result", (step.result.number === null ? "" : step.result.number + " ") + step.result.name);
  if (step.hint)
    add("Hint", shown(step.hint));
  if (step.where)
    add("In", shown(step.where));
  add("Set at", element("span", "num", exact(step.atMs) + " ms"));
  const bar = element("div", "phase");
  const whole = phases[phases.length - 1][2] - step.atMs;
  for (const [name, from, to] of phases) {
    const part = element("i", "k-" + name);
    part.style.width = (whole > 0 ? (to - from) / whole * 100 : 100) + "%";
    bar.append(part);
  }
  return [bar, list];
}

function caretOf(step) {
  const column = step.error && step.error.column;
  if (!column || column > step.text.length + 1)
    return null;
  return element("pre", "bad", " ".repeat(step.command.length + column) + "^");
}

// Times from a given one on; a log has whole milliseconds.
function linesOf(lines, from, leftOut, beforeGap) {
  const made = element("div", "lines");
  lines.forEach(([ms, text], index) => {
    if (leftOut && index === beforeGap)
      made.append(element("span"), element("span", "soft", "\u2026 " + leftOut + " lines left out \u2026"));
    made.append(element("span", "at num", (ms - from).toFixed(0)), mono(text));
  });
  return made;
}

function select(step) {
  if (!step)
    return;
  state.selected = step;
  const top = element("div", "top");
  const name = element("h2", "", element("span", "soft", "#" + step.number + " "), mono(lineOf(step)));
  const caret = caretOf(step);
  if (caret && lineOf(step).length < 60) {
    caret.prepend(" ".repeat(String(step.number).length + 2));
    name.replaceChildren(element("pre", "", mono("#" + step.number + " ", "soft"), shown(lineOf(step))), caret);
  }
  top.append(name, element("span", "badge" + (isBad(step) ? " bad" : ""), outcomeOf(step)),
    element("span", "num soft", human(durationOf(step))));
  const facts = element("div", "facts", ...factsOf(step));
  if (step.log) {
    const lines = element("details", "", element("summary", "", `Trace log, ${step.log.length} lines (milliseconds, rounded)`),
      linesOf(step.log, step.atMs, step.logLeftOut, step.logBeforeGap));
    lines.open = isLog;
    facts.append(lines);
  }
  byId("detail").replaceChildren(top,
    element("div", "body", element("div", "sequence", sequenceOf(step)), facts));
  byId("detail").hidden = false;
  for (const row of byId("table").tBodies[0].rows)
    row.setAttribute("aria-selected", row.dataset.number === String(step.number));
  draw();
}

// ---- The table ----

const columns = [
  {key: "number", title: "#", className: "c-number", value: step => step.number},
  {key: "command", title: "Command", className: "", value: lineOf},
  {key: "outcome", title: "Outcome", className: "c-outcome", value: outcomeOf},
  {key: "start", title: "Start, ms", className: "c-start number", value: step => step.atMs},
  {key: "time", title: "Time, ms", className: "c-time number", value: durationOf, isDownFirst: true},
  {key: "bar", title: "", className: "c-bar"}
];
const pageRows = 200;
const table = {sort: "number", isDown: false, rows: pageRows};

function matching() {
  const find = byId("find").value.trim().toLowerCase();
  const onlyFailed = byId("only-failed").checked;
  const list = commands.filter(step => (!onlyFailed || isBad(step)) &&
    (!find || lineOf(step).toLowerCase().includes(find) || outcomeOf(step).includes(find)));
  const column = columns.find(c => c.key === table.sort);
  const order = (a, b) => {
    const [one, other] = [column.value(a), column.value(b)];
    return one < other ? -1 : one > other ? 1 : a.index - b.index;
  };
  return list.sort((a, b) => table.isDown ? order(b, a) : order(a, b));
}

function rowOf(step, longest) {
  const row = element("tr", isBad(step) ? "failed" : isQuestion(step) ? "question" : "");
  row.dataset.number = step.number;
  row.setAttribute("aria-selected", state.selected === step);
  const link = element("a", "command", element("b", "", mono(step.command)), step.text ? mono(" " + step.text.slice(0, 400)) : "");
  link.href = "#c" + step.number;
  const time = step.elapsedMs !== undefined ? exact(step.elapsedMs)
    : step.times ? step.times.count + " runs" : "";
  const bar = element("span", "bar");
  bar.style.width = (longest > 0 ? durationOf(step) / longest * 100 : 0) + "%";
  const outcome = element("td", isBad(step) ? "c-outcome bad" : "c-outcome", outcomeOf(step));
  if (step.deviation)
    outcome.append(element("div", "", "protocol"));
  row.append(element("td", "c-number num", String(step.number)), element("td", "", link), outcome,
    element("td", "c-start number num", exact(step.atMs)), element("td", "c-time number num", time),
    element("td", "c-bar", bar));
  row.addEventListener("click", event => {
    if (!event.target.closest("a"))
      select(step);
  });
  return row;
}

function fillTable() {
  const list = matching();
  const longest = Math.max(0, ...commands.map(durationOf));
  const body = byId("table").tBodies[0];
  const rows = list.slice(0, table.rows).map(step => rowOf(step, longest));
  if (session.commandsLeftOut && table.sort === "number" && !table.isDown && rows.length === list.length)
    putGap(rows, list);
  if (!rows.length) {
    const cell = element("td", "soft", commands.length ? "No command matches." : "There was no command.");
    cell.colSpan = columns.length;
    rows.push(element("tr", "", cell));
  }
  body.replaceChildren(...rows);
  for (const head of byId("table").tHead.rows[0].cells)
    if (head.dataset.key === table.sort)
      head.setAttribute("aria-sort", table.isDown ? "descending" : "ascending");
    else
      head.removeAttribute("aria-sort");
  const more = byId("more");
  more.hidden = list.length <= table.rows;
  const button = (text, count) => {
    const made = element("button", "", text);
    made.type = "button";
    made.addEventListener("click", () => { table.rows = count; fillTable(); });
    return made;
  };
  more.replaceChildren(`${Math.min(table.rows, list.length)} of ${list.length} are listed.`,
    button(`${pageRows} more`, table.rows + pageRows), button("All", Infinity));
}

function putGap(rows, list) {
  const at = list.findIndex((step, index) => index > 0 && step.number !== list[index - 1].number + 1);
  if (at < 0)
    return;
  const cell = element("td", "soft", `\u2026 ${session.commandsLeftOut} commands left out \u2026`);
  cell.colSpan = columns.length;
  rows.splice(at, 0, element("tr", "", cell));
}

function makeTable() {
  const head = byId("table").tHead.rows[0];
  for (const column of columns) {
    const cell = element("th", column.className);
    cell.scope = "col";
    if (column.value) {
      cell.dataset.key = column.key;
      const button = element("button", "", column.title);
      button.type = "button";
      button.addEventListener("click", () => {
        table.isDown = table.sort === column.key ? !table.isDown : Boolean(column.isDownFirst);
        table.sort = column.key;
        fillTable();
      });
      cell.append(button);
    } else
      cell.setAttribute("aria-hidden", "true");
    head.append(cell);
  }
  byId("find").addEventListener("input", fillTable);
  byId("only-failed").addEventListener("change", fillTable);
  fillTable();
}

// ---- What belongs to no command ----

function writeAround() {
  const lines = [];
  for (const step of data.steps.filter(s => !s.number))
    for (const [ms, kind, text] of step.moments)
      if (kind !== "answer")
        lines.push([ms, kind === "message" ? "message " + text : text]);
  const section = byId("around");
  const add = (title, made) => section.append(element("details", "", element("summary", "", title), made));
  if (lines.length)
    add(`Output and messages, ${lines.length} (milliseconds)`, linesOf(lines, 0));
  if (data.log.length)
    add(`Trace log, ${data.log.length} lines (milliseconds)`, linesOf(data.log, 0, session.logLeftOut, session.logBeforeGap));
  section.hidden = !lines.length && !data.log.length;
}

// ---- All of it ----

function selectByAddress() {
  const match = /^#c(\d+)$/.exec(location.hash);
  const step = match && commands.find(s => s.number === Number(match[1]));
  if (!step)
    return;
  select(step);
  reveal(step);
  byId("detail").scrollIntoView({block: "nearest"});
}

// True time is the better picture as long as nothing in it is too small to be seen.
function fitsTrueTime() {
  const lengths = busy.map(b => b.to - b.from).sort((a, b) => a - b);
  return lengths.length > 0 && lengths[lengths.length >> 2] / (total - begin) * state.width >= 14;
}

function start() {
  writeHead();
  writeProblems();
  writeNotes();
  makeTable();
  writeAround();
  window.addEventListener("hashchange", selectByAddress);
  if (busy.length) {
    byId("timeline").hidden = false;
    byId("failures").hidden = !commands.some(isBad);
    state.width = Math.max(280, byId("chart").clientWidth);
    bindChart();
    useScale(!fitsTrueTime());
    look(0, lengthOf());
    // In a frame of its own: drawing changes the height, which a window may answer with another width.
    new ResizeObserver(() => requestAnimationFrame(() => {
      const width = Math.max(280, byId("chart").clientWidth);
      if (width === state.width)
        return;
      state.width = width;
      draw();
    })).observe(byId("chart"));
  }
  select(commands.find(isBad) || commands.reduce((most, s) => !most || durationOf(s) > durationOf(most) ? s : most, null));
  selectByAddress();
  document.documentElement.dataset.shown = "true";
}

start();
})();

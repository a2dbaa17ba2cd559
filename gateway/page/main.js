// The page of one node and its far end: what it listens to, and who draws it.

import { lab, readValues } from "./api.js";
import { Channels, channelOf, fixedPatterns } from "./channels.js";
import { ChannelView } from "./channel.js";
import { byId, element, setAttributes, setText, sign } from "./dom.js";
import { Happenings, logPath } from "./happenings.js";
import { Ladder } from "./ladder.js";
import { Link } from "./link.js";
import { Overview } from "./overview.js";
import { Panel } from "./panel.js";
import { Record } from "./record.js";
import { Spectrum } from "./spectrum.js";
import { legend, stateOfChannel } from "./states.js";
import { isFigure } from "./text.js";
import { Tree } from "./tree.js";
import { Values } from "./values.js";

const ofChannels = ["state", "measured", "target", "deadBand", "headroomUp", "headroomDown"];
// A stream takes sixteen patterns; "insight/*/*" is the line and the two ladders.
const heard = [
  "insight/summary", "insight/peer", logPath, "insight/*/*", "insight/device/booster/enabled",
  ...ofChannels.map((name) => `insight/client/*/*/${name}`),
  "data/client/*/*/attenuation", "data/client/*/*/peak", "data/channel/index", "data/line/1/*", "alarms/**",
];
// What no event tells, or nobody waits for.
const fixed = ["data/product", "data/system/*", "data/client/*/edfaCalibration", ...fixedPatterns];

const values = new Values();
const link = new Link(values, heard);
const channels = new Channels(values);
const record = new Record(values);
const happenings = new Happenings(channels);
const channelView = new ChannelView(channels, record, link);
const ladder = new Ladder(values);
const overview = new Overview(values, channels, link);
const panel = new Panel(values, channels);
const spectrum = new Spectrum(byId("spectrum"), channels, pointed);
new Tree();

const presentValuesTake = 2000; // ms, of a node far away

// The page appears when these are known, or after a while: piece by piece it would shift under the hand.
const awaited = new Set(["channels", "summary", "bench"]);

let side = "rx";
let selected;
let bench; // of a lab
let pinned = false;
let touched = false; // somebody has pointed
let list = [];

function select(channel) {
  selected = channel;
  bench?.show(channel);
  spectrum.select(channel);
  channelView.show(channel, pinned);
}

/// A pointer that passes shows a channel, a click holds it, arrow keys hold what they reach.
function pointed(channel, how) {
  touched = true;
  if (how === "pointer" && pinned) return;
  if (how === "click") pinned = !(pinned && selected?.id === channel.id);
  if (how === "key") pinned = true;
  if (how !== "pointer" || selected?.id !== channel.id) select(channel);
}

/// What is done to a channel is undone to the same one.
function hold() {
  touched = true;
  pinned = selected !== undefined;
  channelView.show(selected, pinned);
  return selected;
}

/// Whom to show as long as nobody points: who needs somebody, else who is on its way, else who is
/// furthest off.
const ranks = { person: 300, working: 200, good: 100, quiet: 0 };
function rank(channel) {
  const now = channels.figures(channel);
  const off = isFigure(now.measured) && isFigure(now.target) ? Math.abs(now.measured - now.target) : 0;
  return ranks[stateOfChannel(now.state).severity] + Math.min(off, 99);
}
const worst = () => list.reduce((best, channel) => (!best || rank(channel) > rank(best) ? channel : best), undefined);

/// Only for another kind of need: a page that flits from one to the next is not read.
function showWorst() {
  const kind = (channel) => (channel ? Math.floor(rank(channel) / 100) : -1);
  const candidate = worst();
  if (kind(candidate) !== kind(selected)) select(candidate);
}

function layOut() {
  const fresh = channels.of(side);
  if (JSON.stringify(fresh) === JSON.stringify(list)) return;
  list = fresh;
  const way = side === "rx" ? "to the line" : "from the line";
  spectrum.show(list, `${list.length} channels ${way}; arrow keys move from one to the next`);
  select(list.find(({ id }) => id === selected?.id) ?? worst());
  byId("no-channels").hidden = list.length > 0;
  arrived("channels");
}

values.watch(
  (path) => path === "data/channel/index" || path.endsWith("/state") || /\/(frequency|width|waveLength)$/.test(path),
  () => layOut(),
);
values.watch((path) => channelOf(path) !== undefined, (changed) => {
  const ids = new Set(changed.map(channelOf).filter((channel) => channel.side === side).map(({ id }) => id));
  spectrum.update(ids);
  if (selected && ids.has(selected.id)) channelView.update();
  if (!touched) showWorst();
  tally();
});

function arrived(part) {
  awaited.delete(part);
  if (awaited.size === 0) appear();
}
function appear() {
  document.documentElement.classList.remove("waiting");
  byId("no-channels").hidden = list.length > 0;
}
values.watch((path) => path === "insight/summary", () => arrived("summary"));

function tally() {
  const count = {};
  for (const channel of list) {
    const { severity } = stateOfChannel(channels.figures(channel).state);
    count[severity] = (count[severity] ?? 0) + 1;
  }
  const words = [["good", "on target or at rest"], ["working", "on their way"], ["person", "need somebody"], ["quiet", "dark or not regulated"]];
  setText(byId("tally"), words.filter(([severity]) => count[severity]).map(([severity, text]) => `${count[severity]} ${text}`).join(" \u00b7 "));
}

async function readFixed() {
  values.putAll(await readValues(...fixed).catch(() => ({})));
}
values.watch((path) => path === "data/channel/index", readFixed);

link.onSight(({ sees }) => {
  if (!sees) return record.interrupt();
  readFixed();
  happenings.load();
  refill();
});
// A page out of sight draws nothing and notes nothing.
document.addEventListener("visibilitychange", () => document.hidden || refill());

function refill() {
  record.doubt();
  channelView.update();
  channelView.fill();
}
link.onJournal(logPath, (text) => happenings.heard(text));

for (const choice of document.querySelectorAll("input[name=side]")) {
  choice.addEventListener("change", () => {
    side = choice.value;
    layOut();
    tally();
  });
}
document.addEventListener("keydown", (event) => {
  if (event.key !== "Escape" || !pinned) return;
  pinned = false;
  channelView.show(selected, pinned);
});

byId("legend").append(...legend.map(({ path, colour, text }) => element(
  "li", {}, sign(path, colour), text)));

setAttributes(document.documentElement, { "data-ready": "" });
overview.draw();
ladder.draw();
panel.draw();
link.open();
setTimeout(appear, presentValuesTake);

async function findBench() {
  const about = await lab.about().catch(() => undefined);
  if (about) {
    const { Bench } = await import("./bench.js");
    bench = new Bench(about, hold, () => channels.of("rx"));
    bench.show(selected);
  }
  arrived("bench");
}
findBench();

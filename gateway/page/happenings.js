// What happened on the node, newest first, in sentences: the daemon's event log, at the start from its
// history and then event by event.

import { readHistory } from "./api.js";
import { byId, element, sign } from "./dom.js";
import { pathOf } from "./states.js";
import { clockText, dayText, figure, isFigure, listed, number, readable, thzText } from "./text.js";

export const logPath = "insight/log";
const depth = 1000;
const page = 30;
const together = 3000; // ms
const named = 3; // channels of a line

const kinds = {
  lit: ["disc", "blue", "has light"],
  dark: ["hollow", "grey", "is dark"],
  arrived: ["disc", "green", "is on target"],
  exhausted: ["diamond", "red", "is exhausted"],
  guardBegan: ["query", "yellow", "is guarded"],
  guardEnded: ["ring", "green", "is guarded no more"],
  loopDown: ["diamond", "red", "is down"],
  loopUp: ["disc", "green", "is up again"],
  cut: ["diamond", "red", "is cut"],
  mended: ["disc", "green", "is mended"],
  stalled: ["diamond", "red", "is not regulated"],
  resumed: ["disc", "green", "is regulated again"],
  peerIdentified: ["disc", "green", "is identified"],
  peerLost: ["diamond", "yellow", "is lost"],
  channelAdded: ["triangle", "blue", "was added"],
  channelRemoved: ["square", "grey", "was removed"],
  parameterWritten: ["dash", "grey", "was written"],
  startFailed: ["diamond", "red", "keeps the node from starting"],
};
/// A part of the far end, which regulation goes on without.
const ofPeer = {
  stalled: ["query", "yellow", "cannot be read in full"],
  resumed: ["disc", "green", "can be read again"],
};
const unknown = ["dash", "grey", ""];

export class Happenings {
  #channels;
  #events = [];
  #known = new Set();
  #shown = page;

  constructor(channels) {
    this.#channels = channels;
    byId("log-more").addEventListener("click", () => {
      this.#shown += page * 5;
      this.draw();
    });
  }

  async load() {
    const entries = await readHistory(logPath).catch(() => []);
    entries.forEach((entry) => this.#take(entry.value));
    this.draw();
  }

  heard(text) {
    if (this.#take(text)) this.draw();
  }

  draw() {
    const lines = folded(this.#events);
    byId("log-list").replaceChildren(...this.#withDays(lines.slice(0, this.#shown)));
    byId("log-empty").hidden = lines.length > 0;
    byId("log-more").hidden = lines.length <= this.#shown;
  }

  #take(text) {
    if (typeof text !== "string" || text === "" || this.#known.has(text)) return false;
    const event = parsed(text);
    if (!event) return false;
    this.#known.add(text);
    this.#events.push({ ...event, text });
    if (this.#events.length > 1 && event.at < this.#events.at(-2).at) this.#events.sort((a, b) => a.at - b.at);
    while (this.#events.length > depth) this.#known.delete(this.#events.shift().text);
    return true;
  }

  /// A line tells the time of day; another day than today stands above its lines.
  #withDays(lines) {
    let day = dayText(Date.now());
    return lines.flatMap((line) => {
      const own = dayText(line.at);
      const heading = own === day ? [] : [element("li", { class: "day" }, own)];
      day = own;
      return [...heading, this.#lineOf(line)];
    });
  }

  #lineOf({ at, event, subjects, details }) {
    const [mark, colour, does] = (subjects[0] === "peer" && ofPeer[event]) || kinds[event] || unknown;
    const words = does || event;
    return element(
      "li", { "data-event": event },
      element("time", { datetime: new Date(at).toISOString() }, clockText(at)),
      sign(pathOf(mark), colour),
      element("span", {}, element("b", {}, this.#subjectsText(subjects)), ` ${subjects.length > 1 ? plural(words) : words}`, element("span", { class: "details" }, detailsText(event, details))),
    );
  }

  #subjectsText(subjects) {
    const names = subjects.map((on) => this.#subject(on)).sort();
    if (names.length <= named || loops.test(subjects[0])) return listed(names);
    if (!isChannel(subjects[0])) return `${alike(subjects[0])} (${names.length})`;
    return `${names.length} channels, ${names[0]} to ${names.at(-1)},`;
  }
  #subject(on) {
    const channel = /^client (rx|tx) (\d+)$/.exec(on);
    if (!channel) return on;
    return `${thzText(this.#channels.thz(Number(channel[2])))} ${channel[1]}`;
  }
}

/// Newest first; what befalls many channels within a few seconds is one line, and so are the same
/// parameters of many. Nothing that one of them went through changes its order by that.
function folded(events) {
  const lines = [];
  const open = new Map();
  for (const event of events.toReversed()) {
    const kind = `${event.event} ${alike(event.on)}`;
    const at = open.get(kind);
    const line = lines[at];
    if (line && line.at - event.at <= together && !lines.slice(at).some(({ subjects }) => subjects.includes(event.on))) {
      line.subjects.push(event.on);
      line.details = isChannel(event.on) ? {} : shared(line.details, event.details);
    } else {
      open.set(kind, lines.length);
      lines.push({ ...event, subjects: [event.on] });
    }
  }
  return lines;
}

const loops = /^(client (rx|tx)|line|panel)$/;
const isChannel = (on) => /^client (rx|tx) \d+$/.test(on);
/// The subject without what tells those of a kind apart.
const alike = (on) => (isChannel(on) ? "client" : on.replace(loops, "loop").replace(/\d{4,}/g, "*"));
const shared = (some, others) => Object.fromEntries(Object.entries(some).filter(([name, value]) => others[name] === value));
const plural = (words) => words.replace(/^is /, "are ").replace(/^has /, "have ").replace(/^was /, "were ");

function parsed(text) {
  try {
    const { time, event, on, ...details } = JSON.parse(text);
    const at = Date.parse(time);
    return Number.isFinite(at) ? { at, event: String(event), on: String(on), details } : undefined;
  } catch {
    return undefined;
  }
}

const units = { by: "dB", missing: "dB", power: "dBm", error: "dB", error_db: "dB" };

function detailsText(event, details) {
  const told = Object.entries(details).filter(([name, value]) => name !== "since" && value !== null && value !== "");
  if (told.length === 0) return "";
  if (event === "arrived" && isFigure(details.seconds)) return ` \u00b7 ${arrivedText(details)}`;
  return ` \u00b7 ${told.map(([name, value]) => detailText(name, value)).join(", ")}`;
}

function detailText(name, value) {
  if (name === "known") return value === "yes" ? "a product this node knows" : "a product this node does not know";
  if (!isFigure(value)) return readable(String(value));
  if (name === "seconds") return `after ${figure(value, 1)}\u00a0s`;
  return `${name} ${figure(value, Number.isInteger(value) ? 0 : 1)}${units[name] ? `\u00a0${units[name]}` : ""}`;
}

function arrivedText({ cause, seconds, steps }) {
  const why = cause === "target" ? "given another target" : cause ?? "off";
  return `${figure(seconds, 1)}\u00a0s and ${number(steps ?? 0, "step")} after it was ${why}`;
}

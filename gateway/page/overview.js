// The top of the page: which node this is, its state in one sentence, its alarms, and when the page
// is blind, since when and of whom.

import { channelOf } from "./channels.js";
import { nodeNow } from "./clock.js";
import { byId, element, setAttributes, setText, sign } from "./dom.js";
import { pathOf, stateOfLine } from "./states.js";
import { ago, listed, number, readable, thzText, timeText } from "./text.js";

const alarmPath = /^alarms\/(.+)\/severity$/;
const named = 4; // channels of an alarm that are named
const long = 180; // characters; a longer sentence stands in a smaller type

export class Overview {
  #values;
  #channels;
  #link;
  #shownAlarms;

  constructor(values, channels, link) {
    this.#values = values;
    this.#channels = channels;
    this.#link = link;
    const parts = /^insight\/(summary|peer|line\/)|^alarms\/|^data\/(product|swVersion|system\/hostname|line\/1\/remote)/;
    values.watch((path) => parts.test(path), () => this.draw());
    link.onSight(() => this.#drawSight());
    setInterval(() => this.#drawSight(), 1000);
  }

  draw() {
    const host = this.#values.text("data/system/hostname") ?? "";
    const product = this.#values.text("data/product") ?? "";
    setText(byId("node-host"), host || "node");
    setText(byId("node-product"), product);
    const title = [host, product].filter(Boolean).join(" \u00b7 ");
    if (title && document.title !== title) document.title = title;
    this.#drawPeer();
    const summary = readable(this.#values.text("insight/summary") ?? this.#values.error("insight/summary") ?? "Waiting for the node.");
    setText(byId("summary"), summary);
    setAttributes(byId("summary"), { class: summary.length > long ? "long" : null });
    this.#drawLine();
    this.#drawAlarms();
  }

  #drawPeer() {
    const told = (name) => this.#values.text(`data/line/1/${name}`);
    const product = told("remoteProduct");
    const known = product && product !== "n/a";
    const host = told("remoteHostname");
    setText(byId("node-peer"), known ? `faces ${host && host !== "n/a" ? `${host} \u00b7 ` : ""}${product}` : "no far end known");
    this.#drawPeerState(known);
  }

  /// What of it cannot be read, or that it is away: beside its name, where one looks for it.
  #drawPeerState(known) {
    const state = this.#values.text("insight/line/state");
    const parts = unreadableParts(this.#values.value("insight/peer"));
    const away = known && (state === "no peer" || state === "peer's readings stand still");
    let text = "";
    if (parts.length > 0) text = `its ${listed(parts)} cannot be read`;
    if (away) text = state === "no peer" ? "lost" : "its readings stand still";
    const note = byId("peer-state");
    note.hidden = text === "";
    note.replaceChildren(...(text ? [sign(pathOf("query"), "yellow"), element("span", {}, text)] : []));
  }

  #drawLine() {
    const state = this.#values.text("insight/line/state");
    const why = readable(this.#values.text("insight/line/why") ?? "");
    const look = stateOfLine(state);
    setText(byId("line-state"), state ? `Line ${state}${why && ":"}` : "");
    setText(byId("line-why"), why);
    // The sentence above may have said all of it.
    byId("line-note").hidden = why !== "" && byId("summary").textContent.includes(why);
    const mark = byId("line-mark");
    setAttributes(mark, { class: `mark ${look.colour}` });
    setAttributes(mark.firstElementChild, { d: state ? look.path : null });
    setAttributes(byId("line-note"), { "data-state": state });
  }

  #drawAlarms() {
    const alarms = this.#alarms();
    if (alarms.join("\n") === this.#shownAlarms) return;
    this.#shownAlarms = alarms.join("\n");
    byId("alarms").replaceChildren(...alarms.map((text) => element(
      "li", {}, sign(pathOf("diamond"), "red"), element("span", {}, text))));
    setText(byId("alarms-title"), alarms.length === 0 ? "No alarms" : "Alarms");
  }

  /// Those of channels are folded: a dark band is one line for each direction.
  #alarms() {
    const raised = [];
    const folded = new Map();
    for (const path of this.#values.paths()) {
      const of = alarmPath.exec(path)?.[1];
      if (!of || !(this.#values.number(path) > 0)) continue;
      const channel = channelOf(`data/${of}`);
      const words = of.split("/").filter((word) => !/^\d+$/.test(word)).map(inWords);
      if (!channel) raised.push(words.join(" "));
      else folded.set(words.join(" "), [...(folded.get(words.join(" ")) ?? []), channel.id]);
    }
    for (const [words, ids] of folded) raised.push(`${words}: ${this.#channelsText(ids)}`);
    return [...new Set(raised)];
  }
  #channelsText(ids) {
    if (ids.length > named) return number(ids.length, "channel");
    return listed(ids.map((id) => this.#channels.thz(id)).sort((a, b) => a - b).map(thzText));
  }

  #drawSight() {
    const { sees, who, since } = this.#link.sight;
    document.documentElement.classList.toggle("blind", !sees);
    const banner = byId("blind");
    banner.hidden = sees;
    if (sees) {
      setText(byId("sight"), "live");
      return;
    }
    setText(byId("sight"), "blind");
    const whose = who === "daemon" ? "the daemon does not answer the gateway" : "the gateway does not answer";
    setText(byId("blind-text"), `Blind since ${timeText(since)}: ${whose}. What stands below is from before.`);
    setText(byId("blind-for"), ago(nodeNow() - since));
  }
}

const unreadableParts = (told) => (Array.isArray(told?.unreadable) ? told.unreadable.map(({ part }) => String(part)) : []);
const inWords = (word) => word.replace(/([A-Z])/g, (letter) => ` ${letter.toLowerCase()}`);

// The channels of one direction over the band: a bar for the power, a tick for the target within its
// dead band, behind the bar what the attenuator can still give and take, below it the state's shape.
// A list box for the keyboard and for those who hear it. Draws again only the channels that changed.

import { onWidth, setAttributes, shape } from "./dom.js";
import { stateOfChannel } from "./states.js";
import { figure, isFigure, thzText } from "./text.js";

const height = 300;
const top = 26;
const floor = 232; // where the bars stand
const marks = 250; // middle of the row of shapes
const axis = 272;
const left = 40;
const right = 12;
const narrowest = 7; // px of a channel; a wider band is scrolled
const below = 12; // dB shown below the lowest target
const above = 10;
const usual = { lowest: -10, highest: 15 }; // dBm, in the dark

export class Spectrum {
  #host;
  #channels;
  #pointed;
  #list = [];
  #slots = new Map();
  #scale = usual;
  #current;
  #root;
  #labels = shape("svg", { class: "scale", "aria-hidden": "true", width: left, height });

  /// `pointed(channel, how)`: how is "pointer", "click" or "key".
  constructor(host, channels, pointed) {
    this.#host = host;
    this.#channels = channels;
    this.#pointed = pointed;
    this.#root = shape("svg", { role: "listbox", tabindex: "0", id: "bars", height });
    host.append(this.#root, this.#labels);
    this.#root.addEventListener("keydown", (event) => this.#key(event));
    this.#root.addEventListener("pointermove", (event) => this.#at(event, "pointer"));
    this.#root.addEventListener("click", (event) => this.#at(event, "click"));
    onWidth(host, () => this.draw());
  }

  show(list, label) {
    this.#list = list;
    setAttributes(this.#root, { "aria-label": label });
    this.draw();
  }

  /// All of it: when channels, width or scale have changed.
  draw() {
    const room = Math.max(this.#host.clientWidth, 200);
    const width = Math.max(room, left + right + this.#list.length * narrowest);
    setAttributes(this.#root, { width, viewBox: `0 0 ${width} ${height}` });
    this.#scale = this.#scaleOf();
    this.#slots.clear();
    this.#root.replaceChildren(hatching(), ...this.#grid(width));
    for (const channel of this.#list) this.#root.append(this.#slotOf(channel, width));
    for (const channel of this.#list) this.#drawChannel(channel);
    this.select(this.#current);
  }

  /// Those of these ids that are shown.
  update(ids) {
    const scale = this.#scaleOf();
    if (scale.lowest !== this.#scale.lowest || scale.highest !== this.#scale.highest) return this.draw();
    for (const id of ids) {
      const slot = this.#slots.get(id);
      if (slot) this.#drawChannel(slot.channel);
    }
  }

  select(channel) {
    if (this.#current) this.#slots.get(this.#current.id)?.group.setAttribute("aria-selected", "false");
    this.#current = channel;
    const slot = channel && this.#slots.get(channel.id);
    setAttributes(this.#root, { "aria-activedescendant": slot ? slot.group.id : null });
    if (!slot) return;
    slot.group.setAttribute("aria-selected", "true");
    this.#bringIntoView(slot);
  }

  #bringIntoView({ x }) {
    const { scrollLeft, clientWidth } = this.#host;
    if (x < scrollLeft + left) this.#host.scrollLeft = x - left;
    else if (x > scrollLeft + clientWidth - right) this.#host.scrollLeft = x - clientWidth + left;
  }

  #scaleOf() {
    const targets = this.#list.map((channel) => this.#channels.figures(channel).target).filter(isFigure);
    if (targets.length === 0) return usual;
    const five = 5;
    return {
      lowest: Math.floor((Math.min(...targets) - below) / five) * five,
      highest: Math.ceil((Math.max(...targets) + above) / five) * five,
    };
  }
  #y(power) {
    const { lowest, highest } = this.#scale;
    const share = (power - lowest) / (highest - lowest);
    return floor - Math.min(1, Math.max(0, share)) * (floor - top);
  }
  #band() {
    const first = this.#list[0] ?? { thz: 191.3, width: 0.05 };
    const last = this.#list.at(-1) ?? { thz: 196.1, width: 0.05 };
    return { from: first.thz - first.width / 2, to: last.thz + last.width / 2 };
  }
  #place(width) {
    const { from, to } = this.#band();
    return { x: (thz) => left + ((thz - from) / (to - from)) * (width - left - right), from, to };
  }

  #grid(width) {
    const lines = [];
    const { lowest, highest } = this.#scale;
    const label = (y, text) => shape("text", { class: "axis", x: left - 8, y, "text-anchor": "end" }, text);
    const labels = [label(14, "dBm")];
    for (let power = lowest; power <= highest; power += 5) {
      const y = this.#y(power);
      lines.push(shape("line", { class: "grid", x1: left, x2: width - right, y1: y, y2: y }));
      labels.push(label(y + 4, figure(power, 0)));
    }
    this.#labels.replaceChildren(...labels); // stay in sight while a wide band is scrolled
    return [...lines, ...this.#frequencies(width)];
  }
  #frequencies(width) {
    const { x, from, to } = this.#place(width);
    const room = 64; // px of a figure
    const step = [0.1, 0.2, 0.5, 1, 2].find((each) => x(from + each) - left >= room) ?? 2;
    const ticks = [];
    for (let at = Math.ceil(from / step); at * step <= to; at += 1) {
      const middle = x(at * step);
      ticks.push(shape("line", { class: "tick", x1: middle, x2: middle, y1: axis - 10, y2: axis - 5 }));
      const anchor = middle > width - right - 12 ? "end" : "middle";
      ticks.push(shape("text", { class: "axis", x: anchor === "end" ? width - right : middle, y: axis + 8, "text-anchor": anchor }, (at * step).toFixed(1)));
    }
    ticks.push(shape("text", { class: "axis", x: width - right, y: height - 6, "text-anchor": "end" }, "THz"));
    return ticks;
  }

  #slotOf(channel, width) {
    const { x } = this.#place(width);
    const from = x(channel.thz - channel.width / 2);
    const room = x(channel.thz + channel.width / 2) - from;
    const bar = Math.max(2, Math.min(26, room * 0.56));
    const reach = Math.min(bar + 4, room - 1);
    const middle = from + room / 2;
    const part = (name, attributes) => shape(name, attributes);
    const slot = {
      channel, x: middle, bar, room,
      hit: part("rect", { class: "hit", x: from, width: room, y: 0, height: axis - 8 }),
      line: part("line", { class: "pointed", x1: middle, x2: middle, y1: 0, y2: axis - 8 }),
      reach: part("rect", { class: "reach", x: middle - reach / 2, width: reach }),
      band: part("rect", { class: "band", x: from + 1, width: Math.max(1, room - 2) }),
      power: part("rect", { class: "power", x: middle - bar / 2, width: bar }),
      beyond: part("path", { class: "beyond" }),
      target: part("line", { class: "target", x1: from + room * 0.08, x2: from + room * 0.92 }),
      mark: part("path", { class: "mark" }),
    };
    slot.group = shape(
      "g", { role: "option", class: "slot", id: `bar-${channel.id}`, "data-id": channel.id, "aria-selected": "false" },
      slot.hit, slot.line, slot.reach, slot.band, slot.power, slot.beyond, slot.target, slot.mark,
    );
    this.#slots.set(channel.id, slot);
    return slot.group;
  }

  #drawChannel(channel) {
    const slot = this.#slots.get(channel.id);
    const now = this.#channels.figures(channel);
    const look = stateOfChannel(now.state);
    const lit = isFigure(now.measured);
    setAttributes(slot.group, {
      class: `slot ${look.severity} ${look.colour}`,
      "data-state": now.state,
      "aria-label": spoken(channel, now),
    });
    span(slot.power, lit, floor, lit && this.#y(now.measured));
    const up = now.headroomUp ?? 0;
    const down = now.headroomDown ?? 0;
    span(slot.reach, lit && up + down > 0, lit && this.#y(now.measured - down), lit && this.#y(now.measured + up));
    const wanted = isFigure(now.target);
    const reach = now.deadBand ?? 0;
    span(slot.band, wanted && reach > 0, wanted && this.#y(now.target - reach), wanted && this.#y(now.target + reach));
    const y = wanted ? this.#y(now.target) : 0;
    setAttributes(slot.target, { y1: y, y2: y, visibility: wanted ? null : "hidden" });
    this.#drawBeyond(slot, now);
    const size = Math.min(6.5, slot.room * 0.42);
    setAttributes(slot.mark, { d: look.path, transform: `translate(${slot.x} ${marks}) scale(${size})`, "fill-rule": "evenodd" });
  }
  /// A bar that leaves the scale says so.
  #drawBeyond(slot, { measured }) {
    const { lowest, highest } = this.#scale;
    const over = isFigure(measured) && measured > highest;
    const under = isFigure(measured) && measured < lowest;
    const d = over ? `M${slot.x - 4} ${top}L${slot.x} ${top - 7}L${slot.x + 4} ${top}Z` : `M${slot.x - 4} ${floor - 9}L${slot.x} ${floor - 2}L${slot.x + 4} ${floor - 9}Z`;
    setAttributes(slot.beyond, { d: over || under ? d : null });
  }

  #at(event, how) {
    const id = Number(event.target.closest(".slot")?.dataset.id);
    const slot = this.#slots.get(id);
    if (slot) this.#pointed(slot.channel, how);
  }

  #key(event) {
    const at = this.#list.findIndex((channel) => channel.id === this.#current?.id);
    const last = this.#list.length - 1;
    const moves = {
      ArrowRight: at + 1, ArrowLeft: at - 1, ArrowUp: at - 1, ArrowDown: at + 1,
      Home: 0, End: last, PageUp: at - 8, PageDown: at + 8,
    };
    if (last < 0 || !(event.key in moves)) return;
    event.preventDefault();
    this.#pointed(this.#list[Math.max(0, Math.min(last, moves[event.key]))], "key");
  }
}

function span(bar, shown, bottom, upper) {
  if (!shown) return setAttributes(bar, { visibility: "hidden" });
  return setAttributes(bar, { visibility: null, y: upper, height: Math.max(1, bottom - upper) });
}

function spoken(channel, now) {
  const power = isFigure(now.measured) ? `, ${figure(now.measured, 1)} dBm` : "";
  return `${thzText(channel.thz)} THz, ${now.state}${power}`;
}

/// Bars of those who need somebody are hatched: their colour is not their only sign.
function hatching() {
  const colours = ["red", "yellow"];
  return shape("defs", {}, ...colours.map((colour) => shape(
    "pattern", { id: `hatch-${colour}`, class: colour, width: 5, height: 5, patternUnits: "userSpaceOnUse", patternTransform: "rotate(45)" },
    shape("rect", { class: "hatch-ground", width: 5, height: 5 }),
    shape("rect", { class: "hatch-line", width: 2.4, height: 5 }),
  )));
}

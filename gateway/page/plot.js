// Ten minutes as a plot: above the power with its target and dead band, below the attenuation, over
// one axis of time that ends now.

import { nodeNow } from "./clock.js";
import { onWidth, setAttributes, shape } from "./dom.js";
import { span } from "./record.js";
import { clockText, figure, isFigure, withUnit } from "./text.js";

const height = 252;
const left = 40;
const right = 10;
const upper = { from: 24, to: 132 };
const lower = { from: 166, to: 222 };
const minute = 60 * 1000;
const shut = 40; // dB; a switch that lets nothing through tells more, and is drawn at the top

export class Plot {
  #host;
  #series = { power: [], target: [], attenuation: [], deadBand: undefined };
  #root = shape("svg", { role: "img", id: "plot", height });
  #pointed; // px from the left, while somebody points

  constructor(host) {
    this.#host = host;
    host.append(this.#root);
    this.#root.addEventListener("pointermove", ({ offsetX }) => this.#point(offsetX));
    this.#root.addEventListener("pointerleave", () => this.#point(undefined));
    onWidth(host, () => this.draw());
  }

  show(series) {
    this.#series = series;
    this.draw();
  }

  draw() {
    const width = Math.max(this.#host.clientWidth, 200);
    setAttributes(this.#root, { width, viewBox: `0 0 ${width} ${height}` });
    const { power, target, deadBand } = this.#series;
    const attenuation = this.#series.attenuation.map(([time, value]) => [time, isFigure(value) ? Math.min(value, shut) : value]);
    const now = nodeNow();
    const room = width - left - right;
    const x = (time) => left + Math.min(1, Math.max(0, 1 - (now - time) / span)) * room;
    const powers = scaleOf([...figures(power), ...figures(target)], upper, 2);
    const losses = scaleOf(figures(attenuation), lower, 1, 0);
    this.#root.replaceChildren(
      ...times(x, now), ...grid(powers, width), ...grid(losses, width),
      ...title("power", "power-line", left, upper.from), ...title("target, dBm", "target-line", left + 66, upper.from),
      ...title("attenuation, dB", "attenuation-line", left, lower.from),
      shape("path", { class: "target-band", d: bandPath(target, deadBand, x, powers.y, now) }),
      shape("path", { class: "target-line", d: linePath(target, x, powers.y, now) }),
      shape("path", { class: "power-line", d: linePath(power, x, powers.y, now) }),
      shape("path", { class: "attenuation-line", d: linePath(attenuation, x, losses.y, now) }),
      ...dots(power, x, powers.y, now),
      ...this.#readout(x, now - (1 - (this.#pointed - left) / room) * span, width),
    );
    setAttributes(this.#root, { "aria-label": spoken(this.#series) });
  }

  #point(at) {
    this.#pointed = at;
    this.draw();
  }

  /// What stood at the pointed time.
  #readout(x, time, width) {
    if (!isFigure(time) || this.#pointed < left || this.#pointed > width - right) return [];
    const { power, target, attenuation } = this.#series;
    const label = (y, text) => shape("text", { class: "axis readout", x: width - right, y: y - 8, "text-anchor": "end" }, text);
    return [
      shape("line", { class: "pointed-time", x1: x(time), x2: x(time), y1: upper.from, y2: lower.to }),
      label(upper.from, `${clockText(time)}  ${withUnit(valueAt(power, time), "dBm")}, target ${withUnit(valueAt(target, time), "dBm")}`),
      label(lower.from, withUnit(valueAt(attenuation, time), "dB", 1)),
    ];
  }
}

const valueAt = (points, time) => points.findLast(([at]) => at <= time)?.[1];

const figures = (points) => points.map(([, value]) => value).filter(isFigure);

/// Room for the figures, at least `least` dB of it and nothing below `bottom`, with round numbers for the lines.
function scaleOf(all, { from, to }, least, bottom = -Infinity) {
  const low = all.length > 0 ? Math.min(...all) : 0;
  const high = all.length > 0 ? Math.max(...all) : 0;
  const middle = (low + high) / 2;
  const half = Math.max(least, (high - low) * 1.2) / 2;
  const step = [0.5, 1, 2, 5, 10, 20].find((each) => (2 * half) / each <= ((to - from) / 24)) ?? 50;
  const lowest = Math.max(bottom, Math.floor((middle - half) / step) * step);
  const highest = Math.max(lowest + step, Math.ceil((middle + half) / step) * step);
  return { y: (value) => to - ((value - lowest) / (highest - lowest)) * (to - from), lowest, highest, step };
}

function grid({ y, lowest, highest, step }, width) {
  const lines = [];
  for (let value = lowest; value <= highest + step / 10; value += step) {
    lines.push(shape("line", { class: "grid", x1: left, x2: width - right, y1: y(value), y2: y(value) }));
    lines.push(shape("text", { class: "axis", x: left - 8, y: y(value) + 4, "text-anchor": "end" }, figure(value, step < 1 ? 1 : 0)));
  }
  return lines;
}

function times(x, now) {
  const shown = x(now) - x(now - 10 * minute) < 400 ? [0, 5, 10] : [0, 2, 4, 6, 8, 10];
  return shown.flatMap((minutes) => {
    const at = x(now - minutes * minute);
    const anchor = minutes === 0 ? "end" : minutes === 10 ? "start" : "middle";
    return [
      shape("line", { class: "grid", x1: at, x2: at, y1: upper.from, y2: lower.to }),
      shape("text", { class: "axis", x: at, y: lower.to + 18, "text-anchor": anchor }, minutes === 0 ? "now" : `\u2212${minutes} min`),
    ];
  });
}

/// The name of a line beside a piece of it.
const title = (text, line, x, y) => [
  shape("path", { class: line, d: `M${x} ${y - 12}h16` }),
  shape("text", { class: "axis", x: x + 21, y: y - 8 }, text),
];

/// Runs of points without a gap, the last one up to now.
function runs(points, now) {
  const found = [];
  let run = [];
  points.forEach(([time, value], at) => {
    if (isFigure(value)) run.push([time, value]);
    const ends = !isFigure(value) || at === points.length - 1;
    if (!ends || run.length === 0) return;
    run.push([isFigure(value) ? now : time, run.at(-1)[1]]);
    found.push(run);
    run = [];
  });
  return found;
}

const at = (x, y) => ([time, value]) => `${x(time).toFixed(1)} ${y(value).toFixed(1)}`;

/// A figure holds until the next: events come only with changes, and a slope between two of them never was.
const stepped = (run) => run.flatMap(([time, value], n) => (n === 0 ? [[time, value]] : [[time, run[n - 1][1]], [time, value]]));

function linePath(points, x, y, now) {
  return runs(points, now).map((run) => `M${stepped(run).map(at(x, y)).join("L")}`).join("");
}

function bandPath(target, deadBand, x, y, now) {
  if (!isFigure(deadBand)) return null;
  return runs(target, now)
    .map((run) => {
      const corners = stepped(run);
      const over = corners.map(([time, value]) => [time, value + deadBand]);
      const under = corners.map(([time, value]) => [time, value - deadBand]).reverse();
      return `M${[...over, ...under].map(at(x, y)).join("L")}Z`;
    })
    .join("");
}

/// A power that was seen once only would be no line.
function dots(points, x, y, now) {
  const last = points.at(-1);
  return last && isFigure(last[1]) ? [shape("circle", { class: "power-dot", cx: x(now), cy: y(last[1]), r: 2.5 })] : [];
}

function spoken({ power, target, attenuation }) {
  const range = (name, points, unit) => {
    const all = figures(points);
    if (all.length === 0) return `no ${name}`;
    return `${name} from ${figure(Math.min(...all), 1)} to ${figure(Math.max(...all), 1)} ${unit}`;
  };
  return `The last ten minutes: ${range("power", power, "dBm")}, ${range("target", target, "dBm")}, ${range("attenuation", attenuation, "dB")}`;
}

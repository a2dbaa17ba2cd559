// The last ten minutes of each channel's power, target and attenuation: the gateway's record of the
// channels that somebody looks at, and behind it the events that the page has heard since. A point
// without a figure is a gap: no light is no power, and what was not heard is not known.

import { readHistory } from "./api.js";
import { channelOf } from "./channels.js";
import { nodeNow } from "./clock.js";
import { isFigure } from "./text.js";

export const span = 10 * 60 * 1000;

const names = {
  "insight/measured": "power",
  "insight/target": "target",
  "data/attenuation": "attenuation",
};

export class Record {
  #values;
  #series = new Map();
  #filled = new Set();

  constructor(values) {
    this.#values = values;
    values.watch((path) => nameOf(path) !== undefined, (changed) => changed.forEach((path) => this.#note(path)));
  }

  /// Points [time, figure or null], oldest first; the last one lasts until now.
  of(channel, name) {
    return this.#series.get(key(channel, name)) ?? [];
  }

  /// Puts the gateway's record in front of what was heard, once for a channel. True if it came.
  async fill(channel) {
    const { id, side } = channel;
    const whole = key(channel, "");
    if (this.#filled.has(whole)) return false;
    this.#filled.add(whole);
    const all = Object.entries(names).map(async ([place, name]) => {
      const [branch, leaf] = place.split("/");
      const entries = await readHistory(`${branch}/client/${id}/${side}/${leaf}`).catch(() => undefined);
      if (entries) this.#prepend(key(channel, name), entries);
      else this.#filled.delete(whole);
    });
    await Promise.all(all);
    return true;
  }

  /// Something was missed: what is looked at from here on is filled again.
  doubt() {
    this.#filled.clear();
    this.#series.clear();
  }

  /// Nothing is known from here on.
  interrupt() {
    for (const points of this.#series.values()) {
      if (isFigure(points.at(-1)?.[1])) points.push([nodeNow(), null]);
    }
  }

  #note(path) {
    const series = key(channelOf(path), nameOf(path));
    const points = this.#series.get(series) ?? this.#series.set(series, []).get(series);
    points.push([nodeNow(), this.#values.number(path) ?? null]);
    forgetOld(points);
  }

  #prepend(series, entries) {
    const older = entries.map(({ time, value }) => [Date.parse(time), isFigure(value) ? value : null]);
    const last = older.at(-1)?.[0] ?? -Infinity;
    const heard = this.#series.get(series) ?? [];
    const points = [...older, ...heard.filter(([time]) => time > last)];
    forgetOld(points);
    this.#series.set(series, points);
  }
}

/// The newest of those that are too old holds at the beginning of the span.
function forgetOld(points) {
  const oldest = nodeNow() - span;
  const kept = points.findIndex(([time], at) => at + 1 === points.length || points[at + 1][0] > oldest);
  if (kept > 0) points.splice(0, kept);
}

const key = ({ id, side }, name) => `${id}/${side}/${name}`;

function nameOf(path) {
  const words = path.split("/");
  return words.length === 5 && words[1] === "client" ? names[`${words[0]}/${words[4]}`] : undefined;
}

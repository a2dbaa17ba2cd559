// The last ten minutes of each channel's power, target and attenuation, from the events that the
// page has heard since it was opened, and for the one that is looked at from the node's own history.
// A point without a figure is a gap: no light is no power.

import { readHistory } from "./api.js";
import { channelOf } from "./channels.js";
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
  #asked = new Set();

  constructor(values) {
    this.#values = values;
    values.watch((path) => nameOf(path) !== undefined, (changed) => changed.forEach((path) => this.#note(path)));
  }

  /// Points [time, figure or null], oldest first; the last one lasts until now.
  of({ id, side }, name) {
    const points = this.#series.get(key(id, side, name)) ?? [];
    const oldest = Date.now() - span;
    while (points.length > 1 && points[1][0] <= oldest) points.shift();
    return points;
  }

  /// Puts the node's history in front of what was heard. Once for a channel.
  async fill(channel) {
    const { id, side } = channel;
    if (this.#asked.has(key(id, side))) return false;
    this.#asked.add(key(id, side));
    const base = `data/client/${id}/${side}`;
    const [readings, attenuations] = await Promise.all([
      readHistory(`${base}/ocm/power`).catch(() => []),
      readHistory(`${base}/attenuation`).catch(() => []),
    ]);
    // The monitor's readings on the amplifier's scale.
    const calibration = this.#values.number(`data/client/${side}/edfaCalibration`);
    if (isFigure(calibration)) this.#prepend(channel, "power", readings, calibration);
    this.#prepend(channel, "attenuation", attenuations, 0);
    return true;
  }

  #note(path) {
    const { id, side } = channelOf(path);
    const name = key(id, side, nameOf(path));
    const points = this.#series.get(name) ?? this.#series.set(name, []).get(name);
    points.push([Date.now(), this.#values.number(path) ?? null]);
    if (points[0][0] < Date.now() - 2 * span) this.of({ id, side }, nameOf(path));
  }

  #prepend({ id, side }, name, entries, offset) {
    const series = key(id, side, name);
    const known = this.#series.get(series) ?? [];
    const before = known.length > 0 ? known[0][0] : Infinity;
    const older = entries
      .filter((entry) => typeof entry.value === "number")
      .map((entry) => [Date.parse(entry.time), lit(entry.value) ? entry.value + offset : null])
      .filter(([time]) => time < before);
    this.#series.set(series, [...older, ...known]);
  }
}

// What a monitor reads below this is its own noise, dBm at the monitor.
const lit = (power) => power > -30;
const key = (...parts) => parts.join("/");

function nameOf(path) {
  const words = path.split("/");
  return words.length === 5 && words[1] === "client" ? names[`${words[0]}/${words[4]}`] : undefined;
}

// Figures and times as people read them. Units: dBm for powers, dB for differences, THz for
// frequencies; a frequency of the tree counts in 10 MHz.

import { nodeNow } from "./clock.js";

const minus = "\u2212";
const none = "\u2013";
const hour = 3600 * 1000;

export const isFigure = (value) => typeof value === "number" && Number.isFinite(value);

export function figure(value, digits = 2) {
  if (!isFigure(value)) return none;
  const text = Math.abs(value).toFixed(digits);
  return (value < 0 && Number(text) !== 0 ? minus : "") + text;
}

export function signed(value, digits = 2) {
  if (!isFigure(value)) return none;
  return (value >= 0 ? "+" : "") + figure(value, digits);
}

export const withUnit = (value, unit, digits = 2) =>
  isFigure(value) ? `${figure(value, digits)}\u00a0${unit}` : none;

/// 191.40, 192.075
export function thzText(thz) {
  const hundredths = Math.round(thz * 1000) % 10 === 0;
  return thz.toFixed(hundredths ? 2 : 3);
}

export function clockText(time) {
  return isFigure(time) ? new Date(time).toLocaleTimeString("en-GB") : none;
}

/// A sentence of the daemon, its times on this browser's clock and its minus signs as all others of the page.
export const readable = (sentence) => sentence
  .replace(/\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z/g, (time) => timeText(Date.parse(time)))
  .replace(/(\d{4}-\d\d-\d\d) (\d\d:\d\d) UTC/g, (_, day, time) => timeText(Date.parse(`${day}T${time}Z`)))
  .replace(/(\d\d:\d\d:\d\d) UTC/g, (_, time) => timeText(lastAt(time)))
  .replace(/(^|[ (])-(?=\d)/g, `$1${minus}`);

/// The last moment with this time of day; one that is a little ahead is due to the clocks.
function lastAt(time, now = nodeNow()) {
  const today = Date.parse(`${new Date(now).toISOString().slice(0, 10)}T${time}Z`);
  return today > now + hour ? today - 24 * hour : today;
}

/// With its day, unless that is today.
export function timeText(time) {
  const day = dayText(time);
  return day === dayText(Date.now()) ? clockText(time) : `${day}, ${clockText(time)}`;
}
export const dayText = (time) => new Date(time).toLocaleDateString("en-GB", { day: "numeric", month: "short", year: "numeric" });

export function ago(milliseconds) {
  const seconds = Math.max(0, Math.round(milliseconds / 1000));
  if (seconds < 120) return `${seconds} s`;
  const minutes = Math.floor(seconds / 60);
  return minutes < 120 ? `${minutes} min` : `${Math.floor(minutes / 60)} h`;
}

/// "a", "a and b", "a, b and c"
export function listed(words) {
  if (words.length < 2) return words.join("");
  return `${words.slice(0, -1).join(", ")} and ${words.at(-1)}`;
}

export const number = (count, one, many = `${one}s`) => `${count} ${count === 1 ? one : many}`;

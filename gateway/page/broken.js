// What the bench of faults has broken in the plant behind the node: in words, and with what mends it.
// From the plant's own values, so that it is known after a reload and to whoever opens the page later.

import { figure, listed, signed, thzText } from "./text.js";

const unitsOfATHz = 1e5;
const named = 8; // further ones are counted

/// Of these patterns of the plant.
export const patternsOf = (node) => [
  "config/fibre/*/cut", "config/fibre/*/lossOffset", `config/node/${node}/connector/switchToBooster/loss`,
  `config/node/${node}/nexel/*/state`, ...["on", "power", "frequencyOffset"].map((name) => `config/node/${node}/laser/*/${name}`),
];

/// [{text, path, good}]; of lasers those in `lit`, a set of channels' centres, since all others may be off.
export function brokenIn(values, node, lit) {
  return Object.entries(values).flatMap(([path, value]) => {
    const found = faultOf(path.split("/").slice(1), value, node, lit);
    return found && value !== found.good ? [{ ...found, path }] : [];
  });
}

export function inWords(broken) {
  if (broken.length === 0) return "";
  const texts = broken.map(({ text }) => text);
  const more = texts.length - named;
  return `Broken now: ${listed(more > 0 ? [...texts.slice(0, named), `${more} more`] : texts)}.`;
}

function faultOf([kind, number, part, name, last], value, node, lit) {
  if (kind === "fibre") {
    const way = Number(number) === node ? "outgoing" : "incoming";
    if (part === "cut") return { text: `the ${way} fibre is cut`, good: false };
    return { text: `the ${way} fibre loses ${signed(value, 0)} dB`, good: 0 };
  }
  if (part === "connector") return { text: `the connector to the booster loses ${signed(value, 0)} dB`, good: 0 };
  if (part === "nexel") return { text: `${name} is ${value}`, good: "ok" };
  if (!lit.has(Number(name))) return undefined;
  const laser = `the laser at ${thzText(name / unitsOfATHz)}`;
  if (last === "on") return { text: `${laser} is dark`, good: true };
  if (last === "power") return { text: `${laser} is at ${figure(value, 0)} dBm`, good: 0 };
  return { text: `${laser} is off by ${figure(value, 0)} GHz`, good: 0 };
}

// The way of the light from client to client, rung by rung: what was expected and what is measured,
// with the first wrong rung marked. One table for each direction; the levels stand in it as a drawing.

import { byId, element, onWidth, setAttributes, setText, shape } from "./dom.js";
import { figure, isFigure, number, readable, signed } from "./text.js";

const names = {
  client: "client", switch: "switch", booster: "booster", line: "line", fibre: "fibre",
  farLine: "far line", farPreamp: "far preamp", farClient: "far client", preamp: "preamp",
};
const room = { lowest: -25, highest: 10 }; // dBm; grows when a level lies beyond
const rowHeight = 30;
const wide = 132; // px of the drawing
const narrow = 92;

export class Ladder {
  #values;
  constructor(values) {
    this.#values = values;
    values.watch((path) => path.startsWith("insight/ladder/"), () => this.draw());
    onWidth(byId("ladder"), () => this.draw());
  }

  draw() {
    for (const side of ["rx", "tx"]) this.#drawSide(side);
  }

  #drawSide(side) {
    const ladder = this.#values.value(`insight/ladder/${side}`);
    const rungs = Array.isArray(ladder?.rungs) ? ladder.rungs : [];
    setAttributes(byId(`ladder-${side}`), { "data-wrong": ladder?.wrong ?? "" });
    const verdict = byId(`ladder-${side}-why`);
    setText(verdict, verdictOf(ladder, this.#values.error(`insight/ladder/${side}`)));
    setAttributes(verdict, { class: ladder?.wrong ? "verdict wrong" : "verdict" });
    const body = byId(`ladder-${side}-rungs`);
    while (body.rows.length > rungs.length) body.lastChild.remove();
    const scale = scaleOf(rungs, innerWidth > 480 ? wide : narrow);
    rungs.forEach((rung, at) => drawRung(rowAt(body, at), rung, [rungs[at - 1], rungs[at + 1]], scale));
  }
}

function verdictOf(ladder, error) {
  if (error) return error;
  if (!ladder) return "";
  if (ladder.why) return `Wrong ${readable(ladder.why)}.`;
  if (!(ladder.channels > 0)) return "No channel is lit.";
  const mean = `mean of ${number(ladder.channels, "lit channel")}`;
  const compared = ladder.rungs.filter(({ difference }) => isFigure(difference)).length;
  if (compared === 0) return `Nothing can be compared yet, ${mean}.`;
  if (compared === ladder.rungs.length) return `Every rung as expected, ${mean}.`;
  return `As expected wherever both are known, at ${compared} of ${ladder.rungs.length} rungs; ${mean}.`;
}

function rowAt(body, at) {
  if (body.rows[at]) return body.rows[at];
  const level = element("td", { class: "level" }, shape("svg", { height: rowHeight, "aria-hidden": "true" }));
  const row = element("tr", {}, element("th", { scope: "row" }), level, element("td"), element("td"), element("td"));
  body.append(row);
  return row;
}

const known = (value) => (isFigure(value) ? value : undefined);
const levelOf = (rung) => (rung?.unit === "dBm" ? known(rung.measured) ?? known(rung.expected) : undefined);

function scaleOf(rungs, width) {
  const levels = rungs.flatMap((rung) => (rung.unit === "dBm" ? [known(rung.measured), known(rung.expected)] : [])).filter(isFigure);
  const lowest = Math.min(room.lowest, ...levels) - 1;
  const highest = Math.max(room.highest, ...levels) + 1;
  const x = (power) => 4 + ((power - lowest) / (highest - lowest)) * (width - 8);
  x.width = width;
  x.middle = width / 2;
  return x;
}

function drawRung(row, rung, neighbours, x) {
  const [name, level, expected, measured, difference] = row.cells;
  setAttributes(row, { class: rung.wrong ? "wrong" : null, "data-point": rung.point, title: rung.basis });
  setText(name, (names[rung.point] ?? rung.point) + (rung.wrong ? " \u25c6 wrong" : ""));
  const unit = rung.unit === "dB" ? "\u00a0dB" : "";
  setText(expected, figure(known(rung.expected), 1) + (isFigure(rung.expected) ? unit : ""));
  setText(measured, figure(known(rung.measured), 1) + (isFigure(rung.measured) ? unit : ""));
  setText(difference, signed(known(rung.difference), 1));
  setAttributes(level.firstChild, { width: x.width });
  level.firstChild.replaceChildren(...levelMarks(rung, neighbours, x));
}

/// A dot for what is measured, a tick for what was expected, a line from rung to rung.
function levelMarks(rung, neighbours, x) {
  const middle = rowHeight / 2;
  if (rung.unit === "dB") return [shape("path", { class: "rail lost", d: `M${x.middle} 3V${rowHeight - 3}` })];
  const here = levelOf(rung);
  if (!isFigure(here)) return [shape("path", { class: "rail lost", d: `M${x.middle - 5} ${middle}h10` })];
  const marks = neighbours.map((other, at) => {
    const there = levelOf(other);
    const end = at === 0 ? 0 : rowHeight;
    return isFigure(there) && shape("line", { class: "rail", x1: x(here), y1: middle, x2: (x(here) + x(there)) / 2, y2: end });
  });
  marks.push(isFigure(rung.expected) && shape("path", { class: "expected", d: `M${x(rung.expected)} ${middle - 8}v16` }));
  marks.push(isFigure(rung.measured) && shape("circle", { class: "measured", cx: x(rung.measured), cy: middle, r: 4 }));
  return marks.filter(Boolean);
}

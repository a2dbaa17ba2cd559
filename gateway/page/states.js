// How the states of channels and line look: a shape for the eye that sees no colours, and a colour.
// Texts, severities and colours are the daemon's own table, as the gateway has it.

import { channel, line } from "./state_table.js";

// Shapes in a square of 2 by 2 around the middle.
const shapes = {
  disc: "M-.8 0A.8 .8 0 1 0 .8 0A.8 .8 0 1 0 -.8 0Z",
  ring: "M-.8 0A.8 .8 0 1 0 .8 0A.8 .8 0 1 0 -.8 0ZM-.36 0A.36 .36 0 1 1 .36 0A.36 .36 0 1 1 -.36 0Z",
  hollow: "M-.7 0A.7 .7 0 1 0 .7 0A.7 .7 0 1 0 -.7 0ZM-.46 0A.46 .46 0 1 1 .46 0A.46 .46 0 1 1 -.46 0Z",
  dash: "M-.8-.2H.8V.2H-.8Z",
  square: "M-.75-.75H.75V.75H-.75ZM-.45-.12V.12H.45V-.12Z",
  triangle: "M-.65-.8L.8 0L-.65 .8Z",
  diamond: "M0-1L1 0L0 1L-1 0Z",
  query: "M0-1L1 0L0 1L-1 0ZM0-.5L-.5 0L0 .5L.5 0Z",
  down: "M-.85-.6H.85L0 .9Z",
  up: "M-.85 .6H.85L0-.9Z",
};

// By severity, and for those that are told apart within one.
const marks = { quiet: "dash", good: "disc", working: "triangle", person: "diamond" };
const marksOf = {
  "dark": "hollow",
  "blocked": "square",
  "resting off target": "ring",
  "exhausted (too weak)": "down",
  "exhausted (too strong)": "up",
  "reading unknown": "query",
};

const look = (severity, colour, mark) => ({ severity, colour, mark, path: shapes[mark] });
const unheard = look("working", "grey", "query");

function lookOf(table, text) {
  if (!Object.hasOwn(table, text ?? "")) return unheard;
  const [severity, colour] = table[text];
  return look(severity, colour, marksOf[text] ?? marks[severity]);
}

export const stateOfChannel = (text) => lookOf(channel, text);
export const stateOfLine = (text) => lookOf(line, text);
export const pathOf = (mark) => shapes[mark];

/// One of each shape, for the legend.
export const legend = [
  ["on target", "on target"],
  ["resting off target", "resting off target"],
  ["stepping", "on its way"],
  ["exhausted (too weak)", "exhausted, too weak"],
  ["exhausted (too strong)", "exhausted, too strong"],
  ["loop down", "needs somebody"],
  ["dark", "dark"],
  ["blocked", "blocked"],
  ["unmanaged", "not regulated"],
].map(([state, text]) => ({ ...stateOfChannel(state), text }));

// How the states of channels and line look: a shape for the eye that sees no colours, and a colour.
// The texts are the daemon's own; severity and colour follow its table.

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

const row = (severity, colour, mark) => ({ severity, colour, mark, path: shapes[mark] });

const channel = {
  "dark": row("quiet", "grey", "hollow"),
  "blocked": row("quiet", "grey", "square"),
  "unmanaged": row("quiet", "grey", "dash"),
  "on target": row("good", "green", "disc"),
  "resting off target": row("good", "green", "ring"),
  "waiting for its turn": row("working", "blue", "triangle"),
  "stepping": row("working", "blue", "triangle"),
  "waiting for the monitor": row("working", "blue", "triangle"),
  "waiting for the switch": row("working", "blue", "triangle"),
  "exhausted (too weak)": row("person", "red", "down"),
  "exhausted (too strong)": row("person", "red", "up"),
  "amplifier saturated": row("person", "yellow", "diamond"),
  "reading unknown": row("working", "yellow", "query"),
  "device failed": row("person", "red", "diamond"),
  "loop down": row("person", "red", "diamond"),
};

const line = {
  "no fibre": row("person", "red", "diamond"),
  "no supervisory link": row("person", "red", "diamond"),
  "no peer": row("person", "yellow", "diamond"),
  "peer not known": row("person", "yellow", "diamond"),
  "peer's readings stand still": row("person", "red", "diamond"),
  "waiting for readings": row("working", "blue", "triangle"),
  "not steady": row("working", "blue", "triangle"),
  "client rx has the turn": row("working", "blue", "triangle"),
  "stepping": row("working", "blue", "triangle"),
  "at rest": row("good", "green", "disc"),
  "exhausted": row("person", "red", "diamond"),
  "far preamp saturated": row("person", "yellow", "diamond"),
  "not regulated on this model": row("quiet", "grey", "dash"),
  "device failed": row("person", "red", "diamond"),
};

const unheard = row("working", "grey", "query");

export const stateOfChannel = (text) => channel[text] ?? unheard;
export const stateOfLine = (text) => line[text] ?? unheard;
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
].map(([state, text]) => ({ ...channel[state], text }));

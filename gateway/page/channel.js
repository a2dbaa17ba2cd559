// The channel that is pointed at: why it is as it is, in the daemon's own sentence, its figures at
// both ends, and the plot of its last ten minutes. Its sentence and figures are asked for while
// somebody looks, every four seconds and when something of it changes; nobody else pays for them.

import { readValues } from "./api.js";
import { byId, element, setAttributes, setText, sign } from "./dom.js";
import { Plot } from "./plot.js";
import { stateOfChannel } from "./states.js";
import { figure, isFigure, readable, signed, thzText } from "./text.js";

const pace = 4000; // for what changes without an event: an age, a tenth of a decibel
const soonest = 250;

export class ChannelView {
  #channels;
  #record;
  #link;
  #plot = new Plot(byId("history"));
  #channel;
  #told = {};
  #saidAbout;
  #timer;
  #asking = false;
  #askedAt = 0;

  constructor(channels, record, link) {
    this.#channels = channels;
    this.#record = record;
    this.#link = link;
    this.#ask();
  }

  show(channel, pinned) {
    const another = channel?.id !== this.#channel?.id || channel?.side !== this.#channel?.side;
    this.#channel = channel;
    byId("channel").hidden = !channel;
    byId("channel-pinned").hidden = !pinned;
    if (!channel || !another) return;
    this.#told = {};
    this.draw();
    this.#askSoon();
    this.fill();
  }

  /// The plot gets what was before.
  async fill() {
    if (this.#channel && await this.#record.fill(this.#channel)) this.draw();
  }

  /// Something of the channel has changed.
  update() {
    this.draw();
    this.#askSoon();
  }

  draw() {
    const channel = this.#channel;
    if (!channel) return;
    const now = this.#channels.figures(channel);
    const look = stateOfChannel(now.state);
    setText(byId("channel-name"), `${thzText(channel.thz)} THz`);
    setText(byId("channel-side"), channel.side === "rx" ? "to the line" : "from the line");
    const state = byId("channel-state");
    state.replaceChildren(sign(look.path, look.colour), now.state);
    setAttributes(byId("channel"), { "data-id": channel.id, "data-state": now.state });
    const why = sentence(readable(text(this.#of("insight", "why"))));
    setText(byId("channel-why"), why);
    this.#say(now.state, why);
    setText(byId("channel-description"), text(this.#of("config", "description")));
    this.#drawFigures(now);
    this.#plot.show({
      power: this.#record.of(channel, "power"),
      target: this.#record.of(channel, "target"),
      attenuation: this.#record.of(channel, "attenuation"),
      deadBand: now.deadBand,
    });
  }

  /// For those who listen: once for a state, and not for each figure of its sentence.
  #say(state, why) {
    const { id, side } = this.#channel;
    const about = `${id} ${side} ${state}`;
    if (why === "" || about === this.#saidAbout) return;
    this.#saidAbout = about;
    setText(byId("channel-said"), `${state}: ${why}`);
  }

  #of(branch, name) {
    const { id, side } = this.#channel;
    return this.#told[`${branch}/client/${id}/${side}/${name}`];
  }

  /// What the far end tells, which without one is 0 dBm.
  #far(name) {
    return this.#of("data", "remoteStatus") === "n/a" ? undefined : lit(this.#of("data", name));
  }

  #drawFigures(now) {
    const error = isFigure(now.measured) && isFigure(now.target) ? now.measured - now.target : undefined;
    const out = this.#channel.side === "rx";
    const rows = [
      ["power", figure(now.measured), "dBm"],
      ["target", figure(now.target), "dBm"],
      ["error", signed(error), "dB"],
      ["dead band", isFigure(now.deadBand) ? `\u00b1${figure(now.deadBand)}` : figure(undefined), "dB"],
      ["attenuation", figure(now.attenuation, 1), "dB"],
      ["headroom up", figure(now.headroomUp, 1), "dB"],
      ["headroom down", figure(now.headroomDown, 1), "dB"],
      ["reading's age", figure(this.#of("insight", "age"), 1), "s"],
      ["steps, last hour", figure(this.#of("insight", "stepsLastHour"), 0), ""],
      ["client port", figure(this.#of("data", "peak") ? this.#of("data", "power") : undefined), "dBm"],
      [out ? "at the far client" : "from the far client", figure(this.#far(out ? "remoteTxPower" : "remoteRxPower")), "dBm"],
      ["port", text(this.#of("data", "wssPortName")) || figure(undefined), ""],
    ];
    const list = byId("channel-figures");
    if (list.childElementCount !== rows.length) list.replaceChildren(...rows.map(emptyRow));
    rows.forEach(([name, value, unit], at) => {
      const [term, told] = list.children[at].children;
      setText(term, name);
      setText(told.firstChild, value);
      setText(told.lastChild, unit);
    });
    this.#drawArrival();
  }

  #drawArrival() {
    const arrival = this.#of("insight", "arrival");
    setText(byId("channel-arrival"), arrivalText(arrival, (id) => this.#channels.thz(id)));
  }

  #askSoon() {
    clearTimeout(this.#timer);
    const pause = Math.max(0, this.#askedAt + soonest - Date.now());
    this.#timer = setTimeout(() => this.#ask(), pause);
  }

  async #ask() {
    clearTimeout(this.#timer);
    if (this.#asking) return;
    if (document.hidden) {
      this.#timer = setTimeout(() => this.#ask(), pace);
      return;
    }
    this.#asking = true;
    this.#askedAt = Date.now();
    const channel = this.#channel;
    try {
      const told = await readValues(...patternsOf(channel));
      this.#link.answered();
      if (channel === this.#channel && channel) {
        this.#told = told;
        this.draw();
      }
    } catch (failure) {
      // A daemon that is away is told by the stream; a gateway that is, by nobody else.
      if (failure.name !== "Error") this.#link.unanswered();
    }
    this.#asking = false;
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.#ask(), pace);
  }
}

function patternsOf(channel) {
  if (!channel) return ["data/configStatus"];
  const at = `client/${channel.id}/${channel.side}`;
  return [`insight/${at}/*`, `data/${at}/*`, `config/${at}/*`];
}

const emptyRow = () => element("div", {}, element("dt"), element("dd", {}, element("span"), element("span", { class: "unit" })));
const text = (value) => (typeof value === "string" ? value : "");
const lit = (power) => (isFigure(power) && power > -60 ? power : undefined);

function sentence(told) {
  const words = text(told);
  return words === "" ? "" : words[0].toUpperCase() + words.slice(1) + (words.endsWith(".") ? "" : ".");
}

const causes = {
  lit: "came on", added: "was added", unblocked: "was unblocked", target: "got another target", disturbed: "was disturbed",
};

function arrivalText(arrival, thzOf) {
  if (!arrival || !causes[arrival.cause]) return "";
  const steps = `${arrival.steps} ${arrival.steps === 1 ? "step" : "steps"}`;
  const time = `${figure(arrival.seconds, 1)} s`;
  const way = arrival.underWay ? `under way for ${time}, ${steps} so far` : `on target after ${time} and ${steps}`;
  const beyond = arrival.largestExcursion > 0.05 ? `, at most ${figure(arrival.largestExcursion, 1)} dB beyond` : "";
  const other = arrival.neighbour?.channel ? `; ${thzText(thzOf(arrival.neighbour.channel))} moved ${signed(arrival.neighbour.moved, 1)} dB meanwhile` : "";
  return `Last change: it ${causes[arrival.cause]}; ${way}${beyond}${other}.`;
}

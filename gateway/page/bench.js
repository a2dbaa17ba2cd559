// The lab's bench of faults: buttons that break the plant behind the node and mend it again. The plant
// is a simulation; on a real node the gateway has no such address, and this is never loaded.

import { lab } from "./api.js";
import { brokenIn, inWords, patternsOf } from "./broken.js";
import { byId, element, setText } from "./dom.js";
import { thzText } from "./text.js";

const shiftGhz = 100; // beyond half of the widest channel
const addedLoss = 3; // dB
const noise = 0.4; // dB, sigma
const retryAfter = 1000;
const onlyAtStart = /^system_/; // services whose faults nobody would see
const lookEvery = 2000; // somebody else may break or mend as well
const monitors = {
  wss_edge: "data/ocm/1/channel/*/powerLevel",
  ocm: "data/port/*/channel/*/powerLevel",
};

export class Bench {
  #node;
  #hold;
  #lasersOf = element("legend", {}, "Laser");
  #device = element("select", { "aria-label": "Device", id: "bench-device" });
  #devices = [];
  #lasersKnown = new Set();
  #channels;
  #broken = [];
  #faultyReadings = false; // which the plant does not tell

  /// `about`: {node: the number of this page's node in the plant}; `hold()`: keeps the channel that is shown, and
  /// tells which it is; `channels()`: all that the node has.
  constructor(about, hold, channels) {
    this.#node = about.node;
    this.#hold = hold;
    this.#channels = channels;
    byId("bench-groups").append(
      this.#fibres(), this.#lasers(), this.#devicesGroup(), this.#losses(), this.#noise(), this.#all());
    byId("bench").hidden = false;
    this.#readPlant();
    setInterval(() => document.hidden || this.#look(), lookEvery);
  }

  /// The channel that is shown now, if any.
  show(channel) {
    setText(this.#lasersOf, channel ? `Laser at ${thzText(channel.thz)} THz` : "Laser");
  }

  /// The plant may come later than the page.
  async #readPlant() {
    const at = `config/node/${this.#node}`;
    const found = await lab.read(`${at}/nexel/*/state`, `${at}/laser/*/on`).catch(() => undefined);
    if (!found) {
      say("The plant does not answer yet.");
      setTimeout(() => this.#readPlant(), retryAfter);
      return;
    }
    say("");
    const named = (kind) => Object.keys(found).map((path) => path.split("/")).filter((words) => words[3] === kind).map((words) => words[4]);
    this.#devices = named("nexel").filter((name) => !onlyAtStart.test(name));
    this.#lasersKnown = new Set(named("laser").map(Number));
    this.#device.replaceChildren(...this.#devices.map((name) => element("option", { value: name }, name)));
  }

  /// What is broken now, whoever broke it.
  async #look() {
    const values = await lab.read(...patternsOf(this.#node)).catch(() => undefined);
    if (!values) return;
    this.#broken = brokenIn(values, this.#node, new Set(this.#channels().map(laserOf)));
    const told = [...this.#broken, ...(this.#faultyReadings ? [{ text: "the monitor's readings are false" }] : [])];
    setText(byId("bench-broken"), inWords(told));
  }

  #fibres() {
    const [out, back] = this.#node === 0 ? [0, 1] : [1, 0];
    const cut = (fibre, on) => () => lab.write(`config/fibre/${fibre}/cut`, on);
    return group("Fibre", [
      this.#button("Cut both", () => lab.run("command/cutLine", true)),
      this.#button("Cut outgoing", cut(out, true)),
      this.#button("Cut incoming", cut(back, true)),
      this.#button("Mend", () => lab.run("command/cutLine", false)),
    ]);
  }

  #lasers() {
    const laser = (name, value) => async () => lab.write(`config/node/${this.#node}/laser/${this.#laser()}/${name}`, value);
    return group(this.#lasersOf, [
      this.#button("Darken", laser("on", false)),
      this.#button("Light", laser("on", true)),
      this.#button(`Shift by ${shiftGhz} GHz`, laser("frequencyOffset", shiftGhz)),
      this.#button("3 dB weaker", laser("power", -3)),
      this.#button("12 dB weaker", laser("power", -12)),
      this.#button("As it was", async () => {
        await laser("frequencyOffset", 0)();
        await laser("power", 0)();
        await laser("on", true)();
      }),
    ]);
  }
  #laser() {
    const channel = this.#hold();
    if (!channel) throw new Error("point at a channel first");
    const laser = laserOf(channel);
    if (!this.#lasersKnown.has(laser)) throw new Error(`no laser of the plant sends at ${thzText(channel.thz)} THz`);
    return laser;
  }

  #devicesGroup() {
    const turn = (state) => () => lab.write(`config/node/${this.#node}/nexel/${this.#device.value}/state`, state);
    return group("Device", [
      this.#device,
      this.#button("Hang", turn("hung")),
      this.#button("Kill", turn("killed")),
      this.#button("Heal", turn("ok")),
    ]);
  }

  #losses() {
    const out = this.#node === 0 ? 0 : 1;
    const at = (path, value) => () => lab.write(path, value);
    return group("Loss", [
      this.#button(`Span +${addedLoss} dB`, at(`config/fibre/${out}/lossOffset`, addedLoss)),
      this.#button(`Connector to the booster +${addedLoss} dB`, at(`config/node/${this.#node}/connector/switchToBooster/loss`, addedLoss)),
      this.#button("Clean", async () => {
        await at(`config/fibre/${out}/lossOffset`, 0)();
        await at(`config/node/${this.#node}/connector/switchToBooster/loss`, 0)();
      }),
    ]);
  }

  #noise() {
    const fault = (how) => () => this.#monitor("faultReadings", (path) => ({ path, ...how }));
    return group("Monitor", [
      this.#button(`Noise of ${noise} dB`, fault({ fault: "noisy", amount: noise })),
      this.#button("Stand still", fault({ fault: "frozen" })),
      this.#button("Quiet", () => this.#monitor("healReadings", () => "**")),
    ]);
  }
  async #monitor(command, args) {
    const name = this.#devices.find((each) => each in monitors);
    await lab.run(`command/node/${this.#node}/nexel/${name}/${command}`, args(monitors[name]));
    this.#faultyReadings = command === "faultReadings";
  }

  #all() {
    return group("Everything", [this.#button("Mend all", async () => {
      await this.#look();
      for (const { path, good } of this.#broken) await lab.write(path, good);
      await this.#monitor("healReadings", () => "**");
    })]);
  }

  #button(text, does) {
    const button = element("button", { type: "button" }, text);
    button.addEventListener("click", async () => {
      const whom = button.closest("fieldset").firstChild.textContent;
      const outcome = await does().then(() => "done", (failure) => failure.message);
      say(`${whom}, ${text}: ${outcome}.`);
      this.#look();
    });
    return button;
  }
}

const laserOf = (channel) => Math.round(channel.thz * 1e5);

const say = (text) => setText(byId("bench-answer"), text);

function group(name, parts) {
  return element("fieldset", {}, name instanceof Element ? name : element("legend", {}, name), ...parts);
}

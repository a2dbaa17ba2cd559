// The lab's bench of faults: buttons that break the plant behind the node and mend it again. The plant
// is a simulation; on a real node the gateway has no such address, and this is never loaded.

import { lab } from "./api.js";
import { byId, element, setText } from "./dom.js";
import { thzText } from "./text.js";

const shiftGhz = 60;
const addedLoss = 3; // dB
const noise = 0.4; // dB, sigma
const retryAfter = 1000;
const monitors = {
  wss_edge: "data/ocm/1/channel/*/powerLevel",
  ocm: "data/port/*/channel/*/powerLevel",
};

export class Bench {
  #node;
  #channels;
  #selected;
  #devices = [];

  /// `about`: {node: the number of this page's node in the plant}; `selected()`: the channel that is pointed at.
  constructor(about, channels, selected) {
    this.#node = about.node;
    this.#channels = channels;
    this.#selected = selected;
    this.#build();
  }

  /// The plant may come later than the page.
  async #build() {
    const states = await lab.read(`config/node/${this.#node}/nexel/*/state`).catch(() => undefined);
    if (!states) {
      setTimeout(() => this.#build(), retryAfter);
      return;
    }
    this.#devices = Object.keys(states).map((path) => path.split("/")[4]);
    byId("bench-groups").append(
      this.#fibres(), this.#lasers(), this.#devicesGroup(), this.#losses(), this.#noise());
    byId("bench").hidden = false;
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
    const laser = (name, value) => () => lab.write(`config/node/${this.#node}/laser/${this.#laser()}/${name}`, value);
    return group("Laser of the channel below", [
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
    const channel = this.#selected();
    if (!channel) throw new Error("Point at a channel first");
    return Math.round(channel.thz * 1e5);
  }

  #devicesGroup() {
    const select = element("select", { "aria-label": "Device", id: "bench-device" }, ...this.#devices.map((name) => element("option", { value: name }, name)));
    const turn = (state) => () => lab.write(`config/node/${this.#node}/nexel/${select.value}/state`, state);
    return group("Device", [
      select,
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
    const name = this.#devices.find((each) => each in monitors);
    const at = `command/node/${this.#node}/nexel/${name}`;
    return group("Monitor", [
      this.#button(`Noise of ${noise} dB`, () => lab.run(`${at}/faultReadings`, `path=${monitors[name]} fault=noisy amount=${noise}`)),
      this.#button("Stand still", () => lab.run(`${at}/faultReadings`, `path=${monitors[name]} fault=frozen`)),
      this.#button("Quiet", () => lab.run(`${at}/healReadings`, "**")),
    ]);
  }

  #button(text, does) {
    const button = element("button", { type: "button" }, text);
    button.addEventListener("click", async () => {
      const channel = this.#selected();
      const whom = channel && button.closest("fieldset").dataset.channel !== undefined ? ` ${thzText(channel.thz)} THz` : "";
      try {
        await does();
        setText(byId("bench-answer"), `${text}${whom}: done.`);
      } catch (failure) {
        setText(byId("bench-answer"), `${text}: ${failure.message}`);
      }
    });
    return button;
  }
}

function group(name, parts) {
  const made = element("fieldset", {}, element("legend", {}, name), ...parts);
  if (name.startsWith("Laser")) made.dataset.channel = "";
  return made;
}

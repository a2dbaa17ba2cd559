// The lights on the front of the node, as its rules have them: a port is lit while one of its channels
// has light, the line's input while the preamp has, its output while the booster is on. The lights
// themselves belong to a service that the daemon writes and nobody else reads; on a node with the
// panel's service away the picture shows what the daemon wants there.

import { byId, element, setAttributes, setText } from "./dom.js";

// Of a node whose channels come by command: its client lights stand on this grid.
const clientGrid = { first: 19210000, spacing: 10000, lights: 40 };

export class Panel {
  #values;
  #channels;
  constructor(values, channels) {
    this.#values = values;
    this.#channels = channels;
    const parts = /^data\/client\/\d+\/(rx|tx)\/(peak|wssPortName)$|^alarms\/line\/1\/rx\/lossOfSignal|^insight\/device\/booster\/enabled$|^data\/(channel\/index|system\/availableWssPorts)$/;
    values.watch((path) => parts.test(path), () => this.draw());
  }

  draw() {
    const rows = this.#rows();
    const host = byId("panel-lights");
    const layout = rows.map((row) => `${row.name} ${row.lights.length}`).join();
    if (host.dataset.layout !== layout) {
      host.dataset.layout = layout;
      host.replaceChildren(...rows.map(emptyRow));
    }
    rows.forEach((row, at) => drawRow(host.children[at], row));
  }

  #rows() {
    const ports = this.#ports();
    const line = { name: "line", lights: [{ name: "1", rx: this.#lineIn(), tx: this.#values.value("insight/device/booster/enabled") === true }] };
    if (!ports) {
      const lights = this.#channels.of("rx").map(({ id }, at) => ({ name: String(at + 1), ...this.#litBy([id]) }));
      return [line, { name: "client", lights }];
    }
    const rows = [line];
    if (ports.includes("localAD")) rows.push({ name: "client", lights: this.#clientLights() });
    const crossed = ports.filter((port) => /^xc\d+$/.test(port)).sort((a, b) => a.slice(2) - b.slice(2));
    rows.push({ name: "cross connect", lights: crossed.map((port) => ({ name: port.slice(2), ...this.#litBy(this.#idsAt(port)) })) });
    return rows;
  }

  #ports() {
    try {
      return JSON.parse(this.#values.text("data/system/availableWssPorts")).map((port) => port.portname);
    } catch {
      return undefined;
    }
  }
  #clientLights() {
    const here = new Set(this.#idsAt("localAD"));
    return Array.from({ length: clientGrid.lights }, (_, at) => {
      const id = clientGrid.first + at * clientGrid.spacing;
      return { name: String(at + 1), ...this.#litBy(here.has(id) ? [id] : []) };
    });
  }
  #idsAt(port) {
    return this.#channels.of("rx").map(({ id }) => id).filter((id) => this.#values.text(`data/client/${id}/rx/wssPortName`) === port);
  }
  #litBy(ids) {
    const lit = (side) => ids.some((id) => this.#values.value(`data/client/${id}/${side}/peak`) === true);
    return { rx: lit("rx"), tx: lit("tx") };
  }
  #lineIn() {
    return this.#values.number("alarms/line/1/rx/lossOfSignal/severity") === 0;
  }
}

function emptyRow(row) {
  const lights = row.lights.map((light) => element(
    "span", { class: "port", "aria-hidden": "true" },
    element("span", { class: "light" }), element("span", { class: "light" }), element("span", { class: "number" }, light.name),
  ));
  return element("div", { class: "ports", role: "img" }, element("span", { class: "ports-name", "aria-hidden": "true" }, row.name), element("span", { class: "ports-row" }, ...lights));
}

function drawRow(host, row) {
  const ports = host.lastChild.children;
  row.lights.forEach((light, at) => {
    const [rx, tx] = ports[at].children;
    setAttributes(rx, { class: light.rx ? "light lit" : "light" });
    setAttributes(tx, { class: light.tx ? "light lit" : "light" });
    setAttributes(ports[at], { title: `${row.name} ${light.name}: rx ${light.rx ? "green" : "off"}, tx ${light.tx ? "green" : "off"}` });
  });
  setAttributes(host, { "aria-label": `${row.name}: rx ${spoken(row, "rx")}; tx ${spoken(row, "tx")}` });
}

function spoken(row, side) {
  const dark = row.lights.filter((light) => !light[side]);
  if (dark.length === 0) return "all green";
  if (dark.length === row.lights.length) return "all off";
  return `green but ${dark.map((light) => light.name).join(", ")}`;
}

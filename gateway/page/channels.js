// The channels of the node as the views draw them: which there are, where they stand on the band,
// and their figures of now.

const unitsOfATHz = 1e5;
const lightSpeed = 299792.458; // nm THz
const counted = 1000; // IDs below are numbers of channels, those above centres in 10 MHz
const parts = /^(?:insight|data|config)\/client\/(\d+)\/(rx|tx)\//;

/// What never changes of a channel, and is told by no event.
export const fixedPatterns = ["frequency", "width", "waveLength", "wssPortName", "wssPort"].map(
  (name) => `data/client/*/*/${name}`,
);

export function channelOf(path) {
  const found = parts.exec(path);
  return found ? { id: Number(found[1]), side: found[2] } : undefined;
}

export class Channels {
  #values;
  constructor(values) {
    this.#values = values;
  }

  /// Of one side, in ascending frequency.
  of(side) {
    const found = new Set();
    for (const path of this.#values.paths()) {
      const channel = path.endsWith("/state") ? channelOf(path) : undefined;
      if (channel?.side === side) found.add(channel.id);
    }
    const present = this.#index();
    return [...found]
      .filter((id) => !present || present.has(id))
      .map((id) => this.#placed(id, side))
      .sort((a, b) => a.thz - b.thz);
  }

  /// Of now. What has no meaning now is undefined.
  figures({ id, side }) {
    const insight = (name) => this.#values.number(`insight/client/${id}/${side}/${name}`);
    return {
      state: this.#values.text(`insight/client/${id}/${side}/state`) ?? "reading unknown",
      measured: insight("measured"),
      target: insight("target"),
      deadBand: insight("deadBand"),
      headroomUp: insight("headroomUp"),
      headroomDown: insight("headroomDown"),
      attenuation: this.#values.number(`data/client/${id}/${side}/attenuation`),
    };
  }

  thz(id) {
    return this.#placed(id, "rx").thz;
  }

  #index() {
    try {
      const ids = JSON.parse(this.#values.text("data/channel/index"));
      return Array.isArray(ids) ? new Set(ids.map(Number)) : undefined;
    } catch {
      return undefined;
    }
  }

  #placed(id, side) {
    const told = (name) => this.#values.number(`data/client/${id}/${side}/${name}`);
    return { id, side, thz: this.#centre(id, told), width: (told("width") ?? 50) / 1000 };
  }
  #centre(id, told) {
    if (told("frequency")) return told("frequency") / unitsOfATHz;
    if (id >= counted) return id / unitsOfATHz;
    // A wavelength in nm holds the grid to the nearest 10 GHz.
    return told("waveLength") ? Math.round((lightSpeed / told("waveLength")) * 100) / 100 : 190 + id / 10;
  }
}

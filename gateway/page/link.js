// The page's one event stream, and its sight: since when nothing is heard, and of whom. A stream
// that ends is opened again until it stands; what was not heard again by then is dropped.
//
// A browser keeps six connections to one address and a stream holds one of them, so a page that has
// been out of sight for a moment lets go of its own: otherwise the seventh tab would wait for ever.

import { eventsAddress } from "./api.js";
import { nodeNow } from "./clock.js";

const reopenAfter = 1000;
const presentValuesTake = 5000;
const restAfter = 3000; // out of sight

export class Link {
  #values;
  #patterns;
  #source;
  #sweeper;
  #resting;
  #seen = nodeNow();
  #sight = { sees: false, who: "gateway", since: nodeNow() };
  #receivers = [];
  #journals = [];

  constructor(values, patterns) {
    this.#values = values;
    this.#patterns = patterns;
    document.addEventListener("visibilitychange", () => this.#watched());
    this.#watched();
  }

  get sight() {
    return this.#sight;
  }
  /// `changed(sight)`: {sees, who, since}; who is "gateway" or "daemon".
  onSight(changed) {
    this.#receivers.push(changed);
  }
  /// Every event of a path counts, and not the newest alone.
  onJournal(path, heard) {
    this.#journals.push({ path, heard });
  }
  /// An answer came, or failed to come, beside the stream.
  answered() {
    this.#seen = nodeNow();
  }
  unanswered() {
    this.#turn(false, "gateway", this.#seen);
    if (this.#source?.readyState === EventSource.OPEN) this.#reopen();
  }

  #watched() {
    clearTimeout(this.#resting);
    if (document.hidden) this.#resting = setTimeout(() => this.#source?.close(), restAfter);
    else if (this.#source?.readyState === EventSource.CLOSED) this.open();
  }

  open() {
    this.#source = new EventSource(eventsAddress(this.#patterns));
    this.#source.addEventListener("message", (message) => this.#event(message));
    this.#source.addEventListener("link", (message) => this.#linkEvent(message));
    this.#source.addEventListener("error", () => this.#lost());
  }

  #event(message) {
    this.#seen = nodeNow();
    const { path, time, value, error } = JSON.parse(message.data);
    const entry = { value, error, time: Date.parse(time) };
    for (const journal of this.#journals) {
      if (journal.path === path && value !== undefined) journal.heard(value);
    }
    this.#values.put(path, entry);
  }

  #linkEvent(message) {
    const { up, since } = JSON.parse(message.data);
    this.#seen = nodeNow();
    if (up) this.#found();
    else this.#turn(false, "daemon", Date.parse(since));
  }

  #found() {
    this.#values.newGeneration();
    clearTimeout(this.#sweeper);
    this.#sweeper = setTimeout(() => this.#sight.sees && this.#values.sweep(), presentValuesTake);
    this.#turn(true, "daemon", this.#seen);
  }

  #lost() {
    this.#turn(false, "gateway", this.#seen);
    if (this.#source.readyState === EventSource.CLOSED) setTimeout(() => this.#reopen(), reopenAfter);
  }
  #reopen() {
    this.#source.close();
    if (!document.hidden) this.open();
  }

  #turn(sees, who, since) {
    const known = this.#sight;
    // Blind is blind: the first loss counts, whoever else is lost later.
    const from = !sees && !known.sees ? Math.min(known.since, since) : since;
    if (known.sees === sees && known.who === who && known.since === from) return;
    this.#sight = { sees, who, since: from };
    for (const changed of this.#receivers) changed(this.#sight);
  }
}

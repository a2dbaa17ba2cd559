// What the page knows of the tree: the newest value of each path. Views name the paths they are made
// of and are told once for each animation frame what has changed of them, so a hundred events in a
// frame are one drawing. A value in error is no value: `number` and `text` give undefined.

export class Values {
  #entries = new Map();
  #generation = 0;
  #views = [];
  #changed = new Set();
  #due = false;

  /// `fits(path)`; `draw(changed paths)`.
  watch(fits, draw) {
    this.#views.push({ fits, draw });
  }

  put(path, { value, error, time }) {
    const known = this.#entries.get(path);
    const entry = { value, error, time, generation: this.#generation };
    this.#entries.set(path, entry);
    if (known && same(known, entry)) return;
    this.#touch(path);
  }

  /// All of an answer of the interface: {path: value}.
  putAll(answer, time = Date.now()) {
    for (const [path, value] of Object.entries(answer)) {
      const error = errorIn(value);
      this.put(path, error ? { error, time } : { value, time });
    }
  }

  /// What is not heard again before `sweep` is no longer on the tree.
  newGeneration() {
    this.#generation += 1;
  }
  sweep() {
    for (const [path, entry] of this.#entries) {
      if (entry.generation === this.#generation) continue;
      this.#entries.delete(path);
      this.#touch(path);
    }
  }

  has(path) {
    return this.#entries.has(path);
  }
  value(path) {
    return this.#entries.get(path)?.value;
  }
  error(path) {
    return this.#entries.get(path)?.error?.message;
  }
  number(path) {
    const value = this.value(path);
    return typeof value === "number" ? value : undefined;
  }
  text(path) {
    const value = this.value(path);
    return typeof value === "string" ? value : undefined;
  }
  paths() {
    return this.#entries.keys();
  }

  #touch(path) {
    this.#changed.add(path);
    if (this.#due) return;
    this.#due = true;
    requestAnimationFrame(() => this.#tell());
  }
  #tell() {
    const changed = [...this.#changed];
    this.#changed.clear();
    this.#due = false;
    for (const { fits, draw } of this.#views) {
      const own = changed.filter(fits);
      if (own.length > 0) draw(own);
    }
  }
}

const same = (a, b) => JSON.stringify([a.value, a.error]) === JSON.stringify([b.value, b.error]);

export function errorIn(value) {
  const error = value !== null && typeof value === "object" ? value.error : undefined;
  return error && typeof error.code === "number" && typeof error.message === "string" ? error : undefined;
}

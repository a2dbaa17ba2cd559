// The node's tree to browse and to filter. Read when somebody opens it; what is in sight is read again
// while it stays open. Names and values are text, whatever is in them.

import { readValues } from "./api.js";
import { byId, element, setAttributes, setText } from "./dom.js";
import { errorIn } from "./values.js";

const pace = 2000;
const most = 400; // rows of a filter
const patterns = 24; // of one reading

export class Tree {
  #known = {};
  #open = new Set();
  #rows = new Map();
  #timer;

  constructor() {
    const place = byId("tree");
    place.addEventListener("toggle", () => (place.open ? this.#begin() : clearTimeout(this.#timer)));
    byId("tree-filter").addEventListener("input", () => this.#layOut());
  }

  async #begin() {
    try {
      this.#known = await readValues("**");
      this.#layOut();
    } catch (failure) {
      setText(byId("tree-note"), `The tree cannot be read: ${failure.message}`);
    }
    this.#timer = setTimeout(() => this.#refresh(), pace);
  }

  async #refresh() {
    const place = byId("tree");
    if (!place.open) return;
    try {
      const wanted = document.hidden ? [] : this.#patternsInSight();
      if (wanted.length > 0) Object.assign(this.#known, await readValues(...wanted));
      this.#drawValues();
    } catch {
      // The top of the page tells who is away.
    }
    this.#timer = setTimeout(() => this.#refresh(), pace);
  }

  /// The folders of the rows; a filter over half the tree is not read again.
  #patternsInSight() {
    const folders = new Set([...this.#rows.keys()].map((path) => path.slice(0, path.lastIndexOf("/") + 1)));
    return folders.size > patterns ? [] : [...folders].map((folder) => `${folder}*`);
  }

  #layOut() {
    const filter = byId("tree-filter").value.trim().toLowerCase();
    this.#rows.clear();
    const body = byId("tree-rows");
    body.replaceChildren();
    if (filter === "") this.#layOutFolder(body, "", 0);
    else this.#layOutFiltered(body, filter);
    this.#drawValues();
  }

  #layOutFiltered(body, filter) {
    const words = filter.split(/\s+/);
    const found = Object.keys(this.#known).filter((path) => words.every((word) => path.toLowerCase().includes(word)));
    for (const path of found.slice(0, most)) body.append(this.#leaf(path, path, 0));
    const more = found.length > most ? `, the first ${most} shown` : "";
    setText(byId("tree-note"), `${found.length} of ${Object.keys(this.#known).length} values${more}`);
  }

  #layOutFolder(body, prefix, depth) {
    setText(byId("tree-note"), `${Object.keys(this.#known).length} values`);
    for (const [name, isFolder] of childrenOf(Object.keys(this.#known), prefix)) {
      const path = prefix + name;
      if (!isFolder) body.append(this.#leaf(path, name, depth));
      else {
        body.append(this.#folder(`${path}/`, name, depth));
        if (this.#open.has(`${path}/`)) this.#layOutFolder(body, `${path}/`, depth + 1);
      }
    }
  }

  #folder(path, name, depth) {
    const open = this.#open.has(path);
    const button = element("button", { type: "button", "aria-expanded": open, "data-folder": path }, `${name}/`);
    button.addEventListener("click", () => this.#turn(path));
    return element("tr", {}, element("th", { scope: "row", class: `depth-${Math.min(depth, 7)}`, colspan: 2 }, button));
  }
  #turn(path) {
    if (!this.#open.delete(path)) this.#open.add(path);
    this.#layOut();
    [...byId("tree-rows").querySelectorAll("button")].find((button) => button.dataset.folder === path)?.focus();
  }

  #leaf(path, name, depth) {
    const value = element("td");
    this.#rows.set(path, value);
    return element("tr", { "data-path": path }, element("th", { scope: "row", class: `depth-${Math.min(depth, 7)}` }, name), value);
  }

  #drawValues() {
    for (const [path, cell] of this.#rows) {
      const value = this.#known[path];
      const error = errorIn(value);
      setText(cell, error ? error.message : shown(value));
      setAttributes(cell, { class: error ? "in-error" : null });
    }
  }
}

const shown = (value) => (typeof value === "string" ? value : JSON.stringify(value) ?? "");

/// [name, is a folder], folders first, numbers by their size.
function childrenOf(paths, prefix) {
  const found = new Map();
  for (const path of paths) {
    if (!path.startsWith(prefix)) continue;
    const rest = path.slice(prefix.length);
    const end = rest.indexOf("/");
    const name = end < 0 ? rest : rest.slice(0, end);
    found.set(`${name}${end < 0 ? "" : "/"}`, [name, end >= 0]);
  }
  return [...found.values()].sort((a, b) => b[1] - a[1] || a[0].localeCompare(b[0], "en", { numeric: true }));
}

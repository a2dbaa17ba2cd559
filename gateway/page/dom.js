// Elements of the page and of its drawings. What comes from the tree goes through setText or an
// attribute and is never parsed as markup. Writing what is already there costs no layout.

const drawing = "http://www.w3.org/2000/svg";

export function setAttributes(node, attributes) {
  for (const [name, value] of Object.entries(attributes)) {
    if (value === null || value === undefined || value === false) node.removeAttribute(name);
    else if (node.getAttribute(name) !== String(value)) node.setAttribute(name, value);
  }
  return node;
}

export function setText(node, text) {
  if (node.textContent !== text) node.textContent = text;
  return node;
}

export function element(name, attributes = {}, ...children) {
  const made = setAttributes(document.createElement(name), attributes);
  made.append(...children);
  return made;
}

export function shape(name, attributes = {}, ...children) {
  const made = setAttributes(document.createElementNS(drawing, name), attributes);
  made.append(...children);
  return made;
}

/// The sign of a state; its word stands beside it. `path` lies in a square of 2 by 2 around the middle.
export const sign = (path, colour) => shape(
  "svg", { class: `mark ${colour}`, viewBox: "-1.2 -1.2 2.4 2.4", "aria-hidden": "true" },
  shape("path", { d: path, "fill-rule": "evenodd" }),
);

export const byId = (id) => document.getElementById(id);

/// Calls back when the width of a drawing's place changes; not for its height, which is the drawing's own.
export function onWidth(place, changed) {
  let known = place.clientWidth;
  new ResizeObserver(() => {
    if (place.clientWidth === known) return;
    known = place.clientWidth;
    changed();
  }).observe(place);
}

// The gateway's interface as the page uses it. Each call gives up after `patience`, so that a
// gateway that hangs is noticed.

import { dated } from "./clock.js";

const patience = 7000; // ms; longer than the gateway waits for its daemon, whose silence is not the gateway's

const query = (paths) => paths.map((path) => `path=${encodeURIComponent(path)}`).join("&");

async function answered(address, options = {}) {
  const answer = await fetch(address, { cache: "no-store", signal: AbortSignal.timeout(patience), ...options });
  dated(answer.headers.get("Date"));
  if (answer.ok) return answer.json();
  const text = await answer.text();
  throw new Error(reasonIn(text) || `${answer.status} ${answer.statusText}`);
}

function reasonIn(text) {
  try {
    return JSON.parse(text).error.message;
  } catch {
    return text.trim();
  }
}

export const readValues = (...paths) => answered(`/api/v1/values?${query(paths)}`);
export const readHistory = async (path) => (await answered(`/api/v1/history?${query([path])}`))[path] ?? [];
export const eventsAddress = (paths) => `/api/v1/events?${query(paths)}`;

const sent = (method, body) => ({
  method,
  headers: { "Content-Type": "application/json", "X-Lumora-Request": "page" },
  body: JSON.stringify(body),
});

/// The plant behind a lab's node; none on a real one.
export const lab = {
  about: () => answered("/api/v1/lab"),
  read: (...paths) => answered(`/api/v1/lab/values?${query(paths)}`),
  write: (path, value) => answered("/api/v1/lab/values", sent("PUT", { [path]: value })),
  run: (path, args) => answered("/api/v1/lab/run", sent("POST", { path, args })),
};

// The node's clock. That of the browser's machine may differ by minutes; plots and "since" are told
// on the node's, by the dates of its answers.

const coarse = 2000; // ms; dates count in seconds, and an answer was on its way

let ahead = 0;

export function dated(date) {
  const difference = Date.parse(date) + 500 - Date.now();
  if (Number.isFinite(difference)) ahead = Math.abs(difference) > coarse ? difference : 0;
}

export const nodeNow = () => Date.now() + ahead;

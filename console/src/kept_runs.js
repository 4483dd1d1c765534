// The mass updates that the browser keeps: the last ones, with all that follows from them.

import { forget, keep, listKept } from './kept.js';

const mostRuns = 20;
const start = 'run-'; // of their names; the rest is the id, always as long
const nameOf = ({ id }) => start + id;

// Keeps a run, and the newest ones beside it. Returns whether it is kept.
export async function keepRun(run) {
  const kept = await keep(nameOf(run), run);
  for (const old of (await keptRuns()).slice(mostRuns)) await forget(nameOf(old));
  return kept;
}

export const dropRun = (run) => forget(nameOf(run));

// The runs that are kept, newest first; none in a browser that keeps nothing.
export const keptRuns = async () => (await listKept(start)).reverse();

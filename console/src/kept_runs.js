// The mass updates that the browser keeps: the last ones, with all that follows from them. All pages of this console in one
// browser share them.

import { forget, keep, listKept, namesKept } from './kept.js';

const mostRuns = 20;
const start = 'run-'; // of their names; the rest is the id, always as long
const nameOf = ({ id }) => start + id;

// Other pages are asked which run they drive, and hear what is kept.
const pages = new BroadcastChannel('console');
const longestAnswer = 500; // milliseconds

// Calls `onKept` when another page has kept a run; `driven()` returns the id of the run that this page drives.
export function listenToPages(onKept, driven) {
  pages.onmessage = ({ data: { kept, asks } }) => {
    if (kept) onKept();
    if (asks && asks === driven()) pages.postMessage({ drives: asks });
  };
}

export function isDrivenElsewhere(id) {
  return new Promise((resolve) => {
    const answers = new BroadcastChannel('console');
    const end = (result) => {
      answers.close();
      resolve(result);
    };
    answers.onmessage = ({ data }) => data.drives === id && end(true);
    answers.postMessage({ asks: id });
    setTimeout(() => end(false), longestAnswer);
  });
}

// Keeps a run, and the newest ones beside it. Returns whether it is kept.
export async function keepRun(run) {
  const kept = await keep(nameOf(run), run);
  for (const old of (await namesKept(start)).slice(0, -mostRuns)) await forget(old);
  if (kept) pages.postMessage({ kept: run.id });
  return kept;
}

export const dropRun = (run) => forget(nameOf(run));

// The runs that are kept, newest first; none in a browser that keeps nothing.
export const keptRuns = async () => (await listKept(start)).reverse();

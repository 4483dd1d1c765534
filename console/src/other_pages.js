// Other pages of this console in the same browser: they are asked for the run that they drive, and learn what is kept.

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

export const tellPages = (kept) => pages.postMessage({ kept });

// What the page shows: one object that changes as a whole, and the memory that outlives the page.

import { useEffect, useState } from 'preact/hooks';

let state = {
  page: 'units', //    that is shown, by its name in the address
  topic: '', //         of that page: the unit of the page of details
  activity: null, //    {job, command, tries} of the request that runs
  discovery: null, //   {since} while a discovery runs
  site: null, //        {keys, units, hidden, encoders, decoders} and {bytes, modified}
  outdated: false, //   whether a mass update ran since
  ownSerial: '', //     of this unit: its address is in the page's, it has skipped itself in an update, or it was asked
  firmware: null, //    {seen, said} of this unit's firmware update: seen is there, gone, again or back
  earlier: null, //     the site of the discovery before
  comparison: null, //  with that one
  base: null, //        the site that drafts are compared with: with what was sent since it was discovered
  draft: null, //       of a mass update: {name, source, columns, rows, notes, headerRow, edited};
  //                    source is file, site, retry or undo
  earlierDrafts: [], // to undo edits
  laterDrafts: [], //   to redo them
  run: null, //         the mass update that runs or ran, as logic/run.js has it, with {kept, offline, stopping, wanted}
  earlierRuns: [], //   {id, name, tally} of those that are kept, newest first
  others: null, //      {total, done} of an update that another console has begun
  notice: null, //      {level, text}
};
const listeners = new Set();

export const get = () => state;
export const listen = (listener) => listeners.add(listener);

export function set(changes) {
  state = { ...state, ...changes };
  listeners.forEach((listener) => listener(state));
}

export function useStore() {
  const [current, setCurrent] = useState(state);
  useEffect(() => {
    listeners.add(setCurrent);
    setCurrent(state);
    return () => listeners.delete(setCurrent);
  }, []);
  return current;
}

// A browser that keeps nothing, or has no room, only loses the memory. Returns whether it is kept.
export function remember(name, value) {
  try {
    localStorage.setItem(`console.${name}`, JSON.stringify(value));
    return true;
  } catch {
    return false;
  }
}

export function recall(name) {
  try {
    return JSON.parse(localStorage.getItem(`console.${name}`));
  } catch {
    return null;
  }
}

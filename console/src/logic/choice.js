// Which units, or rows of a draft, a table shows, in which order, and which of them are selected.

import { inOrder } from './site.js';

const passesKind = {
  all: () => true,
  encoders: ({ kind }) => kind.encoder,
  decoders: ({ kind }) => kind.decoder,
  conflicts: ({ marks }) => marks.length > 0,
};

// Chooses items {kind, marks, texts()} by {kind, filter}: the filter is a text in any cell. Returns a test.
export function passing({ kind, filter }) {
  const text = filter.trim().toLowerCase();
  return (item) =>
    passesKind[kind](item) &&
    (text === '' || item.texts().some((cell) => (cell ?? '').toLowerCase().includes(text)));
}

// Sorts items by the texts of a column, in a direction of `up` or `down`; equal ones keep their order.
export function sorted(items, direction, textOf) {
  const turn = direction === 'up' ? 1 : -1;
  const pairs = items.map((item) => [textOf(item), item]);
  return pairs.sort(([one], [other]) => turn * inOrder(one, other)).map(([, item]) => item);
}

// The selection after a click on the item at a place of a list: all from the place that was clicked before, when there is
// one, become what the clicked one becomes.
export function selectedAfter(selected, list, at, from = at) {
  const after = new Set(selected);
  const [first, last] = [Math.min(at, from), Math.max(at, from)];
  const adds = !selected.has(list[at]);
  for (const item of list.slice(first, last + 1)) {
    if (adds) after.add(item);
    else after.delete(item);
  }
  return after;
}

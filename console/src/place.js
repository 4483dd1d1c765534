// Which page the address names: "#details/KU000002" is the page of that unit.

import { get, set } from './store.js';
import { texts } from './texts.js';

function placeOfAddress() {
  const [, page, topic] = /^#?([^/]*)\/?(.*)$/s.exec(location.hash);
  try {
    return Object.hasOwn(texts.pages, page)
      ? { page, topic: decodeURIComponent(topic) }
      : { page: 'units', topic: '' };
  } catch {
    return { page: 'units', topic: '' };
  }
}

// The way to another page takes the notice of the last one away.
function showPlace() {
  const [before, place] = [get(), placeOfAddress()];
  if (place.page !== before.page || place.topic !== before.topic) set({ ...place, notice: null });
}

export function watchPlace() {
  addEventListener('hashchange', showPlace);
  showPlace();
}

// Shows a page at once, together with what was set just before: the address alone would do so a moment later.
export function goTo(page) {
  location.hash = page;
  showPlace();
}

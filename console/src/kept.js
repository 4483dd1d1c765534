// What the browser keeps across reloads, for all pages of this console in it: the site, the draft, updates and snapshots.
// Small settings are the store's (localStorage). A browser that keeps nothing only loses all this.

const settled = (request) =>
  new Promise((resolve, reject) => {
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => reject(request.error);
  });

let opened = null;
function open() {
  if (opened) return opened;
  const request = indexedDB.open('console', 1);
  request.onupgradeneeded = () => request.result.createObjectStore('kept');
  opened = settled(request);
  return opened;
}

// Resolves to what `work(store)` asks for once it is on the disk, or to `otherwise`.
async function within(mode, work, otherwise) {
  try {
    const transaction = (await open()).transaction('kept', mode);
    const request = work(transaction.objectStore('kept'));
    await new Promise((resolve, reject) => {
      transaction.oncomplete = resolve;
      transaction.onabort = reject;
    });
    return request.result;
  } catch {
    return otherwise;
  }
}

// Returns the value of a name, undefined when there is none.
export const readKept = (name) => within('readonly', (store) => store.get(name));

// Both return whether it went well.
export const keep = async (name, value) =>
  (await within('readwrite', (store) => store.put(value, name))) === name;
export const forget = async (name) =>
  (await within('readwrite', (store) => store.delete(name), null)) === undefined;

// A list of items: each has a name that begins with `start` and ends with its id; of more than `most` the first ones go.
function keptList(start, idOf, most = Infinity) {
  const nameOf = (item) => start + idOf(item);
  const range = IDBKeyRange.bound(start, `${start}\uffff`);
  const names = () => within('readonly', (store) => store.getAllKeys(range), []);
  return {
    put: async (item) => {
      const kept = await keep(nameOf(item), item);
      for (const old of (await names()).slice(0, -most)) await forget(old);
      return kept;
    },
    drop: (item) => forget(nameOf(item)),
    // All of them, the last one first.
    read: async () => (await within('readonly', (store) => store.getAll(range), [])).reverse(),
  };
}

// Mass updates as logic/run.js has them; ids are times in milliseconds, always as long.
export const keptRuns = keptList('run-', ({ id }) => id, 20);

// {name, made, bytes}: the bytes are those of the unit's site.csv.
export const keptSnapshots = keptList('snapshot/', ({ made }) => made);

// The larger memory of the browser: what would not fit beside the settings that the store remembers. A browser that
// keeps nothing only loses it.

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

// Returns the values whose names begin with `start`, in the order of their names.
export const listKept = (start) =>
  within('readonly', (store) => store.getAll(IDBKeyRange.bound(start, `${start}\uffff`)), []);

// Returns these names.
export const namesKept = (start) =>
  within('readonly', (store) => store.getAllKeys(IDBKeyRange.bound(start, `${start}\uffff`)), []);

// Both return whether it went well.
export const keep = async (name, value) =>
  (await within('readwrite', (store) => store.put(value, name))) === name;
export const forget = async (name) =>
  (await within('readwrite', (store) => store.delete(name), null)) === undefined;

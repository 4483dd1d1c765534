// Files that a command line names. What fails is said with the file's name.

import {
  closeSync,
  existsSync,
  fstatSync,
  ftruncateSync,
  openSync,
  readFileSync,
  rmSync,
  writeFileSync,
} from 'node:fs';

// Returns what `work()` does; `deed` is what cannot be done when it throws.
export function withFile(path, deed, work) {
  try {
    return work();
  } catch ({ code }) {
    throw new Error(`${path} cannot be ${deed} (${code}).`);
  }
}

export const readFile = (path) => withFile(path, 'read', () => readFileSync(path));

// Opens a file that is written later: what it has stays until then. Returns {write(content), drop()}; `drop` removes a file
// that was not there before.
export function openOutput(path) {
  const isNew = !existsSync(path);
  const file = withFile(path, 'written', () => openSync(path, 'a'));
  return {
    write: (content) =>
      withFile(path, 'written', () => {
        if (fstatSync(file).isFile()) ftruncateSync(file);
        writeFileSync(file, content);
        closeSync(file);
      }),
    drop() {
      closeSync(file);
      if (isNew) rmSync(path);
    },
  };
}

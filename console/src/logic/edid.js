// Reads an EDID: its header and checksums, and what a person knows a monitor by.

export const edidSize = 256;
const blockSize = 128;
const header = [0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00];
const timingAt = 54; // four descriptors of 18 bytes from here; the first is the preferred timing
const descriptorSize = 18;
const nameTag = 0xfc;

const sumsUp = (bytes, block) =>
  bytes.subarray(block * blockSize, (block + 1) * blockSize).reduce((sum, byte) => (sum + byte) & 0xff, 0) ===
  0;

// Three letters of five bits each, 1 being A.
function makerOf(bytes) {
  const letters = (bytes[8] << 8) | bytes[9];
  return [10, 5, 0].map((shift) => String.fromCharCode(64 + ((letters >> shift) & 31))).join('');
}

function descriptors(bytes) {
  return [0, 1, 2, 3].map((at) =>
    bytes.subarray(timingAt + at * descriptorSize, timingAt + (at + 1) * descriptorSize),
  );
}

function nameOf(bytes) {
  const found = descriptors(bytes).find((item) => item[0] === 0 && item[1] === 0 && item[3] === nameTag);
  return found
    ? String.fromCharCode(...found.subarray(5))
        .split('\n')[0]
        .trim()
    : '';
}

// Returns {width, height, hertz, interlaced} of the first detailed timing, null when it is none.
function timingOf(bytes) {
  const [item] = descriptors(bytes);
  const clock = (item[0] | (item[1] << 8)) * 10_000;
  if (clock === 0) return null;
  const upper = (at, shift) => ((item[at] >> shift) & 15) << 8;
  const width = item[2] | upper(4, 4);
  const height = item[5] | upper(7, 4);
  const allColumns = width + (item[3] | upper(4, 0));
  const allLines = height + (item[6] | upper(7, 0));
  if (allColumns === 0 || allLines === 0) return null;
  const interlaced = (item[17] & 0x80) !== 0;
  const hertz = Math.round((clock / (allColumns * allLines)) * 100) / 100;
  return { width, height: interlaced ? height * 2 : height, hertz, interlaced };
}

// Returns {faults, name, maker, timing, blocks} for a file's bytes; `blocks` are whether the checksum of each block is right.
// Faults are `size`, which is then all that is returned, `long` (of more than 256 bytes only the first are used), `header`, and
// `checksum` with the numbers of the blocks.
export function readEdid(bytes) {
  if (bytes.length < edidSize) return { faults: [{ code: 'size', detail: String(bytes.length) }] };
  const used = bytes.subarray(0, edidSize);
  const wrong = [0, 1].filter((block) => !sumsUp(used, block));
  const faults = [];
  if (bytes.length > edidSize) faults.push({ code: 'long', detail: String(bytes.length) });
  if (!header.every((byte, at) => used[at] === byte)) faults.push({ code: 'header', detail: '' });
  if (wrong.length > 0) faults.push({ code: 'checksum', detail: wrong.map((block) => block + 1).join(', ') });
  const blocks = [0, 1].map((block) => !wrong.includes(block));
  return { faults, name: nameOf(used), maker: makerOf(used), timing: timingOf(used), blocks };
}

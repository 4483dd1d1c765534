// Looks into a firmware file before it is sent: the SHA-256 of its bytes, whether it is a gzip file that is whole, and
// whether a tar archive is in it. The file is read in pieces, so that its size plays no part.

import { sha256 } from '@noble/hashes/sha2';
import { bytesToHex } from '@noble/hashes/utils';

const pieceSize = 1 << 20;
const tarBlock = 512;

// Returns the SHA-256 of a file in hexadecimal; `progress` hears the share that is done.
export async function hashFile(file, progress = () => {}) {
  const hash = sha256.create();
  for (let at = 0; at < file.size; at += pieceSize) {
    hash.update(new Uint8Array(await file.slice(at, at + pieceSize).arrayBuffer()));
    progress(Math.min(1, (at + pieceSize) / file.size));
  }
  return bytesToHex(hash.digest());
}

const textAt = (block, from, length) =>
  new TextDecoder().decode(block.subarray(from, from + length)).replace(/\0.*$/s, '');

const octalAt = (block, from, length) => parseInt(textAt(block, from, length).trim() || '0', 8);

// Returns {name, size, plain} of a member, null when the block is no tar header. Its checksum counts the field of the checksum
// itself as blanks. Members that only describe the next one, as long names do, are not plain.
function readTarHeader(block) {
  const sum = block.reduce((total, byte, at) => total + (at >= 148 && at < 156 ? 32 : byte), 0);
  if (octalAt(block, 148, 8) !== sum) return null;
  const kind = textAt(block, 156, 1);
  return { name: textAt(block, 0, 100), size: octalAt(block, 124, 12), plain: !/^[xgLK]$/.test(kind) };
}

// Finds the members of a tar archive that comes in pieces.
class TarReader {
  members = [];
  #block = new Uint8Array(tarBlock);
  #filled = 0;
  #skip = 0; // bytes of a member's content that are still to come
  #ended = false;

  take(piece) {
    for (let at = 0; at < piece.length && !this.#ended;) {
      const wanted = this.#skip > 0 ? this.#skip : tarBlock - this.#filled;
      const taken = Math.min(wanted, piece.length - at);
      if (this.#skip > 0) this.#skip -= taken;
      else this.#fill(piece.subarray(at, at + taken));
      at += taken;
    }
  }

  #fill(bytes) {
    this.#block.set(bytes, this.#filled);
    this.#filled += bytes.length;
    if (this.#filled < tarBlock) return;
    this.#filled = 0;
    const header = readTarHeader(this.#block);
    this.#ended = header === null;
    if (this.#ended) return;
    this.#skip = Math.ceil(header.size / tarBlock) * tarBlock;
    if (header.plain) this.members.push({ name: header.name, size: header.size });
  }
}

// Unpacks all of a stream. Throws when it is no gzip stream or not a whole one.
async function unpack(stream) {
  const tar = new TarReader();
  let size = 0;
  const reader = stream.pipeThrough(new DecompressionStream('gzip')).getReader();
  for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
    tar.take(piece.value);
    size += piece.value.length;
  }
  return { members: tar.members, size };
}

// Returns {fault, members, size}: fault is `empty`, `gzip` (not its signature), `damaged` (cannot be unpacked completely),
// `tar` (no archive in it) or null; members {name, size} and the unpacked size are there without a fault.
export async function readArchive(file) {
  if (file.size === 0) return { fault: 'empty' };
  const head = new Uint8Array(await file.slice(0, 3).arrayBuffer());
  if (head[0] !== 0x1f || head[1] !== 0x8b || head[2] !== 8) return { fault: 'gzip' };
  try {
    const { members, size } = await unpack(file.stream());
    return members.length === 0 ? { fault: 'tar' } : { fault: null, members, size };
  } catch {
    return { fault: 'damaged' };
  }
}

// Names of members by which archives of one kind can be compared: versions in them do not count.
export const kindsOf = (members) => [
  ...new Set(members.map(({ name }) => name.replace(/^\.\//, '').replace(/\d+/g, '#'))),
];

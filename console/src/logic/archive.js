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

// Returns the name of the archive's first member, null when the block is no tar header. Its checksum counts the field of
// the checksum itself as blanks.
function readTarHeader(block) {
  if (block.length < tarBlock) return null;
  const stored = parseInt(textAt(block, 148, 8).trim(), 8);
  const sum = block
    .subarray(0, tarBlock)
    .reduce((total, byte, at) => total + (at >= 148 && at < 156 ? 32 : byte), 0);
  return stored === sum ? textAt(block, 0, 100) : null;
}

// Unpacks all of a stream, keeping the first block. Throws when it is no gzip stream or not a whole one.
async function unpack(stream) {
  const start = new Uint8Array(tarBlock);
  let size = 0;
  const reader = stream.pipeThrough(new DecompressionStream('gzip')).getReader();
  for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
    if (size < tarBlock) start.set(piece.value.subarray(0, tarBlock - size), size);
    size += piece.value.length;
  }
  return { start: start.subarray(0, Math.min(size, tarBlock)), size };
}

// Returns {fault, member, size}: fault is `empty`, `gzip` (not its signature), `damaged` (cannot be unpacked to its
// end), `tar` or null; the first member's name and the unpacked size are there without a fault.
export async function readArchive(file) {
  if (file.size === 0) return { fault: 'empty' };
  const head = new Uint8Array(await file.slice(0, 3).arrayBuffer());
  if (head[0] !== 0x1f || head[1] !== 0x8b || head[2] !== 8) return { fault: 'gzip' };
  try {
    const { start, size } = await unpack(file.stream());
    const member = readTarHeader(start);
    return member === null ? { fault: 'tar' } : { fault: null, member, size };
  } catch {
    return { fault: 'damaged' };
  }
}

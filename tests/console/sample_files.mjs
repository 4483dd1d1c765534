// Files to upload.

import { execFileSync } from 'node:child_process';
import { randomBytes } from 'node:crypto';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';

// An EDID of two blocks: maker ABC, 1920 x 1080 at 60 Hz.
export function makeEdid(name) {
  const bytes = new Uint8Array(256);
  bytes.set([0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x04, 0x43]);
  bytes.set([0x02, 0x3a, 0x80, 0x18, 0x71, 0x38, 0x2d, 0x40, 0x58, 0x2c, 0x45], 54);
  bytes.set([0, 0, 0, 0xfc, 0, ...new TextEncoder().encode(`${name}\n`)], 72);
  bytes[126] = 1;
  bytes[128] = 2;
  for (const start of [0, 128]) {
    const sum = bytes.subarray(start, start + 127).reduce((total, byte) => total + byte, 0);
    bytes[start + 127] = (256 - (sum % 256)) % 256;
  }
  return bytes;
}

// A tar archive of one file of random bytes.
export function makeTar(name, size) {
  const folder = mkdtempSync('/tmp/tar-');
  writeFileSync(`${folder}/${name}`, randomBytes(size));
  const bytes = execFileSync('tar', ['-C', folder, '-c', name], { maxBuffer: Infinity });
  rmSync(folder, { recursive: true });
  return bytes;
}

// Files looked at before they are sent.

import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { hashFile, readArchive } from '../../console/src/logic/archive.js';
import { readEdid } from '../../console/src/logic/edid.js';
import { makeEdid, makeTar } from './sample_files.mjs';

test('an EDID is decoded and its faults are named', () => {
  const good = makeEdid('DESK 24');
  const { name, maker, timing, faults } = readEdid(good);
  assert.deepEqual(
    { name, maker, timing, faults },
    {
      name: 'DESK 24',
      maker: 'ABC',
      timing: { width: 1920, height: 1080, hertz: 60, interlaced: false },
      faults: [],
    },
  );
  const changed = (at, value) => Uint8Array.from(good, (byte, place) => (place === at ? value : byte));
  const table = [
    [good.slice(0, 255), 'size 255'],
    [new Uint8Array(0), 'size 0'],
    [Uint8Array.of(...good, 0), 'long 257'],
    [changed(0, 1), 'header , checksum 1'],
    [changed(200, 1), 'checksum 2'],
    [new Uint8Array(256), 'header '],
  ];
  for (const [bytes, expected] of table) {
    assert.equal(
      readEdid(bytes)
        .faults.map(({ code, detail }) => `${code} ${detail}`)
        .join(', '),
      expected,
    );
  }
  assert.equal(readEdid(new Uint8Array(256)).timing, null);
});

test('a firmware file must be a whole gzip file with a tar archive in it', async () => {
  const tar = makeTar('firmware.bin', 300_000);
  const whole = gzipSync(tar);
  const table = [
    [whole, { fault: null, member: 'firmware.bin', size: tar.length }],
    [whole.subarray(0, whole.length - 9), { fault: 'damaged' }],
    [Uint8Array.from(whole, (byte, at) => (at === 5000 ? byte ^ 1 : byte)), { fault: 'damaged' }],
    [gzipSync('no archive'), { fault: 'tar' }],
    [gzipSync(new Uint8Array(1024)), { fault: 'tar' }],
    [tar, { fault: 'gzip' }],
    [new Uint8Array(0), { fault: 'empty' }],
  ];
  for (const [bytes, expected] of table) assert.deepEqual(await readArchive(new Blob([bytes])), expected);
});

test('the hash is that of all pieces', async () => {
  const bytes = makeTar('x', 2_500_000);
  const shares = [];
  assert.equal(
    await hashFile(new Blob([bytes]), (share) => shares.push(share)),
    createHash('sha256').update(bytes).digest('hex'),
  );
  assert.equal(shares.at(-1), 1);
});

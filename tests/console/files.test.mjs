// Files looked at before they are sent: what the browser run does not choose.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { hashFile, kindsOf, readArchive } from '../../console/src/logic/archive.js';
import { readEdid } from '../../console/src/logic/edid.js';
import { makeEdid, makeTar } from './sample_files.mjs';

// The unit stores any 256 bytes, and a source that cannot read them sends no picture.
test('the faults of an EDID are named', () => {
  const good = makeEdid('DESK 24');
  const changed = (at, value) => good.map((byte, place) => (place === at ? value : byte));
  const table = [
    [good.slice(0, 255), 'size 255'],
    [Uint8Array.of(...good, 0), 'long 257'],
    [changed(0, 1), 'header , checksum 1'],
    [changed(200, 1), 'checksum 2'],
    [new Uint8Array(256), 'header '],
  ];
  for (const [bytes, expected] of table) {
    const { faults } = readEdid(bytes);
    assert.equal(faults.map(({ code, detail }) => `${code} ${detail}`).join(', '), expected);
  }
  assert.equal(readEdid(new Uint8Array(256)).timing, null);
});

// The unit checks nothing: a wrong file can leave it dead.
test('a firmware file must be a whole gzip file with a tar archive in it', async () => {
  const tar = makeTar('firmware.bin', 2_500_000);
  const whole = gzipSync(tar);
  const table = [
    [whole, { fault: null, members: [{ name: 'firmware.bin', size: 2_500_000 }], size: tar.length }],
    [whole.subarray(0, whole.length - 9), { fault: 'damaged' }],
    [whole.map((byte, at) => (at === 5000 ? byte ^ 1 : byte)), { fault: 'damaged' }],
    [gzipSync('no archive'), { fault: 'tar' }],
    [gzipSync(new Uint8Array(1024)), { fault: 'tar' }],
    [tar, { fault: 'gzip' }],
    [new Uint8Array(0), { fault: 'empty' }],
  ];
  for (const [bytes, expected] of table) assert.deepEqual(await readArchive(new Blob([bytes])), expected);
  const hash = createHash('sha256').update(whole).digest('hex');
  assert.equal(await hashFile(new Blob([whole])), hash); // of three pieces
});

// A header that two pieces share must be found; a new version of a member is no missing member.
test('the members of an archive are found wherever its pieces end, and compared without versions', async () => {
  const folder = mkdtempSync('/tmp/tar-');
  const long = `${'n'.repeat(120)}.bin`; // in a header of its own
  for (const name of ['boot-1.img', 'empty', long])
    writeFileSync(`${folder}/${name}`, name === 'empty' ? '' : 'x'.repeat(700));
  const tar = execFileSync('tar', ['-C', folder, '-c', './boot-1.img', 'empty', long]);
  rmSync(folder, { recursive: true });
  const { members } = await readArchive(new Blob([gzipSync(tar)]));
  assert.deepEqual(
    members.map(({ name, size }) => `${name} ${size}`),
    ['./boot-1.img 700', 'empty 0', `${long.slice(0, 100)} 700`],
  );
  assert.deepEqual(kindsOf([...members, { name: 'boot-22.img' }]), [
    'boot-#.img',
    'empty',
    long.slice(0, 100),
  ]);
});

// A booted unit answers as one in the box does, and gets through big uploads and bad clients.
//   script/unit --crowd 23 -- node --test tests/booted/commands.mjs

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { createHash, randomBytes } from 'node:crypto';
import { mkdtempSync, rmSync } from 'node:fs';
import { createConnection } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { answers, ask, hadMemory, md5, result, send, shell, urls } from './machine.mjs';

// An archive that was sent before stays, as on any unit.
const leftovers = 'ls /dev/shm | grep -v "^fw.tar.gz$\\|^uf"';
const edid = Buffer.concat([Buffer.from('00ffffffffffff00', 'hex'), Buffer.alloc(248, 7)]);

// An update of the test before this one may not have noticed yet that its file is no archive.
const updateEnds = () => shell(1, 'while pidof update_fw.sh > /dev/null; do sleep 1; done');

// The box's unit with the same neighbours. Returns a procedure like `ask`, and one that ends it.
async function openBox() {
  const shared = mkdtempSync(join(tmpdir(), 'booted-'));
  const socketPath = join(shared, 'web');
  const box = spawn('script/box', ['--share', shared, 'box/demo-unit', 'lighttpd', '--count', '23'], {
    env: { ...process.env, HANDLER_SOCKET: socketPath },
    stdio: 'ignore',
  });
  const end = () => {
    box.kill();
    rmSync(shared, { recursive: true });
  };
  const askBox = (command, options) => ask(command, { ...options, socketPath });
  for (let tries = 0; tries < 100; ++tries) {
    if (await askBox('GET_NODES').catch(() => null)) return { askBox, end };
    await sleep(100);
  }
  end();
  return assert.fail('the box does not answer');
}

test('every command answers with the bytes of the box', async () => {
  const { askBox, end } = await openBox();
  try {
    const csv = 'UNIT.SERIAL,UNIT.ID\r\nKU000001,Here\r\nKU000003,Hall\r\n';
    for (const [command, file] of [
      ['DISCOVER_ENCODERS'],
      ['DISCOVER_DECODERS'],
      ['DISCOVER_DEVICES_API'],
      ['GET_CSV_DISCOVER'],
      ['DISCOVER_DEVICES'],
      ['GET_NODES'],
      ['CSV_IMPORT', csv],
      ['GET_CSV_IMPORT'],
      ['PERFORM_CSV_IMPORT'],
      ['PERFORM_CSV_UPDATE'],
      ['CHECK_IMPORT_CSV_STATUS'],
      ['UPDATE_EDID', edid],
      ['UPDATE_EDID1', edid],
      ['UPDATE_EDID2', edid],
      ['UPDATE_EDID3', edid],
      ['UPDATE_SPLASH', 'picture'],
      ['GET_NOTHING'],
      ['UPDATE_FIRMWARE', 'no archive'],
    ]) {
      const [booted, boxed] = await Promise.all([ask(command, { file }), askBox(command, { file })]);
      // Listings come in the order of arrival.
      const lines = (page) => (command.startsWith('DISCOVER_') ? page.split('\n').sort() : page.split('\n'));
      assert.deepEqual(lines(booted), lines(boxed), command);
    }
    const [, started] = /start:(\d+)/.exec(await shell(1, 'cat /tmp/MCa.log'));
    const clock = process.env.UNIT_CLOCK ? Date.parse(`${process.env.UNIT_CLOCK}Z`) : Date.now();
    assert.ok(Math.abs(started - clock / 1000) < 600, `${started} is another time`);
  } finally {
    end();
  }
});

test('the link is stopped first and reconnected last, also for a client that leaves', async () => {
  const events = () =>
    shell(1, "grep -h ast_send /var/log/tools.log | sed 's/.* //' | tr '\\n' ' '; cat /var/link");
  await updateEnds();
  await shell(1, ': > /var/log/tools.log');
  await ask('GET_NODES');
  assert.equal(await events(), 'e_stop_link e_reconnect running\n');

  await shell(1, ': > /var/log/tools.log');
  await assert.rejects(ask('DISCOVER_DEVICES_API', { signal: AbortSignal.timeout(1000) }));
  for (let tries = 0; tries < 60 && !(await events()).endsWith('running\n'); ++tries) await sleep(500);
  assert.equal(await events(), 'e_stop_link e_reconnect running\n');

  // One that leaves while its body arrives leaves nothing behind.
  const { hostname, port } = new URL(urls[0]);
  const socket = createConnection(port, hostname);
  socket.write(
    'POST /cgi-bin/handler.cgi HTTP/1.1\r\nHost: unit\r\nContent-Length: 9000000\r\n' +
      'Content-Type: multipart/form-data; boundary=x\r\n\r\n' +
      '--x\r\nContent-Disposition: form-data; name="CMD"\r\n\r\nUPDATE_SPLASH\r\n' +
      '--x\r\nContent-Disposition: form-data; name="file"; filename="a"\r\n\r\n',
  );
  socket.write(randomBytes(1_000_000));
  await sleep(2000);
  socket.destroy();
  await sleep(1000);
  assert.match(await ask('GET_NODES'), /No Nodes Detected|<p>/);
  assert.equal(await shell(1, `pidof handler.cgi; ${leftovers}`), '');
});

test('an upload that does not fit is refused and leaves nothing; firmware of 16 MiB arrives whole', async () => {
  // The server answers and closes before it has read the body: the answer may be lost with the connection.
  const refused = await send('UPDATE_FIRMWARE', { file: randomBytes(40 << 20) }).catch((failure) => failure);
  assert.ok(refused.status === 500 || ['ECONNRESET', 'EPIPE'].includes(refused.code), String(refused));
  assert.equal(await shell(1, leftovers), '');
  assert.match(await ask('GET_NODES'), /UNIT-024/);

  const firmware = randomBytes(16 << 20);
  assert.equal(result(await ask('UPDATE_FIRMWARE', { file: firmware })), '<p>Updating firmware ret:0</p>\n');
  assert.equal(await md5(1, '/dev/shm/fw.tar.gz'), createHash('md5').update(firmware).digest('hex'));
  await hadMemory();
});

test('after a firmware update the unit restarts', async () => {
  await updateEnds();
  await shell(1, 'cd /tmp && echo new > version && tar -czf fw.tar.gz version');
  const archive = Buffer.from(await shell(1, 'base64 /tmp/fw.tar.gz'), 'base64');
  const before = Number(await shell(1, 'cut -d. -f1 /proc/uptime'));
  assert.equal(result(await ask('UPDATE_FIRMWARE', { file: archive })), '<p>Updating firmware ret:0</p>\n');
  assert.match(await ask('GET_NODES'), /Firmware Update In Progress/);
  await sleep(6000);
  await answers(1);
  assert.ok(Number(await shell(1, 'cut -d. -f1 /proc/uptime')) < before + 5);
  assert.equal(await shell(1, 'ls /dev/shm /tmp'), '/dev/shm:\n\n/tmp:\n');
});

test('a splash of 2 MiB arrives whole', async () => {
  const splash = randomBytes(2 << 20);
  await ask('UPDATE_SPLASH', { file: splash });
  for (const path of ['/xoem/default.jpg', '/share/default.jpg']) {
    assert.equal(await md5(1, path), createHash('md5').update(splash).digest('hex'), path);
  }
  await hadMemory();
});

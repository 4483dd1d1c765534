// Three booted units and 200 simulated ones are configured together, by the commands and by site(1); the booted ones restart
// for real.
//   script/unit --units 3 --crowd 200 -- node --test tests/booted/site.mjs

import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { siteJson } from '../site/site.mjs';
import { answers, ask, hadMemory, shell, urls } from './machine.mjs';

test('a mass update reaches every unit, and the booted ones come back with new ids and addresses', async () => {
  await ask('DISCOVER_DEVICES_API');
  const site = await shell(1, 'cut -d, -f1 /www/site.csv');
  assert.equal(site.split('\n').filter((line) => line.startsWith('10.77.')).length, 203);

  let csv = 'UNIT.SERIAL,UNIT.ID,IP.STATIC_ADDRESS\r\n';
  for (let number = 2; number <= 203; ++number) {
    csv += `KU${String(number).padStart(6, '0')},Hall-${number},10.77.${number < 4 ? `0.${100 + number}` : `1.${number - 1}`}\r\n`;
  }
  await ask('CSV_IMPORT', { file: csv });
  const lines = (await ask('PERFORM_CSV_UPDATE')).split('\n').filter((line) => line.startsWith('Update'));
  assert.equal(lines.length, 202);
  assert.deepEqual(
    lines.filter((line) => !line.endsWith('Result is OK')),
    [],
  );

  for (const unit of [2, 3]) {
    await answers(unit);
    assert.equal(
      await shell(unit, 'hostname; qelparam g UNIT.ID; ip addr show eth0 | grep -c "inet 10.77.0.10"'),
      `Hall-${unit}\nHall-${unit}\n1\n`,
    );
    await hadMemory(unit);
  }
  // The simulated ones are silent for two seconds.
  await sleep(2500);
  await ask('DISCOVER_DEVICES_API');
  const rows = await shell(
    1,
    'grep -c Hall- /www/site.csv; grep "^10.77.0.10[23]," /www/site.csv | grep -o "Hall-[0-9]*"',
  );
  assert.equal(rows, '202\nHall-2\nHall-3\n');
  await ask('DISCOVER_DEVICES_API', { unit: 3 });
  assert.equal(await shell(3, "grep -c '^10\\.77\\.' /www/site.csv"), '203\n');
  await hadMemory();
});

test('site configures booted and simulated units, a booted one first, and they report what they were sent', async (context) => {
  const folder = mkdtempSync(join(tmpdir(), 'booted-'));
  context.after(() => rmSync(folder, { recursive: true }));
  process.env.XDG_STATE_HOME = folder;
  const file = join(folder, 'stage.csv');
  const serials = [2, 3, 4, 5, 6, 7].map((number) => `KU00000${number}`);
  writeFileSync(
    file,
    ['UNIT.SERIAL,UNIT.ID', ...serials.map((serial) => `${serial},Stage-${serial.at(-1)}`)].join('\n'),
  );

  const { status, events } = await siteJson('apply', file, urls[0], '--yes', '--trial', '1', '--verify');
  assert.equal(status, 0, JSON.stringify(events));
  const of = (name) => events.filter(({ event }) => event === name);
  assert.deepEqual(
    of('result').map(({ serial, state }) => `${serial} ${state}`),
    serials.map((serial) => `${serial} ok`),
  );
  assert.deepEqual(
    of('verified').map(({ serial, reported, state }) => `${serial} ${reported} ${state}`),
    [serials[0], ...serials].map((serial) => `${serial} Stage-${serial.at(-1)} same`),
  );
  for (let unit = 2; unit <= urls.length; ++unit) {
    assert.equal(await shell(unit, 'hostname'), `Stage-${unit}\n`);
    await hadMemory(unit);
  }
  await hadMemory();
});

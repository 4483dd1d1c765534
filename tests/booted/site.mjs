// Three booted units and 200 simulated ones are configured together by site(1); the booted ones restart for real.
//   script/unit --units 3 --crowd 200 -- node --test tests/booted/site.mjs

import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { siteJson } from '../site/site.mjs';
import { ask, hadMemory, shell, urls } from './machine.mjs';

test('units get their settings, a booted one first, and come back with new ids and addresses', async (context) => {
  const folder = mkdtempSync(join(tmpdir(), 'booted-'));
  context.after(() => rmSync(folder, { recursive: true }));
  process.env.XDG_STATE_HOME = folder;
  const file = join(folder, 'site.csv');
  const lines = ['UNIT.SERIAL,UNIT.ID,IP.STATIC_ADDRESS'];
  for (let number = 2; number <= 203; ++number) {
    const address = number < 4 ? `10.77.0.${100 + number}` : ''; // the simulated ones keep theirs
    lines.push(`KU${String(number).padStart(6, '0')},Hall-${number},${address}`);
  }
  writeFileSync(file, lines.join('\n'));

  const options = ['--yes', '--accept-moves', '--trial', '1', '--verify'];
  const { status, events } = await siteJson('apply', file, urls[0], ...options);
  assert.equal(status, 0, JSON.stringify(events));
  const states = (name) => events.filter(({ event }) => event === name).map(({ state }) => state);
  assert.deepEqual(states('result'), Array(202).fill('ok'));
  assert.deepEqual(states('verified'), Array(2 + 202 + 2).fill('same')); // the first booted unit's, then all
  for (const unit of [2, 3]) {
    assert.equal(
      await shell(unit, 'hostname; qelparam g UNIT.ID; ip addr show eth0 | grep -c "inet 10.77.0.10"'),
      `Hall-${unit}\nHall-${unit}\n1\n`,
    );
    await hadMemory(unit);
  }
  // A unit that has moved finds all others, and the other one at its new address.
  await ask('DISCOVER_DEVICES_API', { unit: 3 });
  const found = await shell(
    3,
    'grep -c Hall- /www/site.csv; grep -c "^10.77.0.10[23],.*Hall-[23]" /www/site.csv',
  );
  assert.equal(found, '202\n2\n');
  await hadMemory();
});

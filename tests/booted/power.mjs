// The power fails at random moments of each command that changes what a unit keeps.
//   script/unit --crowd 23 -- node --test tests/booted/power.mjs

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { answers, ask, cutPower, md5, shell } from './machine.mjs';

const cuts = Number(process.env.UNIT_POWER_CUTS ?? 10);
const kept = [
  '/xoem/default.jpg',
  '/share/default.jpg',
  '/config/unit.csv',
  '/share/CUSTOM_1.cbin',
  '/config/CUSTOM_1.cbin',
];
const store = '/config/params.tar';
const edid = (letter) => Buffer.concat([Buffer.from('00ffffffffffff00', 'hex'), Buffer.alloc(248, letter)]);

// Sends `after` at a unit that has taken `before`, and cuts the power at a random moment of it. Resolves with what the unit
// kept, each file as `before`, `after` or something else.
async function cutDuring(command, before, after) {
  const states = [];
  const sums = async () => {
    const sum = {};
    for (const path of kept) sum[path] = await md5(1, path);
    // An archive's bytes have the time in them.
    sum[store] = await shell(1, `tar -xOf ${store} | md5sum`);
    return sum;
  };
  for (const file of [after, before]) {
    await ask(command, { file });
    await shell(1, 'sync');
    states.push(await sums());
  }
  const [new_, old] = states;
  let lost = 0;
  for (let cut = 0; cut < cuts; ++cut) {
    const moment = Math.random() * 1500;
    const asked = ask(command, { file: after, signal: AbortSignal.timeout(20_000) }).catch(() => '');
    await sleep(moment);
    await cutPower(1);
    await asked;
    await answers(1);
    const found = await sums();
    for (const [path, sum] of Object.entries(found)) {
      if (sum !== old[path] && sum !== new_[path]) {
        console.log(
          `${command}, cut after ${Math.round(moment)} ms: ${path} is ${await shell(1, `ls -l ${path}`)}`,
        );
        ++lost;
      }
    }
    await ask(command, { file: before });
    await shell(1, 'sync');
  }
  return lost;
}

test('after a power cut the unit answers, and settings are the old or the new ones', async () => {
  const row = (id) => `UNIT.SERIAL,UNIT.ID\r\nKU000002,${id}\r\n`;
  await ask('CSV_IMPORT', { file: row('Hall') });
  for (const [command, before, after] of [
    ['UPDATE_EDID1', edid(1), edid(2)],
    ['UPDATE_SPLASH', Buffer.alloc(200_000, 1), Buffer.alloc(300_000, 2)],
    ['CSV_IMPORT', row('Hall'), row('Stage')],
    ['PERFORM_CSV_UPDATE'],
    ['DISCOVER_DEVICES_API'],
  ]) {
    console.log(
      `${command}: ${await cutDuring(command, before, after)} files neither old nor new in ${cuts} cuts`,
    );
    for (const path of ['/config/unit.csv', store]) {
      assert.equal(await shell(1, `[ ! -e ${path} ] || [ -s ${path} ] || echo empty`), '', path);
    }
  }
});

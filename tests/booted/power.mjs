// The power fails at random moments of each command that changes what a unit keeps, UNIT_POWER_CUTS times each (10).
//   script/unit --units 2 --crowd 22 -- node --test tests/booted/power.mjs

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { answers, ask, cutPower, md5, shell } from './machine.mjs';

const cuts = Number(process.env.UNIT_POWER_CUTS ?? 10);
// The given commands copy these without waiting for the disk: a cut may leave them empty or cut.
const copied = ['/xoem/default.jpg', '/share/default.jpg', '/share/CUSTOM_1.cbin', '/config/CUSTOM_1.cbin'];
const settings = ['/config/unit.csv', '/config/params.tar'];

// The state of everything that a unit keeps. An archive's bytes have the time in them.
async function kept(unit) {
  const sums = {};
  for (const path of copied) sums[path] = await md5(unit, path);
  sums[settings[0]] = await md5(unit, settings[0]);
  sums[settings[1]] = await shell(unit, `tar -xOf ${settings[1]} | md5sum`);
  return sums;
}

const edid = (letter) => Buffer.concat([Buffer.from('00ffffffffffff00', 'hex'), Buffer.alloc(248, letter)]);
const row = (id) => `UNIT.SERIAL,UNIT.ID\r\nKU000002,${id}\r\n`;
const restart = 1500; // milliseconds within which an updated unit's pages are gone

// Each puts a unit into its first or second state, for the power of `unit` to be cut meanwhile.
const deeds = {
  UPDATE_EDID1: { act: (state, signal) => ask('UPDATE_EDID1', { file: edid(state), signal }) },
  UPDATE_SPLASH: {
    act: (state, signal) => ask('UPDATE_SPLASH', { file: Buffer.alloc(200_000 + state, state), signal }),
  },
  CSV_IMPORT: { act: (state, signal) => ask('CSV_IMPORT', { file: row(`Hall-${state}`), signal }) },
  PERFORM_CSV_UPDATE: {
    unit: 2,
    prepare: (state) => ask('CSV_IMPORT', { file: row(`Hall-${state}`) }),
    act: (state, signal) => ask('PERFORM_CSV_UPDATE', { signal }),
    settle: () => sleep(restart),
  },
  DISCOVER_DEVICES_API: { act: (state, signal) => ask('DISCOVER_DEVICES_API', { signal }) },
};

async function reach(state, { unit = 1, prepare, act, settle }) {
  await prepare?.(state);
  await act(state);
  await settle?.();
  await answers(unit);
  await shell(unit, 'sync');
  return kept(unit);
}

for (const [command, deed] of Object.entries(deeds)) {
  test(`${command}: after a power cut the unit answers, its settings are the old or the new ones`, async () => {
    const { unit = 1, prepare, act } = deed;
    const after = await reach(2, deed);
    const before = await reach(1, deed);
    for (let cut = 0; cut < cuts; ++cut) {
      await prepare?.(2);
      const moment = Math.round(Math.random() * 1500);
      const gone = new AbortController();
      const asked = act(2, gone.signal).catch(() => '');
      await sleep(moment);
      await cutPower(unit);
      await answers(unit);
      if (unit === 1) gone.abort(); // the client of a machine that lost its power hears no more of it
      await asked;
      for (const [path, sum] of Object.entries(await kept(unit))) {
        const isWhole = sum === before[path] || sum === after[path];
        const text = `${path} is neither old nor new after a cut at ${moment} ms`;
        if (settings.includes(path)) assert.ok(isWhole, text);
        else if (!isWhole) console.log(text);
      }
      await reach(1, deed);
    }
  });
}

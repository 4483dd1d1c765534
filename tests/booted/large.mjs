// A site of 2,047 units, and clocks that are wrong, on a unit of 64 MiB.
//   script/unit --crowd 2046 --clock 1970-01-01T00:00:00 -- node --test tests/booted/large.mjs

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ask, hadMemory, shell } from './machine.mjs';

const free = async () => Number(await shell(1, "awk '/MemAvailable/ {print $2}' /proc/meminfo"));
const found = async () => Number(await shell(1, "grep -c '^10\\.77\\.' /www/site.csv"));

test('2,047 units are discovered in both modes, and the memory comes back', async () => {
  await ask('DISCOVER_ENCODERS');
  const before = await free();
  for (const mode of [1, 2]) {
    await shell(1, `qelparam s UNIT.MCD_MODE ${mode}`);
    const started = Date.now();
    await ask('DISCOVER_DEVICES_API');
    console.log(`mode ${mode}: ${Date.now() - started} ms, ${await found()} units`);
    assert.equal(await found(), 2047);
  }
  await hadMemory();
  await shell(1, 'qelparam s UNIT.MCD_MODE 1; rm -f /tmp/node_* /tmp/*.csv /www/site.csv /tmp/*.log');
  const after = await free();
  assert.ok(after > before - 1500, `${before} KiB before, ${after} KiB after`);
});

test('a clock of 1970 and one that is set forward hold nothing up', async () => {
  assert.match(await shell(1, 'date +%Y'), /^1970/);
  const discovery = ask('DISCOVER_DEVICES_API');
  await new Promise((resolve) => {
    setTimeout(resolve, 2000);
  });
  await shell(1, 'date -s 2026-11-25 > /dev/null');
  await discovery;
  assert.equal(await found(), 2047);
  await hadMemory();
});

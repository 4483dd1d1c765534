// Figures of a booted unit, for `script/bench booted`: what a request, an upload, discoveries and an update take there.
//   script/unit --crowd N -- node bench/booted.mjs

import { randomBytes } from 'node:crypto';
import { ask, shell } from '../tests/booted/machine.mjs';

// Resolves with the seconds that `work` takes as a client sees it.
async function timed(work) {
  const started = performance.now();
  await work();
  return ((performance.now() - started) / 1000).toFixed(2);
}

// Runs a command in the unit with busybox's time, which prints four times the number of KiB. Resolves with [seconds,
// peak memory].
async function measured(command) {
  const said = await shell(
    1,
    `REQUEST_METHOD=GET QUERY_STRING=CMD=${command} time -v /www/cgi-bin/handler.cgi 2>&1 > /dev/null | grep -E "Elapsed|Maximum"`,
    900,
  );
  const [, minutes, seconds] = /(\d+)m ([\d.]+)s/.exec(said);
  return [Number(minutes) * 60 + Number(seconds), `${Number(/Maximum.*: (\d+)/.exec(said)[1]) / 4} KiB`];
}

const line = (what, seconds, memory = '') =>
  console.log(`${what.padEnd(34)}${String(seconds).padStart(8)} s  ${memory}`);

await ask('DISCOVER_DEVICES_API');
const units = Number(await shell(1, "grep -c '^10\\.77\\.' /www/site.csv"));
line(
  'a request over HTTP (GET_NODES)',
  await timed(() => ask('GET_NODES')),
  (await measured('GET_NODES'))[1],
);
for (const mode of [1, 2]) {
  await shell(1, `qelparam s UNIT.MCD_MODE ${mode}`);
  line(`discovery of ${units}, mode ${mode}`, ...(await measured('DISCOVER_DEVICES_API')));
}
let csv = 'UNIT.SERIAL,UNIT.ID\r\n';
for (let number = 2; number <= 24; ++number) csv += `KU${String(number).padStart(6, '0')},Hall-${number}\r\n`;
await ask('CSV_IMPORT', { file: csv });
const [seconds, memory] = await measured('PERFORM_CSV_UPDATE');
line('a unit of a mass update of 23', (seconds / 23).toFixed(2), memory);
await shell(1, 'rm -f /tmp/node_* /tmp/*.csv /tmp/*.log /www/site.csv');
line('an upload of 16 MiB', await timed(() => ask('UPDATE_FIRMWARE', { file: randomBytes(16 << 20) })));

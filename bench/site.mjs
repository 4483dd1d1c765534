// The figures of site(1): time and peak memory on one site of 2,047 units, and on 40 sites of 24 at the same time. Every unit
// of a site runs in a box of its own; so does site.
//
//   node bench/site.mjs HANDLER.CGI      starts the boxes; as `inside large` and `inside crowd FOLDER` it runs in one

import { spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { connect, createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { setTimeout as sleep } from 'node:timers/promises';

const largest = 2047;
const sites = 40;
const unitsOfSite = 24;
const mostMemory = 150; // MiB
const origin = 'http://127.0.0.1:8080';

const run = (command, words, options) => spawn(command, words, { stdio: 'inherit', ...options });
const endOf = (child) => new Promise((resolve) => child.on('close', resolve));

// Runs site(1). Returns {status, seconds, busy, memory, out}: seconds of processor time, and MiB at its highest.
async function measure(...words) {
  const folder = mkdtempSync(`${tmpdir()}/bench-`);
  const teller = `process.on('exit', () => require('fs').writeFileSync('${folder}/usage', JSON.stringify(process.resourceUsage())))`;
  writeFileSync(`${folder}/teller.cjs`, teller);
  const since = Date.now();
  const child = spawn('tools/site/src/main.js', words, {
    stdio: ['ignore', 'pipe', 'ignore'],
    env: { ...process.env, NODE_OPTIONS: `--require ${folder}/teller.cjs` },
  });
  const pieces = [];
  child.stdout.on('data', (piece) => pieces.push(piece));
  const status = await endOf(child);
  const seconds = (Date.now() - since) / 1000;
  const { maxRSS, userCPUTime, systemCPUTime } = JSON.parse(readFileSync(`${folder}/usage`, 'utf8'));
  const busy = (userCPUTime + systemCPUTime) / 1e6;
  return { status, seconds, busy, memory: maxRSS / 1024, out: Buffer.concat(pieces).toString() };
}

function show(title, { seconds, busy, memory }, note) {
  const figures = [
    `${seconds.toFixed(1)} s`,
    `${busy.toFixed(1)} s busy`,
    `${memory.toFixed(0)} MiB of ${mostMemory}`,
    note,
  ];
  console.log(title.padEnd(52), figures.map((text) => text.padStart(15)).join(' '));
}

const eventsOf = ({ out }) =>
  out
    .trim()
    .split('\n')
    .map((line) => JSON.parse(line));

async function answers(url) {
  while (
    !(await fetch(url).then(
      ({ ok }) => ok,
      () => false,
    ))
  )
    await sleep(100);
}

// The whole of a discovery with a new id for each unit, as people edit it. No field in front of the id has a comma.
function newIds(csv, path) {
  let number = 0;
  const [header, ...lines] = csv.trim().split('\r\n');
  const id = header.split(',').indexOf('UNIT.ID');
  const rows = lines.map((line) =>
    line.replace(new RegExp(`^((?:[^,]*,){${id}})[^,]*`), `$1NEW-${number++}`),
  );
  writeFileSync(path, [header, ...rows, ''].join('\r\n'));
}

const okOf = (result) => eventsOf(result).find(({ event }) => event === 'run')?.ok ?? 0;

async function large() {
  run('box/web-server', ['lighttpd']);
  run('fleet', ['--self', '--count', String(largest - 1)], { stdio: 'ignore' });
  await answers(origin);
  let found = await measure('discover', origin);
  for (let tries = 0; tries < 10 && found.out.split('\n').length < largest + 1; ++tries)
    found = await measure('discover', origin);
  show(`discover ${largest} units, CSV`, found, `${found.out.trim().split('\n').length - 1} units`);
  const json = await measure('discover', origin, '--json');
  show('the same, JSON', json, `${eventsOf(json).length - 2} units`);
  newIds(found.out, '/tmp/ids.csv');
  const checked = await measure('check', '/tmp/ids.csv', origin, '--last', '--json');
  show('check a row for each, without a discovery', checked, `status ${checked.status}`);
  const applied = await measure('apply', '/tmp/ids.csv', origin, '--yes', '--verify', '--json');
  const same = eventsOf(applied).filter(
    ({ event, state }) => event === 'verified' && state === 'same',
  ).length;
  show('apply --verify', applied, `${okOf(applied)} OK, ${same} as sent`);
}

// A way to the site's web server for each Unix socket.
function forward(folder, number) {
  const server = createServer((client) => {
    const unit = connect(`${folder}/${number}/web-server`);
    client.pipe(unit).pipe(client);
    for (const end of [client, unit]) end.on('error', () => client.destroy());
  });
  return new Promise((resolve) => server.listen(9000 + number, '127.0.0.1', resolve));
}

async function crowd(folder) {
  const numbers = Array.from({ length: sites }, (_, at) => at);
  await Promise.all(numbers.map((number) => forward(folder, number)));
  const urls = numbers.map((number) => `http://127.0.0.1:${9000 + number}`);
  await Promise.all(urls.map(answers));
  const found = await measure('discover', ...urls, '--json');
  const all = eventsOf(found).filter(({ event }) => event === 'site');
  const units = all.reduce((sum, { total }) => sum + total, 0);
  show(`discover ${sites} sites of ${unitsOfSite} at the same time`, found, `${units} units`);
  await measure('discover', ...urls, '-o', '/tmp/sites', '--format', 'csv');
  const applied = await Promise.all(
    urls.map((url, number) => {
      newIds(readFileSync(`/tmp/sites/127.0.0.1_${9000 + number}.csv`, 'utf8'), `/tmp/${number}.csv`);
      return measure('apply', `/tmp/${number}.csv`, url, '--yes', '--json');
    }),
  );
  const most = (key) => Math.max(...applied.map((result) => result[key]));
  const ok = applied.reduce((sum, result) => sum + okOf(result), 0);
  show(
    `${sites} processes that each apply to one, the largest`,
    { seconds: most('seconds'), busy: most('busy'), memory: most('memory') },
    `${ok} OK`,
  );
}

async function outside(program) {
  const box = (...words) => ['--program', program, ...words];
  const force = process.getuid() === 0 ? ['--force-buffers'] : []; // as on a unit
  await endOf(run('script/box', box(...force, '--', 'node', 'bench/site.mjs', 'inside', 'large')));
  const folder = mkdtempSync(`${tmpdir()}/bench-site-`);
  const units = [];
  for (let number = 0; number < sites; ++number) {
    const own = `${folder}/${number}`;
    await endOf(run('mkdir', [own]));
    const words = [
      'env',
      `HANDLER_SOCKET=${own}/web-server`,
      'box/demo-unit',
      'lighttpd',
      '--count',
      String(unitsOfSite - 1),
    ];
    units.push(run('script/box', box('--share', own, '--', ...words), { stdio: 'ignore' }));
  }
  await endOf(
    run('script/box', box('--share', folder, '--', 'node', 'bench/site.mjs', 'inside', 'crowd', folder)),
  );
  for (const unit of units) unit.kill();
  await Promise.all(units.map(endOf));
  rmSync(folder, { recursive: true });
}

const [first, part, folder] = process.argv.slice(2);
if (first !== 'inside') await outside(first);
else await (part === 'large' ? large() : crowd(folder));
process.exit();

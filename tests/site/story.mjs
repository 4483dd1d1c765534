// A site at a shell: discovered, checked, configured in parts, cut off, taken up again, taken back. In the box only.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { existsSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';
import { gzipSync } from 'node:zlib';
import { makeEdid, makeTar } from '../console/sample_files.mjs';
import { anotherConsole, startFleet, startServer, until } from '../console/unit.mjs';
import { site, siteJson, startSite } from './site.mjs';

const url = 'http://127.0.0.1:8080';
process.env.XDG_STATE_HOME = '/tmp/state';

// Writes a file into /tmp. Returns its path.
function file(name, content) {
  writeFileSync(`/tmp/${name}`, content);
  return `/tmp/${name}`;
}

async function chapter(title, work) {
  console.log(title);
  await work();
}

// One unit never answers to settings and one refuses them; both come last.
const units = [
  'UNIT.SERIAL,UNIT.ID,UNIT.MODEL,IP.ADDRESS,IP.STATIC_ADDRESS,VW.NAME,SIM.SILENT_AT,SIM.REFUSE_AT',
  'REFUSER,UNIT-901,RX620,10.77.9.2,10.77.9.2,Room 901,,set',
  'SILENT,UNIT-900,RX610,10.77.9.1,10.77.9.1,Room 900,set,',
];
const good = ['KU000003', 'KU000005', 'KU000007', 'KU000009', 'KU000011'];
const csvOf = (serials, name) => {
  const quote = name.includes(',') ? '"' : '';
  const rows = serials.map((serial, at) => `${serial},${quote}${name} ${at}${quote}`);
  return file('settings.csv', ['UNIT.SERIAL,VW.NAME', ...rows].join('\n'));
};

const resultsOf = (events) =>
  events
    .filter(({ event }) => event === 'result')
    .map(({ serial, state, reason }) => `${serial} ${state} ${reason}`.trim());
const runOf = (events) => events.find(({ event }) => event === 'run');
const each = (serials, outcome) => serials.map((serial) => `${serial} ${outcome}`);
const apply = (path, ...options) => siteJson('apply', path, url, '--yes', ...options);
const upload = (kind, path, ...options) => siteJson('upload', kind, path, url, ...options);

// Runs site at a terminal where a person types this. Returns what the terminal shows.
const typed = (words, text) =>
  execFileSync('script', ['-qec', `tools/site/src/main.js ${words}; echo status $?`, '/dev/null'], {
    input: text,
    encoding: 'utf8',
  });

const namesOf = async (...serials) => {
  const { events } = await siteJson('discover', url);
  return serials.map(
    (serial) => events.find(({ values }) => values?.['UNIT.SERIAL'] === serial)?.values['VW.NAME'],
  );
};

// Waits until the units that restart are back; they are silent for one second.
const allBack = () => sleep(1500);

const endServer = await startServer();
file('units.csv', `${units.join('\r\n')}\r\n`);
await startFleet('--reboot-ms', '1000', '--count', '11', '--units', '/tmp/units.csv');
await until(async () => (await siteJson('discover', url)).events.at(-1).total === 14);

// If it fails, scripts that ask at the same time get an error, or the list of another command.
await chapter('a site is discovered; clients that are refused come again', async () => {
  const [first, second, listed] = await Promise.all([
    siteJson('discover', url),
    site('discover', url, '--output', '/tmp/found.csv'),
    siteJson('list', 'streams', url),
  ]);
  assert.deepEqual([first.status, second.status, listed.status], [0, 0, 0]);
  const total = { event: 'site', url, total: 14, encoders: 7, decoders: 7, hidden: 0, conflicts: 0 };
  assert.deepEqual(first.events.at(-1), total);
  assert.ok(readFileSync('/tmp/found.csv').equals(readFileSync('/www/site.csv')));
  const room = listed.events.find(({ decoder }) => decoder === 'UNIT-005');
  assert.deepEqual([room.encoder, room.stream, room.state], ['UNIT-004', '239.77.1.3', 'source']);
  const nobody = await siteJson('discover', 'http://127.0.0.1:81', '--wait', '0');
  assert.deepEqual([nobody.status, nobody.events[0].kind], [3, 'unreachable']);
});

// If it fails, a check changes what the unit would send.
await chapter('a check asks the unit, and sends nothing', async () => {
  const { status, events } = await siteJson('check', csvOf(['KU000002', 'KU000003'], 'Hall'), url);
  assert.deepEqual([status, events.at(-1).units], [1, 1]);
  assert.equal((await site('check', '/tmp/settings.csv', url, '--last')).status, 1);
  const all = ['check', file('same.csv', 'UNIT.SERIAL,UNIT.ID\nKU000002,UNIT-002'), url, '--all'];
  assert.match((await site(...all)).out, /UNIT\.ID=UNIT-002 \(UNIT-002\)/);
  const row = (await siteJson(...all)).events.find(({ event }) => event === 'row');
  assert.deepEqual(row.old, { 'UNIT.ID': 'UNIT-002' });
  assert.ok(!existsSync('/tmp/import.csv'));
});

// If it fails, a script takes units for configured that are not.
await chapter('units get their settings, a trial first, and report them', async () => {
  const { status, events } = await apply(csvOf(good, 'Hall, north'), '--trial', '2', '--verify');
  assert.equal(status, 0, JSON.stringify(events));
  assert.deepEqual(resultsOf(events), each(good, 'ok'));
  const verified = events.filter(({ event, state }) => event === 'verified' && state === 'same');
  assert.equal(verified.length, 2 + 5); // the trial's units twice
  await allBack();
  const again = await site('apply', '/tmp/settings.csv', url, '--yes');
  assert.equal(again.status, 0); // nothing is left to do
  assert.match(again.out, /5 rows change nothing/);
});

// If it fails, a mistake reaches the whole site.
await chapter('a trial that fails, and a number of failures, stop a run', async () => {
  const trial = await apply(csvOf(['REFUSER', ...good], 'Stage'), '--trial', '1');
  assert.deepEqual([trial.status, resultsOf(trial.events)], [1, ['REFUSER fail refused']]);
  assert.deepEqual(runOf(trial.events).unsent, 5);
  const some = await apply(csvOf(['KU000003', 'REFUSER', ...good.slice(1)], 'Stage'), '--stop-after', '1');
  assert.deepEqual(resultsOf(some.events), ['KU000003 ok', 'REFUSER fail refused']);
  assert.equal(runOf(some.events).unsent, 4);
  await allBack();
  const rest = await siteJson('apply', '--retry-failed', '--yes');
  assert.deepEqual(resultsOf(rest.events), ['REFUSER fail refused', ...each(good.slice(1), 'ok')]);
  await allBack();
  const back = await siteJson('undo', runOf(rest.events).run, '--yes', '--verify');
  assert.deepEqual([back.status, runOf(back.events).ok], [0, 4]);
  assert.deepEqual(await namesOf('KU000003', 'KU000005'), ['Stage 0', 'Hall, north 1']);
});

// Kills an update once it waits for the unit that never answers, whose row is in the middle.
async function cutOff(name) {
  const serials = [...good.slice(0, 3), 'SILENT', ...good.slice(3)];
  const { child, ended, texts } = startSite(['apply', csvOf(serials, name), url, '--yes', '--json']);
  await until(() => /KU000007.*"state":"ok"/.test(texts.out));
  child.kill('SIGKILL');
  await ended;
  const { events } = await siteJson('runs');
  const { run } = events.at(-1);
  const rows = await siteJson('runs', run);
  const states = rows.events.map(({ serial, state }) => `${serial} ${state}`);
  const unknown = each(['SILENT', ...good.slice(3)], 'unknown');
  assert.deepEqual(states, [...each(good.slice(0, 3), 'ok'), ...unknown]);
  return run;
}

// If it fails, units that took their settings after the kill are sent them again.
await chapter('a run that was killed went on in the unit, whose log has the rest', async () => {
  const run = await cutOff('Foyer');
  const { events } = await siteJson('apply', '--retry-failed', run, '--yes');
  const silent = 'SILENT fail no-answer'; // in the log, and when it was sent again
  assert.deepEqual(resultsOf(events), [silent, ...each(good.slice(3), 'ok'), silent]);
  assert.deepEqual(await namesOf(good[4]), ['Foyer 5']);
});

// If it fails, the last unit that took its settings, and may not have saved them, loses them.
await chapter('without the log the units are asked, and one of them again', async () => {
  const run = await cutOff('Lobby');
  await until(() => readFileSync('/tmp/site.log', 'utf8').match(/Got Reply C/g)?.length === 5);
  await allBack();
  rmSync('/tmp/site.log');
  const { events } = await siteJson('apply', '--retry-failed', run, '--yes');
  assert.deepEqual(resultsOf(events), [`${good[3]} ok reports`, 'SILENT fail no-answer', `${good[4]} ok`]);
});

// If it fails, a script sends doubtful settings that nobody has accepted.
await chapter('without consent nothing is sent', async () => {
  const table = [
    ['UNIT.SERIAL,VW.NAME,COLOUR\nKU000003,Loft,red\n', '--accept-problems'],
    ['UNIT.SERIAL,IP.STATIC_ADDRESS\nKU000003,10.77.5.5\n', '--accept-moves'],
  ];
  for (const [text, option] of table) {
    const listed = await site('apply', file('settings.csv', text), url, '--yes');
    assert.equal(listed.status, 2);
    assert.match(listed.err, new RegExp(`Not sent without ${option}`));
  }
  assert.equal((await site('apply', csvOf(['KU000003'], 'Loft'), url)).status, 4);
  await allBack();
  const command = `apply /tmp/settings.csv ${url}`;
  assert.match(typed(command, 'no\n'), /Update 1 unit\? \[y\/N\].*status 4/s);
  assert.match(typed(command, 'y\n'), /KU000003.*OK.*1 OK, 0 failed.*status 0/s);
  await allBack();
});

// If it fails, a script overwrites what somebody else has just set.
await chapter('what another update has changed meanwhile is shown before anything is sent', async () => {
  const theirs = (serial, name) =>
    anotherConsole('UNIT.SERIAL,UNIT.MODEL,VW.NAME,', `${serial},RX610,${name},`);
  const before = await namesOf('KU000005');
  rmSync('/tmp/dbgCGI.log');
  const asking = startSite(['apply', csvOf(['KU000005'], 'Ours'), url, '--yes', '--json']);
  await until(() => existsSync('/tmp/dbgCGI.log')); // its discovery is under way
  await theirs('KU000005', 'Theirs');
  const { status, events } = await asking.ended;
  assert.equal(status, 2, JSON.stringify(events));
  const [{ key, then, now, value }] = events.filter(({ event }) => event === 'outdated');
  assert.deepEqual([key, then, now, value], ['VW.NAME', ...before, 'Theirs', 'Ours 0']);
  assert.equal(events.filter(({ event }) => event === 'not-sent').length, 1);
  assert.deepEqual([runOf(events).unsent, ...(await namesOf('KU000005'))], [1, 'Theirs']);

  // A person who thinks while others work: what they do to other units is no reason to ask again.
  for (const serial of ['KU000007', 'KU000005']) {
    const command = `tools/site/src/main.js apply ${csvOf(['KU000005'], `For ${serial}`)} ${url}; echo status $?`;
    const terminal = spawn('script', ['-qec', command, '/dev/null'], { stdio: ['pipe', 'pipe', 'inherit'] });
    let said = '';
    terminal.stdout.on('data', (piece) => (said += piece));
    await until(() => said.includes('Update 1 unit? [y/N]'));
    await theirs(serial, 'Theirs again');
    terminal.stdin.write('y\n');
    if (serial === 'KU000005') {
      await until(() => said.includes('Go on? [y/N]'));
      assert.match(said, /UNIT-005: VW\.NAME was “For KU000007 0” and is “Theirs again” now/);
      terminal.stdin.write('y\n');
    }
    await until(() => said.includes('status'));
    assert.match(said, /1 OK, 0 failed.*status 0/s);
    await allBack();
  }
});

// If it fails, a faulty file is installed, or a script goes on before the unit is back.
await chapter('files are looked at before they are sent, a firmware update is waited for', async () => {
  const edid = makeEdid('DESK 24');
  assert.equal((await upload('edid1', file('short.bin', edid.subarray(0, 128)))).status, 2);
  assert.equal((await upload('edid1', file('desk.bin', edid))).status, 0);
  assert.ok(readFileSync('/config/CUSTOM_1.cbin').equals(Buffer.from(edid)));
  edid[255] ^= 1;
  const odd = file('odd.bin', edid);
  assert.equal((await upload('edid2', odd)).status, 2);
  assert.equal((await upload('edid2', odd, '--accept-problems')).status, 0);
  assert.equal((await upload('splash', odd)).status, 2);

  const firmware = gzipSync(makeTar('firmware.bin', 200_000));
  const cut = await upload('firmware', file('cut.tar.gz', firmware.subarray(0, 100_000)), '--yes');
  assert.deepEqual([cut.status, cut.events[0].faults.length], [2, 1]);
  const path = file('fw.tar.gz', firmware);
  const { ended, texts } = startSite(['upload', 'firmware', path, url, '--yes', '--json']);
  await until(() => texts.out.includes('"state":"started"'));
  const updates = execFileSync('pidof', ['update_fw.sh'], { encoding: 'utf8' }).trim().split(' ').map(Number);
  updates.forEach((id) => process.kill(id, 'SIGSTOP')); // however long the two take to start
  const now = await siteJson('list', 'decoders', url, '--wait', '0');
  assert.deepEqual([now.status, now.events[0].kind], [3, 'updating']);
  const later = startSite(['list', 'decoders', url, '--wait', '60', '--json']);
  await until(() => later.texts.out.includes('"updating"'));
  updates.forEach((id) => process.kill(id, 'SIGCONT'));
  assert.equal((await later.ended).status, 0);
  const { status, events } = await ended;
  assert.deepEqual([status, events.at(-1).state], [0, 'back']);
});

// If it fails, a password goes to whoever answers, or a unit with a login cannot be used.
await chapter('a unit with login and TLS', async () => {
  await endServer();
  process.env.HANDLER_LOGIN = `me:${execFileSync('openssl', ['passwd', '-6', 'open sesame'], { encoding: 'utf8' }).trim()}`;
  process.env.HANDLER_TLS = '1';
  const server = spawn('box/web-server', ['lighttpd'], { stdio: 'inherit' });
  await until(() => existsSync('/etc/handler.crt'));
  const safe = ['list', 'decoders', 'https://127.0.0.1:8080', '--wait', '0'];
  const kindOf = async (...words) => {
    const { status, events } = await siteJson(...safe, ...words);
    return status === 0 ? 'done' : events[0].kind;
  };
  await until(async () => (await kindOf('--ca', '/etc/handler.crt')) === 'login');
  const right = file('password', 'open sesame\n');
  assert.match((await site(...safe)).err, /cannot be reached.*SELF_SIGNED/);
  const login = ['--ca', '/etc/handler.crt', '--user', 'me', '--password-file'];
  assert.equal(await kindOf(...login, file('wrong', 'sesame')), 'login');
  assert.equal(await kindOf(...login, right), 'done');
  const shown = typed([...safe, ...login.slice(0, 4)].join(' '), 'open sesame\n');
  assert.match(shown, /Password of me: [^]*UNIT-003/);
  server.kill();
});
process.exit();

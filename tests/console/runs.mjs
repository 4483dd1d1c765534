// Mass updates that take their time, in the browser: one unit first, batches, pauses. In the box only.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { anotherConsole, chapter, content, download, look, openSite, until } from './unit.mjs';

// Three units are silent, which takes five seconds each; one refuses.
const units = [
  'UNIT.SERIAL,UNIT.ID,UNIT.MODEL,IP.ADDRESS,IP.STATIC_ADDRESS,VW.NAME,SIM.SILENT_AT,SIM.REFUSE_AT',
  ...[1, 2, 3].map((at) => `SILENT${at},UNIT-80${at},RX610,10.77.8.${at},10.77.8.${at},Room 80${at},set,`),
  'REFUSER,UNIT-901,RX620,10.77.9.1,10.77.9.1,Room 901,,set',
];
writeFileSync('/tmp/units.csv', `${units.join('\r\n')}\r\n`);

const { page, goTo, discover, button } = await openSite('--count', '3', '--units', '/tmp/units.csv');
const tally = (text) => page.locator('#tally').getByText(text).waitFor();
const says = (text) => page.getByText(text).first().waitFor();
const states = async () =>
  Object.fromEntries(
    await page
      .locator('tr.run')
      .evaluateAll((rows) => rows.map(({ cells }) => [cells[1].innerText, cells[5].innerText.slice(1)])),
  );
const serialsSent = () => content('/www/site.log').match(/(?<=^CMD=START&UNIT.ID=)[A-Z0-9]+/gm) ?? [];

// Opens a draft of rows, and the dialog that would send it.
async function ask(...rows) {
  await goTo('Configure');
  const buffer = Buffer.from(`UNIT.SERIAL,VW.NAME\r\n${rows.join('\r\n')}\r\n`);
  await page
    .locator('input[type=file]:visible')
    .setInputFiles({ name: 'rooms.csv', mimeType: 'text/csv', buffer });
  await page.getByRole('button', { name: /^Update \d+ units?…$/ }).click();
  const seen = page.getByLabel(/^I have seen/);
  if ((await seen.count()) > 0) await seen.check();
}

// If it fails, a mistake reaches the whole site at once.
await chapter(page, 'one unit goes first, the others follow in batches until one fails', async () => {
  await discover();
  await ask('KU000003,Hall 3', 'REFUSER,Hall 9', 'SILENT1,Hall 1');
  await page.getByLabel('Try it first on').selectOption('UNIT-003');
  await page.getByLabel('Units at a time').selectOption('1');
  await page.getByLabel('Stop after').selectOption('1 failure');
  assert.deepEqual(await look(page, 'pace'), []);
  await button('Update now').click();
  await says('Look at it before the others follow.');
  assert.deepEqual(serialsSent(), ['KU000003']);
  assert.deepEqual(await states(), { KU000003: 'OK', REFUSER: 'waiting', SILENT1: 'waiting' });
  assert.deepEqual(await look(page, 'paused'), []);
  await button('Go on with 2 units').click();
  await says('Too many units have failed.');
  assert.deepEqual(serialsSent(), ['REFUSER']);
  await page.reload();
  await goTo('Configure');
  await says('These units have not had their turn yet.');
  assert.deepEqual(await states(), { KU000003: 'OK', REFUSER: 'FAIL', SILENT1: 'waiting' });
  await button('End it here').click();
  await tally('1 OK, 1 failed, 1 not sent');
  await says('OK means that a unit has acknowledged');
});

// If it fails, nobody can show what a unit was sent, or take it back.
await chapter(page, 'results stay, are compared with what is reported, and can be taken back', async () => {
  await button('Go back to the old values').click();
  await says('1 setting for 1 unit; 2 rows change nothing and are left out.'); // which did not take theirs
  await page.locator('[role=grid] td.change').click();
  await says('“Hall 3” becomes “Room 3”.'); // what was sent, not what was discovered

  const opened = page.waitForEvent('popup');
  await page.evaluate(() => open('#configure') && null);
  const tab = await opened;
  await tab.getByText('Earlier updates (1)').click();
  await tab.getByRole('button', { name: /rooms\.csv · 1 OK, 1 failed, 1 not sent/ }).click();
  await tab.getByRole('button', { name: 'Retry only the failed' }).waitFor();
  await tab.close();
  await page.reload();
  await says('1 setting for 1 unit;'); // the draft is there again
  await page.getByText('Earlier updates (1)').click();
  await page.getByRole('button', { name: /rooms\.csv/ }).click();
  await button('Discover and compare').click();
  await says('2 settings compared: 1 differs from what was sent.');
  assert.deepEqual(await look(page, 'compared'), []);
  const cells = await page.locator('tr.conflict').innerText();
  assert.match(cells, /UNIT-901\tVW\.NAME\tHall 9\tRoom 901/);
  assert.match(await download(page, 'Report'), /KU000003,.*,OK,,as sent\r\n.*REFUSER,.*,1 of 1 differ\r\n/s);
  await button('Back to the draft').click();
  await button('Start over').click();
});

// If it fails, nobody knows how long an update will take.
await chapter(page, 'the time that is left is known after a reload, not without a connection', async () => {
  await ask('SILENT1,Hall 1', 'SILENT2,Hall 2', 'SILENT3,Hall 3');
  await page.getByLabel('Units at a time').selectOption('all');
  await button('Update now').click();
  await until(async () => (await states()).SILENT1 === 'FAIL');
  await page.reload();
  const left = await page.getByText(/1 of 3 · about/).innerText();
  assert.ok(Number(/about (\d+) s/.exec(left)[1]) >= 5, left); // two units of five seconds each
  await page.context().setOffline(true);
  await says('1 of 3 · no connection to the unit');
  await page.context().setOffline(false);
  await page.getByText(/of 3 · about/).waitFor();
  await says('The update has ended');
  await tally('0 OK, 3 failed');
});

// If it fails, the results of the last units are missing.
await chapter(page, 'the end of a log is read though the web server knows of it late', async () => {
  await button('Back to the draft').click();
  await button('Start over').click();
  const known = [];
  await page.route('**/site.log', async (route) => {
    const now = await route.fetch({ method: 'GET' });
    known.push({ at: Date.now(), status: now.status(), headers: now.headers(), body: await now.body() });
    const { status, headers, body } = known.findLast(({ at }) => at <= Date.now() - 1500) ?? known[0];
    await route.fulfill({ status, headers, body });
  });
  await ask('KU000003,Hall 5', 'REFUSER,Hall 9');
  await button('Update now').click();
  await tally('1 OK, 1 failed');
  await says('The update has ended');
  assert.equal(await page.locator('tr.run.fail td >> nth=6').innerText(), 'refused the settings');
  await page.unroute('**/site.log');
});

// If it fails, two people overwrite each other’s settings.
await chapter(
  page,
  'another console’s update is waited for, and compared before anything is sent',
  async () => {
    await button('Back to the draft').click();
    await discover();
    const theirs = anotherConsole(
      'UNIT.SERIAL,UNIT.MODEL,UNIT.ID,VW.NAME,',
      'KU000003,RX610,THEIRS,Their hall,', // it has restarted when the others have failed
      'SILENT1,RX610,X1,X,',
      'SILENT2,RX610,X2,X,',
    );
    await says(/Another console’s update is under way: \d of 3 units/);
    await page.reload();
    await goTo('Configure');
    await button('Start over').click();
    await ask('KU000003,Our hall');
    await button('Update now').click();
    await says('This one waits for its end');
    assert.deepEqual(await look(page, 'waiting'), []);
    await button('Cancel').click();
    await button('Update 1 unit…').click();
    await button('Update now').click();
    await says('Another update has run');
    assert.match(await theirs, /#0 @ .* OK/);
    await says('THEIRS: VW.NAME was “Hall 5” and is “Their hall” now; this update makes it “Our hall”.');
    assert.deepEqual(await states(), { KU000003: 'waiting' });
    await button('Back to the draft').click();
    await button('Update 1 unit…').click();
    await button('Update now').click();
    await tally('1 OK, 0 failed');
    assert.equal(await page.locator('tr.run td >> nth=2').innerText(), 'THEIRS');
  },
);
process.exit();

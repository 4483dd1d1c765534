// The whole story of a site, in the browser: discover, edit, check, update, report, retry. In the box only.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { asked, chapter, content, download, look, openSite, startFleet, until } from './unit.mjs';

// Two units share an id, one never answers to settings, one refuses them.
const units = [
  'UNIT.SERIAL,UNIT.ID,UNIT.MODEL,IP.ADDRESS,IP.STATIC_ADDRESS,VW.NAME,SIM.SILENT_AT,SIM.REFUSE_AT',
  'SILENT,UNIT-900,RX610,10.77.9.1,10.77.9.1,Room 900,set,',
  'REFUSER,UNIT-901,RX620,10.77.9.2,10.77.9.2,Room 901,,set',
  'TWIN,UNIT-900,RX630,10.77.9.3,10.77.9.3,"Room 902, left",,',
];
writeFileSync('/tmp/units.csv', `${units.join('\r\n')}\r\n`);

const { page, endFleet, goTo, discover, button } = await openSite(
  '--count',
  '11',
  '--units',
  '/tmp/units.csv',
);
const summary = () => page.locator('.summary').innerText();

// The texts of the cells of these rows, a list for each row.
const cellsOf = (rows) =>
  page
    .locator(rows)
    .evaluateAll((all) => all.map((row) => [...row.cells].map((cell) => cell.innerText.trim())));
const states = async () =>
  (await cellsOf('tr.run')).map(([, serial, , , , ...words]) => [serial, words.join(' ').trim()]);

// The cell of a row, found by its serial, and a column; either may have to be scrolled into sight.
async function cell(serial, column) {
  const box = page.getByRole('region', { name: 'Settings to send' });
  const find = async (wanted, place) => {
    for (let left = 0; (await wanted.count()) === 0; left += 500) {
      assert.ok(left <= 5000, `no ${serial}, or no ${column}`);
      await box.evaluate((element, to) => element.scrollTo(to, 0), left);
      await page.waitForTimeout(100);
    }
    return wanted.getAttribute(place);
  };
  const row = await find(page.locator('[role=grid] tbody tr', { hasText: serial }), 'aria-rowindex');
  const title = page.getByText(column, { exact: true });
  const place = await find(page.locator('[role=grid] thead th', { has: title }), 'aria-colindex');
  return page.locator(`[role=grid] tr[aria-rowindex="${row}"] td[aria-colindex="${place}"]`);
}

async function type(serial, column, text) {
  await (await cell(serial, column)).click();
  await page.keyboard.type(text);
  await page.keyboard.press('Enter');
}

// If it fails, missing units or shared ids go unseen, or other units are configured than those shown.
await chapter(page, 'the units are found, compared and shown', async () => {
  await discover();
  assert.match(await summary(), /^15 units: 7 encoders, 8 decoders discovered .*\n+⚠ 2 units share an id/);
  await endFleet();
  await startFleet('--count', '8', '--units', '/tmp/units.csv');
  await discover();
  assert.match(
    await summary(),
    /12 units: 5 encoders, 7 decoders .*▼ 3 units fewer than last time Missing: UNIT-010, UNIT-011, UNIT-012\./,
  );
  assert.equal(await page.locator('tr.conflict').count(), 2);
  assert.deepEqual(await look(page, 'units'), []);

  await page.getByText('CSV files…').click();
  assert.equal(await download(page, 'CSV as the unit wrote it'), content('/www/site.csv'));
  assert.match(await download(page, 'CSV for spreadsheets'), /^\ufeffIP\.ADDRESS,UNIT\.ID,/);
  await page.getByLabel('Separator').selectOption('Semicolon');
  assert.match(await download(page, 'CSV for spreadsheets'), /^\ufeffIP\.ADDRESS;UNIT\.ID;/);
  assert.match(await download(page, 'Template for these 12 units'), /\r\nKU000003;RX610;UNIT-003;;;;\r\n/);
  await page.getByLabel('Show').selectOption('Decoders');
  await page.getByLabel('Filter').fill('room 90');
  await page.getByText('3 of 12 shown').waitFor();
  await page.getByRole('columnheader', { name: 'UNIT.SERIAL' }).getByRole('button').click();
  await page.getByText('Columns (10 of 43)').click();
  await page.getByLabel('UNIT.MODEL').uncheck();
  const rows = await cellsOf('tbody tr');
  const shown = rows.map(([id, , , , address, serial]) => `${id} ${address} ${serial}`);
  const expected = ['UNIT-901 10.77.9.2 REFUSER', 'UNIT-900 10.77.9.1 SILENT', 'UNIT-900 10.77.9.3 TWIN'];
  assert.deepEqual(shown, expected);
  await button('Configure these 3 units').click();
  await page.getByRole('grid').waitFor();
  assert.equal(await page.locator('[role=grid] tbody tr').count(), 3);
  await button('Start over').click();
  await goTo('Units');
  assert.equal(await page.getByLabel('Filter').inputValue(), 'room 90');

  // What is selected goes first, as far as it is shown; the grid is filtered and sorted as the table is.
  const boxes = page.locator('tbody input[type=checkbox]');
  await boxes.nth(0).click();
  await boxes.nth(2).click({ modifiers: ['Shift'] });
  await boxes.nth(0).click();
  await page.getByLabel('Filter').fill('room 902');
  await page.getByText('1 selected; 1 more are not shown, and not configured').waitFor();
  await page.getByLabel('Filter').fill('room 90');
  await button('Configure the 2 selected units').click();
  const serials = async () => (await cellsOf('[role=grid] tbody tr')).map((cells) => cells[1]);
  assert.deepEqual(await serials(), ['SILENT', 'TWIN']);
  await page.getByRole('columnheader', { name: 'UNIT.SERIAL' }).getByRole('button').click();
  await page.getByRole('columnheader', { name: 'UNIT.SERIAL' }).getByRole('button').click();
  assert.deepEqual(await serials(), ['TWIN', 'SILENT']);
  await page.getByLabel('Filter').fill('room 900');
  assert.deepEqual(await serials(), ['SILENT']);
  await page.getByLabel('Filter').fill('');
  await page.getByLabel('Show').selectOption('Encoders');
  await page.getByText('0 of 2 shown').waitFor();
  await button('Start over').click();
  await goTo('Units');
  await page.getByLabel('Theme').selectOption('Dark');
  await page.reload();
  await button('Configure these 12 units').waitFor();
  assert.equal(await page.evaluate(() => document.documentElement.dataset.theme), 'dark');
  await page.getByLabel('Theme').selectOption('System');
});

// If it fails, a faulty row is sent, or a good one is left out without a reason.
await chapter(page, 'a spreadsheet’s file is checked before anything is sent', async () => {
  await goTo('Configure');
  const text =
    '\ufeffUNIT.SERIAL;UNIT.ID;VW.NAME;AUDIO.MUTE;STREAM.BIT_RATE;COLOUR\r\nKU000003;HALL-3;"Hall 3, north";TRUE;;red\r\n;HALL-4;;;;\r\nKU000005;HALL-3;;;;\r\n' +
    `KU000007;HALL-7;${'x'.repeat(64)};;;\r\nKU000002;DOOR-2;Door;;fast;\r\nKU123456;LOST;;;;\r\n`;
  const file = { name: 'hall.csv', mimeType: 'text/csv', buffer: Buffer.from(text) };
  await page.locator('input[type=file]:visible').setInputFiles(file);
  await page.getByText('3 settings for 2 units.').waitFor();
  const problems = (await cellsOf('.problems tbody tr')).map((cells) => cells.filter(Boolean).join(' '));
  assert.deepEqual(problems, [
    'Left out 1 COLOUR No setting of this unit has this name; the column is dropped.',
    'Left out 3 UNIT.SERIAL No serial: the row would reach no unit.',
    'Left out 5 VW.NAME More than 63 bytes; the unit would drop it.',
    'Left out 7 UNIT.SERIAL No unit with this serial was discovered.',
    'Left out 2, 4 UNIT.ID Two rows have the same id; the unit would send neither: HALL-3',
    'Check 6 STREAM.BIT_RATE No unit of the site has a value of this kind; they have: numbers',
    'Held back 6 VW.NAME Only decoders take it.',
    'Put right A byte order mark at the start would spoil the first column’s name.',
    'Put right Cells are not separated by commas; the unit knows nothing else.',
    'Put right 2, 4, 5, 6 UNIT.MODEL The model is taken from the discovery; without it the unit would hold most settings back.',
  ]);
  assert.deepEqual(await look(page, 'preflight'), []);

  await page.getByLabel('Send to units that were not discovered, too').check();
  await page.getByText('4 settings for 3 units.').waitFor();
  await page.getByLabel('Send to units that were not discovered, too').uncheck();
  await page.getByRole('combobox', { name: 'Rows' }).selectOption('Rows with problems');
  await type('KU000005', 'UNIT.ID', 'HALL-5'); // no problem any more, and still there
  await page.keyboard.type('HALL-9');
  await page.keyboard.press('Enter');
  await page.getByText('7 settings for 4 units.').waitFor();
  const grid = await page.locator('[role=grid] tbody').innerText();
  assert.match(grid, /HALL-5.*KU000007\s+(changes:\s+)?HALL-9/s);
});

// If it fails, an edit goes to another cell, or is sent although it was undone.
await chapter(page, 'cells are edited with the keyboard, filled and undone', async () => {
  await button('Start over').click();
  assert.match(asked.at(-1), /edits that would be lost/);
  await button('Edit the discovered units').click();
  await (await cell('KU000002', 'UNIT.ID')).click();
  await page.keyboard.type('LEFT');
  await type('KU000004', 'UNIT.ID', 'RIGHT'); // the click saves, and stays where it was clicked
  assert.match(await (await cell('KU000002', 'UNIT.ID')).innerText(), /LEFT$/);
  assert.match(await (await cell('KU000004', 'UNIT.ID')).innerText(), /RIGHT$/);
  await page.keyboard.press('Control+z');
  await page.keyboard.press('Control+z');
  await type('KU000003', 'VW.NAME', 'Hall, north');
  await page.getByText('1 setting for 1 unit; 11 rows change nothing and are left out.').waitFor();
  await page.keyboard.press('ArrowUp');
  await page.keyboard.press('Delete');
  await page.getByText('Nothing to send.').waitFor();
  await page.keyboard.press('Control+z');
  await page.getByText('1 setting for 1 unit;').waitFor();

  await page.getByText('Fill a column…').click();
  await page.getByLabel('Column').first().selectOption('UNIT.ID');
  await page.getByRole('textbox', { name: 'Text' }).fill('SITE-{nnn}');
  await button('Fill 12 rows').click();
  await type('KU000004', 'STREAM.BIT_RATE', '175');
  await type('KU000004', 'VW.NAME', 'not for encoders');
  await page.getByText('14 settings for 12 units.').waitFor();
  await page.getByText('Cell by cell (15)').click();
  const changes = await page.locator('.cells tbody').innerText();
  assert.match(changes, /4\tUNIT-003\tVW\.NAME\tRoom 3\tHall, north\tis sent/);
  assert.match(changes, /5\tUNIT-004\tVW\.NAME\t\tnot for encoders\theld back: Only decoders take it\./);
  assert.deepEqual(await look(page, 'configure'), []);
  assert.match(await download(page, 'CSV that is sent'), /\r\nKU000001,KestT-2,10\.77\.0\.1,SITE-001,,,\r\n/);
});

// If it fails, a unit that refused its settings or did not answer passes for configured.
await chapter(page, 'the update shows what becomes of each unit', async () => {
  await button('Update 12 units…').click();
  assert.deepEqual(await look(page, 'confirm'), []);
  await button('Update now').click();
  await until(async () => (await states()).some(([, state]) => /OK/.test(state)));
  await page.getByText(/of 12 · about/).waitFor();
  assert.deepEqual(await look(page, 'progress'), []);
  await page.getByText('The update has ended').waitFor();
  await page.locator('#tally').getByText('9 OK, 2 failed, 1 skipped').waitFor();
  const outcome = Object.fromEntries(await states());
  assert.equal(outcome.KU000001.slice(1), 'this unit');
  const own = page.getByRole('row', { name: 'KU000001' });
  assert.match(await own.getByRole('cell').nth(2).innerText(), /^UNIT-001 → SITE-001\s*this unit$/);
  assert.equal(outcome.KU000002.slice(1), 'OK');
  assert.equal(outcome.SILENT.slice(1), 'FAIL did not answer within 5 s; it may have taken the settings');
  assert.equal(outcome.REFUSER.slice(1), 'FAIL refused the settings');
  const report = await download(page, 'Report');
  assert.match(report, /SILENT,UNIT-900 → SITE-010,10\.77\.9\.1,1,FAIL,"did not answer/);
  assert.deepEqual(await look(page, 'report'), []);
  await page.getByLabel('Rows').selectOption('Not OK');
  assert.equal((await states()).length, 3);
  const undo = await download(page, 'Undo CSV (old values)');
  assert.match(undo, /\r\nKU000003,RX610,UNIT-003,,Room 3,\r\n/);
});

// If it fails, units that have their settings restart again, or the end of an update is not shown.
await chapter(page, 'only the failed are retried; a page that was left finds the run again', async () => {
  await button('Retry only the failed').click();
  await page.getByText('2 settings for 2 units.').waitFor();
  const csv = await download(page, 'CSV that is sent');
  const rows =
    /^UNIT\.SERIAL,UNIT\.MODEL,UNIT\.ID,\r\nSILENT,RX610,SITE-\d+,\r\nREFUSER,RX620,SITE-\d+,\r\n$/;
  assert.match(csv, rows);
  await button('Update 2 units…').click();
  await button('Update now').click();
  await until(async () => (await states()).some(([, state]) => /sent/.test(state)));
  await page.reload();
  await page.getByText('The page was left while the update ran.').waitFor();
  await page.locator('#tally').getByText('0 OK, 2 failed').waitFor();
});

// If it fails, old values pass for the new ones, or a list shows the answer to another command.
await chapter(page, 'another discovery shows the new values', async () => {
  await discover();
  await page.getByLabel('Filter').fill('KU000003');
  assert.match(await page.locator('tbody').innerText(), /SITE-003.*Hall, north/s);
  await goTo('Listings');
  await button('Encoders').click();
  await page.getByRole('cell', { name: 'MYSELF' }).waitFor();
  const own = (await cellsOf('.result tbody tr')).filter((cells) => cells[1].endsWith('this unit'));
  assert.deepEqual(own.map(([id]) => id).sort(), ['MYSELF', 'UNIT-001']); // it answers itself, too
  await button('Imported CSV').click();
  await page.getByText('2 records').waitFor();
  assert.deepEqual(await look(page, 'listings'), []);
  await button('Last discovery').click();
  await page.getByText('Total=12&Ecount=5&Dcount=7').waitFor();
  assert.equal(await download(page, 'Download'), content('/tmp/discover.csv'));
});
process.exit();

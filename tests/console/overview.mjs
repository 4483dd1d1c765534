// The site at a glance, in the browser: who streams to whom. In the box only.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { chapter, look, openConsole, start, startServer } from './unit.mjs';

// Two encoders share a stream address; one decoder has no source, one an unknown one.
const units = [
  'UNIT.SERIAL,UNIT.ID,UNIT.MODEL,IP.ADDRESS,STREAM.RTP_ADDRESS,STREAM.HOST',
  'TWIN-A,TWIN-A,TX610,10.77.9.1,239.77.9.1,',
  'TWIN-B,TWIN-B,TX610,10.77.9.2,239.77.9.1,',
  'BLIND,BLIND,RX610,10.77.9.3,,',
  'LOST,LOST,RX610,10.77.9.4,,239.1.1.1',
];
writeFileSync('/tmp/units.csv', `${units.join('\r\n')}\r\n`);

await startServer();
start('fleet', '--self', '--count', '19', '--units', '/tmp/units.csv');
const page = await openConsole();
const button = (name) => page.getByRole('button', { name, exact: true });
const goTo = (name) => page.getByRole('navigation').getByRole('link', { name, exact: true }).click();
const crossing = (decoder, encoder) => page.locator(`.matrix td[title^="${decoder} ← ${encoder}"]`);

async function discover() {
  await goTo('Units');
  await page.getByRole('button', { name: /^Discover/ }).click();
  await page.getByText('Listening for their answers').waitFor();
  await page.locator('progress').waitFor({ state: 'hidden' });
}

await chapter(page, 'a crossing of encoder and decoder goes into the draft', async () => {
  await discover();
  await goTo('Streams');
  for (const fact of [
    '13 encoders, 11 decoders',
    '1 decoder has no source',
    '1 decoder has a source that is no encoder of this site',
    '2 encoders share a stream address',
  ])
    await page.getByText(fact).waitFor();
  assert.equal(await page.locator('.matrix td.source').count(), 9);
  await crossing('UNIT-003', 'UNIT-004').click();
  await page.getByText('UNIT-003 will take UNIT-004 (STREAM.HOST 239.77.1.3).').waitFor();
  assert.match(await crossing('UNIT-003', 'UNIT-002').getAttribute('title'), /until the draft is sent/);
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('Enter'); // UNIT-004 is the source of UNIT-005 already
  await page.getByText('UNIT-004 is the source of UNIT-005 already.').waitFor();
  await crossing('BLIND', 'TWIN-A').click();
  await page.getByText('which of them is seen is not certain').waitFor();
  await page.getByText('2 changes of sources are in the draft.').waitFor();
  assert.deepEqual(await look(page, 'streams'), []);
  await crossing('BLIND', 'TWIN-A').click();
  await page.getByText('BLIND keeps its source.').waitFor();
  await page.getByLabel('View').selectOption('List by encoder');
  await page.getByLabel('Decoders', { exact: true }).fill('lost');
  await page.getByText('no encoder of this site has this address').waitFor();
  assert.deepEqual(await look(page, 'streams-list'), []);
  await page.getByText('Go to the draft').click();
  await page.getByText('1 setting for 1 unit;').waitFor();
});
process.exit();

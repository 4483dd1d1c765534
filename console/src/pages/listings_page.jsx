// Single commands and what the unit answers to them.

import { useState } from 'preact/hooks';
import { attempt, queue } from '../actions.js';
import { readListing } from '../logic/listing.js';
import { readAsUnit } from '../logic/unit_csv.js';
import { BusyButton, DownloadButton, TableHead } from '../parts/widgets.jsx';
import { useOwnUnit } from '../parts/own_unit.jsx';
import { OwnMark } from '../parts/unit_link.jsx';
import { visible } from '../logic/visible.js';
import { texts } from '../texts.js';

const words = texts.listings;
const addressAt = { encoders: 1, decoders: 1, neighbours: 0 }; // the column of the unit's own address

const rowsOf = (body, kind, separator) => readListing(body, words.columns[kind].length, separator);

const table = (kind, rows) => ({ columns: words.columns[kind], rows, addressAt: addressAt[kind] });

// What each kind asks and makes of the answer: {columns, rows} or {text, csv, note}.
const kinds = {
  encoders: async (unit) => table('encoders', rowsOf(await unit.ask('DISCOVER_ENCODERS'), 'encoders')),
  decoders: async (unit) => table('decoders', rowsOf(await unit.ask('DISCOVER_DECODERS'), 'decoders')),
  neighbours: async (unit) => {
    await unit.ask('DISCOVER_DEVICES');
    const body = await unit.ask('GET_NODES');
    const list = body.replace(/^(Device Listing:\n(IP Name\n)?|No Nodes Detected\n)/, '');
    return table('neighbours', rowsOf(list, 'neighbours', ' '));
  },
  discovered: async (unit) => {
    const body = await unit.ask('GET_CSV_DISCOVER');
    const [totals = ''] = /^DISCOVERED CSV DATA: .*\n\n?/.exec(body) ?? [];
    return { note: totals.trim(), text: body.slice(totals.length), csv: 'discover.csv' };
  },
  imported: async (unit, site) => {
    if ((await unit.ask('CHECK_IMPORT_CSV_STATUS')) !== 'true') return { note: words.noImport };
    const text = await unit.ask('GET_CSV_IMPORT');
    const { slots, records, unused } = readAsUnit(text, site?.keys ?? []);
    const refused = site
      ? text
          .split('\r\n')[0]
          .split(',')
          .filter((field, at) => slots[at] === null && field !== '')
      : [];
    return { note: words.asRead(records.length, refused, site ? unused : []), text, csv: 'import.csv' };
  },
  trial: async (unit) => {
    await unit.ask('PERFORM_CSV_IMPORT');
    return { note: words.trialDone };
  },
};

function Result({ result: { columns, rows, addressAt: place, note, text, csv } }) {
  const ownAddress = useOwnUnit()?.values['IP.ADDRESS'];
  return (
    <div class="result">
      {note && <p>{note}</p>}
      {rows && rows.length === 0 && <p>{words.nothing}</p>}
      {rows?.length > 0 && (
        <table>
          <TableHead titles={columns} />
          <tbody>
            {rows.map((row, at) => (
              <tr key={at}>
                {row.map((cell, column) => (
                  <td key={column}>
                    {visible(cell)}
                    <OwnMark when={column === place && cell === ownAddress} />
                  </td>
                ))}
              </tr>
            ))}
          </tbody>
        </table>
      )}
      {text && <pre tabIndex={0}>{text}</pre>}
      {text && (
        <DownloadButton name={csv} content={() => text}>
          {words.download}
        </DownloadButton>
      )}
    </div>
  );
}

export function ListingsPage({ state: { site, activity } }) {
  const [shown, setShown] = useState(null);
  const ask = (kind) =>
    attempt(async () => {
      setShown(null);
      const result = await queue.run(kind === 'trial' ? 'ask' : 'listing', (unit) => kinds[kind](unit, site));
      setShown({ kind, result });
    });
  return (
    <section aria-labelledby="listings-heading">
      <div class="bar">
        <h2 id="listings-heading">{words.heading}</h2>
      </div>
      <p class="hint">{words.hint}</p>
      <div class="listing">
        <ul class="commands">
          {Object.entries(words.kinds).map(([kind, [title, hint]]) => (
            <li key={kind}>
              <BusyButton busy={activity !== null} onClick={() => ask(kind)}>
                {title}
              </BusyButton>
              <span class="hint">{hint}</span>
            </li>
          ))}
        </ul>
        <div role="status">
          {shown && (
            <>
              <h3>{words.kinds[shown.kind][0]}</h3>
              <Result result={shown.result} />
            </>
          )}
        </div>
      </div>
    </section>
  );
}

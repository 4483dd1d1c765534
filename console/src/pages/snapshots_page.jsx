// Snapshots: the site as it was, kept in this browser; two of them are compared, and the way back is drafted.

import { useEffect, useMemo, useState } from 'preact/hooks';
import { draftSettings } from '../actions.js';
import { keptSnapshots } from '../kept.js';
import { nameOf, readSite } from '../logic/site.js';
import { compareValues, wayBack } from '../logic/snapshots.js';
import { visible } from '../logic/visible.js';
import { Table } from '../parts/table.jsx';
import { UnitLink } from '../parts/unit_link.jsx';
import { Choice, DownloadButton, ErrorNotice, TableHead } from '../parts/widgets.jsx';
import { goTo } from '../place.js';
import { texts } from '../texts.js';

const words = texts.snapshots;
const now = 'now'; // among snapshots: the site as the last discovery found it

const dateOf = ({ made }) =>
  new Date(made).toLocaleString('en-GB', { dateStyle: 'medium', timeStyle: 'short' });

// The kept snapshots, the newest first, and what changes them.
function useSnapshots() {
  const [snapshots, setSnapshots] = useState([]);
  const [error, setError] = useState('');
  const load = async () => setSnapshots(await keptSnapshots.read());
  useEffect(() => {
    load();
  }, []);
  const after = async (work) => {
    setError((await work) ? '' : words.notKept);
    await load();
  };
  return {
    snapshots,
    error,
    put: (snapshot) => after(keptSnapshots.put(snapshot)),
    drop: (snapshot) => confirm(words.confirmDrop(snapshot.name)) && after(keptSnapshots.drop(snapshot)),
  };
}

function Keep({ site, put }) {
  const [name, setName] = useState('');
  const submit = (event) => {
    event.preventDefault();
    const made = new Date().toISOString();
    put({ name: name.trim() || words.unnamed, made, bytes: site.bytes });
    setName('');
  };
  return (
    <form class="bar" onSubmit={submit}>
      <label>
        {words.name} <input value={name} disabled={!site} onInput={(event) => setName(event.target.value)} />
      </label>
      <button type="submit" class="main" disabled={!site}>
        {words.keep}
      </button>
    </form>
  );
}

function List({ snapshots, put, drop }) {
  return (
    <div class="problems" tabIndex={0} role="region" aria-label={words.list}>
      <table>
        <TableHead titles={words.columns} />
        <tbody>
          {snapshots.map((snapshot) => (
            <tr key={snapshot.made}>
              <td>
                <input
                  aria-label={words.rename}
                  value={snapshot.name}
                  onChange={(event) => put({ ...snapshot, name: event.target.value.trim() || words.unnamed })}
                />
              </td>
              <td>{dateOf(snapshot)}</td>
              <td>
                <div class="bar">
                  <DownloadButton name={`${snapshot.made.slice(0, 10)}.csv`} content={() => snapshot.bytes}>
                    {words.save}
                  </DownloadButton>
                  <button type="button" onClick={() => drop(snapshot)}>
                    {words.drop}
                  </button>
                </div>
              </td>
            </tr>
          ))}
        </tbody>
      </table>
    </div>
  );
}

const widths = [28, 26, 34, 34];
const columns = words.changeColumns.map((title, key) => ({ key, title, width: widths[key] }));

function Differences({ then, now: after, back, ownSerial }) {
  const { missing, appeared, changes } = useMemo(() => compareValues(then, after), [then, after]);
  const { settings, lost } = useMemo(() => wayBack(changes), [changes]);
  const draft = () => {
    if (draftSettings(settings, back)) goTo('configure');
  };
  return (
    <>
      <p role="status">
        <strong>{words.differences(changes.length)}</strong>
      </p>
      {missing.length > 0 && <p>{texts.units.missing(missing.map(nameOf))}</p>}
      {appeared.length > 0 && <p>{texts.units.appeared(appeared.map(nameOf))}</p>}
      {changes.length > 0 && (
        <Table
          label={words.changes}
          rows={changes}
          renderRow={({ unit, key, from, to }, at) => (
            <tr key={at} aria-rowindex={at + 2}>
              <th scope="row">
                <UnitLink {...{ unit, ownSerial }} />
              </th>
              <td>{key}</td>
              <td title={from}>{visible(from)}</td>
              <td title={to}>{visible(to)}</td>
            </tr>
          )}
          {...{ columns }}
        />
      )}
      {back && settings.length > 0 && (
        <div class="bar">
          <button type="button" class="main" onClick={draft}>
            {words.back(settings.length)}
          </button>
          <span class="hint">
            {words.backHint} {lost > 0 && words.lost(lost)}
          </span>
        </div>
      )}
    </>
  );
}

// The way back leads from the present site only.
function Compare({ snapshots, site, ownSerial }) {
  const [wanted, setWanted] = useState({});
  const options = [...snapshots.map((one) => [one.made, `${one.name} (${dateOf(one)})`]), [now, words.now]];
  const chosen = (place, usual) =>
    options.some(([value]) => value === wanted[place]) ? wanted[place] : usual;
  const [from, to] = [chosen('from', snapshots[0].made), chosen('to', now)];
  const of = (made) => snapshots.find((one) => one.made === made);
  const read = (made) =>
    useMemo(() => (made === now ? site : readSite(new TextDecoder().decode(of(made).bytes))), [made, site]);
  const [then, after] = [read(from), read(to)];
  return (
    <>
      <h3>{words.compare}</h3>
      <div class="bar">
        <Choice
          label={words.from}
          value={from}
          options={options}
          onChange={(value) => setWanted({ ...wanted, from: value })}
        />
        <Choice
          label={words.to}
          value={to}
          options={options}
          onChange={(value) => setWanted({ ...wanted, to: value })}
        />
      </div>
      {then && after && (
        <Differences
          {...{ then, ownSerial }}
          now={after}
          back={to === now && from !== now ? of(from).name : ''}
        />
      )}
    </>
  );
}

export function SnapshotsPage({ state: { site, ownSerial } }) {
  const { snapshots, error, put, drop } = useSnapshots();
  return (
    <section aria-labelledby="snapshots-heading">
      <div class="bar">
        <h2 id="snapshots-heading">{words.heading}</h2>
      </div>
      <p class="hint">{words.hint}</p>
      <Keep {...{ site, put }} />
      <ErrorNotice text={error} />
      {snapshots.length > 0 ? (
        <>
          <List {...{ snapshots, put, drop }} />
          <Compare {...{ snapshots, site, ownSerial }} />
        </>
      ) : (
        <p>{site ? words.none : texts.noSite}</p>
      )}
    </section>
  );
}

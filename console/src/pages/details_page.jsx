// One unit: its settings, what changed since the discovery before, and whom it streams to or from.

import { useMemo } from 'preact/hooks';
import { draftFromSite } from '../actions.js';
import { nameOf } from '../logic/site.js';
import { compareValues } from '../logic/snapshots.js';
import { readStreams } from '../logic/streams.js';
import { visible } from '../logic/visible.js';
import { findUnit, settingsByGroup } from '../logic/unit_details.js';
import { ConsoleLink, OwnMark, UnitLink, isOwn } from '../parts/unit_link.jsx';
import { TableHead } from '../parts/widgets.jsx';
import { goTo } from '../place.js';
import { texts } from '../texts.js';

const words = texts.details;

function Streams({ site, unit, ownSerial }) {
  const { encoders, decoders } = useMemo(() => readStreams(site), [site]);
  const encoder = encoders.find((one) => one.unit === unit);
  const decoder = decoders.find((one) => one.unit === unit);
  if (decoder) {
    return (
      <p>
        {words.source}{' '}
        {decoder.source ? (
          <UnitLink {...decoder.source} ownSerial={ownSerial} />
        ) : (
          words.noSource[decoder.state]
        )}{' '}
        <span class="hint">{decoder.host}</span>
      </p>
    );
  }
  if (!encoder) return <p>{words.neither}</p>;
  return (
    <>
      <p>
        {words.viewers(encoder.viewers.length)} <span class="hint">{encoder.stream}</span>
      </p>
      {encoder.shared && <p class="conflict">⚠ {texts.streams.remarks.shared}</p>}
      <ul>
        {encoder.viewers.map((viewer) => (
          <li key={viewer.unit.number}>
            <UnitLink {...viewer} ownSerial={ownSerial} />
          </li>
        ))}
      </ul>
    </>
  );
}

function Settings({ label, columns, rows }) {
  return (
    <table class="settings" aria-label={label}>
      {columns && <TableHead titles={columns} />}
      <tbody>
        {rows.map(([key, ...values]) => (
          <tr key={key}>
            <th scope="row">{key}</th>
            {values.map((value, at) => (
              <td key={at}>{visible(value)}</td>
            ))}
          </tr>
        ))}
      </tbody>
    </table>
  );
}

function Changes({ site, earlier, unit }) {
  const compared = useMemo(() => earlier && compareValues(earlier, site), [earlier, site]);
  if (!compared) return <p>{words.noEarlier}</p>;
  if (compared.appeared.includes(unit)) return <p>{words.appeared}</p>;
  const own = compared.changes.filter((change) => change.unit === unit);
  if (own.length === 0) return <p>{words.unchanged}</p>;
  const rows = own.map(({ key, from, to }) => [key, from || words.nothing, to || words.nothing]);
  return <Settings label={words.changes} columns={words.changeColumns} rows={rows} />;
}

function Details({ site, earlier, unit, ownSerial }) {
  const configure = () => {
    if (draftFromSite([unit])) goTo('configure');
  };
  return (
    <>
      <div class="bar">
        <h2 id="details-heading">{nameOf(unit) || texts.noName}</h2>
        <OwnMark when={isOwn(unit, ownSerial)} />
        {unit.marks.map((mark) => (
          <span key={mark} class="mark">
            ⚠ {texts.units.mark[mark]}
          </span>
        ))}
        <button type="button" class="main" onClick={configure}>
          {texts.units.edit(1)}
        </button>
        <ConsoleLink unit={unit}>{words.console}</ConsoleLink>
      </div>
      <div class="cards">
        <section class="card">
          <h3>{words.streams}</h3>
          <Streams {...{ site, unit, ownSerial }} />
        </section>
        <section class="card">
          <h3>{words.changes}</h3>
          <Changes {...{ site, earlier, unit }} />
        </section>
        {settingsByGroup(unit).map(([group, settings]) => (
          <section key={group} class="card">
            <h3>{words.groups[group] ?? group}</h3>
            <Settings label={words.groups[group] ?? group} rows={settings} />
          </section>
        ))}
      </div>
    </>
  );
}

export function DetailsPage({ state: { site, earlier, ownSerial }, topic }) {
  const unit = site && findUnit(site, topic);
  if (unit) return <Details {...{ site, earlier, unit, ownSerial }} />;
  return (
    <>
      <div class="bar">
        <h2>{texts.pages.details}</h2>
      </div>
      <p>{site ? words.unknown(topic) : texts.noSite}</p>
    </>
  );
}

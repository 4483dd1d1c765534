// The site: discovery, and the table of all units.

import { useMemo, useState } from 'preact/hooks';
import { attempt, discover, draftFromSite } from '../actions.js';
import { templateOf } from '../logic/presets.js';
import { inOrder } from '../logic/site.js';
import { writeSpreadsheet } from '../logic/spreadsheet_csv.js';
import { visible } from '../logic/visible.js';
import { Table, fittingWidth } from '../parts/table.jsx';
import { UnitLink } from '../parts/unit_link.jsx';
import { BusyButton, Choice, DownloadButton, FilterInput, Menu, stamp, useClock } from '../parts/widgets.jsx';
import { recall, remember } from '../store.js';
import { texts } from '../texts.js';

const words = texts.units;
const usualKeys = [
  'UNIT.ID',
  'VW.NAME',
  'DANTE.DEVICE_NAME',
  'IP.ADDRESS',
  'UNIT.MODEL',
  'UNIT.SERIAL',
  'STREAM.HOST',
  'STREAM.RTP_ADDRESS',
  'UNIT.FIRMWARE',
  'IP.DHCP_STATUS',
];
const usualTime = 4200; // milliseconds of a discovery in the one-pass mode

// What is happening is known by the clock alone: the unit tells nothing until it is done.
function DiscoveryProgress({ since }) {
  const elapsed = useClock(100) - since;
  const [, phase] = words.phases.findLast(([from]) => elapsed >= from) ?? words.phases[0];
  return (
    <div class="progress" role="status">
      <progress
        max={usualTime}
        value={elapsed < usualTime ? elapsed : undefined}
        aria-label={words.discover}
      />
      <span>{phase}</span>
    </div>
  );
}

function Comparison({ comparison }) {
  const { difference, missing, appeared } = comparison;
  const mark = difference < 0 ? '▼ ' : difference > 0 ? '▲ ' : '';
  return (
    <>
      <strong class={difference < 0 ? 'fewer' : ''}>
        {mark}
        {words.difference(difference)}
      </strong>
      {missing.length > 0 && <span class="names"> {words.missing(missing)}.</span>}
      {appeared.length > 0 && <span class="names"> {words.appeared(appeared)}.</span>}
    </>
  );
}

function Summary({ site, comparison }) {
  const conflicts = site.units.filter((unit) => unit.marks.some((mark) => mark !== 'fields')).length;
  const unclear = site.units.filter((unit) => unit.marks.includes('fields')).length;
  const date =
    site.modified &&
    new Date(site.modified).toLocaleString('en-GB', { dateStyle: 'medium', timeStyle: 'short' });
  return (
    <div class="summary">
      <p>
        <strong id="totals">{words.totals(site)}</strong>
        {date && <span class="hint"> {words.when(date)}</span>}
        {comparison && (
          <>
            {' '}
            · <Comparison comparison={comparison} />
          </>
        )}
      </p>
      {conflicts > 0 && <p class="conflict">⚠ {words.conflicts(conflicts)}</p>}
      {unclear > 0 && <p class="conflict">⚠ {words.unclear(unclear)}</p>}
      {site.hidden > 0 && <p class="conflict">⚠ {words.hidden(site.hidden, site.keys[0])}</p>}
    </div>
  );
}

function ColumnChoice({ keys, shown, choose }) {
  const toggle = (key) =>
    choose(shown.includes(key) ? shown.filter((other) => other !== key) : [...shown, key]);
  return (
    <Menu title={words.columns(shown.length, keys.length)}>
      <button type="button" onClick={() => choose(keys)}>
        {words.allColumns}
      </button>
      <button type="button" onClick={() => choose(usualKeys.filter((key) => keys.includes(key)))}>
        {words.usualColumns}
      </button>
      {keys.map((key) => (
        <label key={key}>
          <input type="checkbox" checked={shown.includes(key)} onChange={() => toggle(key)} /> {key}
        </label>
      ))}
    </Menu>
  );
}

const passesKind = {
  all: () => true,
  encoders: (unit) => unit.kind.encoder,
  decoders: (unit) => unit.kind.decoder,
  conflicts: (unit) => unit.marks.length > 0,
};

function chosenUnits(units, { kind, filter, sort }) {
  const text = filter.trim().toLowerCase();
  const chosen = units.filter(
    (unit) =>
      passesKind[kind](unit) &&
      (text === '' || Object.values(unit.values).some((value) => value.toLowerCase().includes(text))),
  );
  const valueOf = (unit) => (sort.key === 'marks' ? unit.marks.join() : (unit.values[sort.key] ?? ''));
  const turn = sort.direction === 'up' ? 1 : -1;
  return chosen.sort((one, other) => turn * inOrder(valueOf(one), valueOf(other)));
}

function Marks({ unit }) {
  return (
    <td>
      {unit.marks.map((mark) => (
        <span key={mark} class="mark">
          ⚠ {words.mark[mark]}
        </span>
      ))}
    </td>
  );
}

function UnitRow({ unit, columns, index, ownSerial }) {
  const text = (key) => visible(unit.values[key]);
  const [first, ...others] = columns;
  return (
    <tr aria-rowindex={index} class={unit.marks.length > 0 ? 'conflict' : ''}>
      {first && (
        <th scope="row">
          <UnitLink unit={unit} ownSerial={ownSerial} text={text(first.key)} />
        </th>
      )}
      {others.map(({ key }) =>
        key === 'marks' ? (
          <Marks key={key} unit={unit} />
        ) : (
          <td key={key} title={text(key)}>
            {text(key)}
          </td>
        ),
      )}
    </tr>
  );
}

// The chosen columns, and behind the first one the marks, when there are any.
function tableColumns(site, keys) {
  const textsOf = (key) => site.units.map((unit) => unit.values[key]);
  const columns = keys.map((key) => ({ key, title: key, width: fittingWidth(key, textsOf(key)) }));
  const most = Math.max(0, ...site.units.map((unit) => unit.marks.length));
  if (most > 0) columns.splice(1, 0, { key: 'marks', title: words.marks, width: 18 * most });
  return columns;
}

function UnitTable({ site, units, keys, choice, setChoice, ownSerial }) {
  const columns = useMemo(() => tableColumns(site, keys), [site, keys]);
  return (
    <>
      <p class="hint" role="status">
        {units.length === 0 ? words.empty : words.shown(units.length, site.units.length)}
      </p>
      <Table
        label={words.table}
        columns={columns}
        rows={units}
        sort={choice.sort}
        onSort={(sort) => setChoice({ ...choice, sort })}
        renderRow={(unit, at) => (
          <UnitRow key={unit.number} index={at + 2} {...{ unit, columns, ownSerial }} />
        )}
      />
    </>
  );
}

const linesOf = (site) => [site.keys, ...site.units.map((unit) => site.keys.map((key) => unit.values[key]))];

function Files({ site, units, shown }) {
  const [separator, setSeparator] = useState(recall('separator') ?? ',');
  const choose = (wanted) => {
    remember('separator', wanted);
    setSeparator(wanted);
  };
  return (
    <Menu title={words.files} form>
      <DownloadButton name={`site-${stamp()}.csv`} content={() => site.bytes}>
        {words.exact}
      </DownloadButton>
      <Choice
        label={words.separator}
        value={separator}
        options={Object.entries(words.separators)}
        onChange={choose}
      />
      <DownloadButton
        name={`site-${stamp()}-spreadsheet.csv`}
        content={() => writeSpreadsheet(linesOf(site), separator)}
      >
        {words.safe}
      </DownloadButton>
      <DownloadButton
        name={`template-${stamp()}.csv`}
        content={() => writeSpreadsheet(templateOf(units, shown), separator)}
      >
        {words.template(units.length)}
      </DownloadButton>
      <p class="hint">{words.templateHint}</p>
    </Menu>
  );
}

function Tools({ site, units, choice, setChoice, shown, chooseColumns }) {
  const edit = () => {
    if (draftFromSite(units)) location.hash = 'configure';
  };
  return (
    <div class="bar tools">
      <FilterInput
        label={words.filter}
        value={choice.filter}
        onInput={(filter) => setChoice({ ...choice, filter })}
      />
      <Choice
        label={words.kind}
        value={choice.kind}
        options={Object.entries(words.kinds)}
        onChange={(kind) => setChoice({ ...choice, kind })}
      />
      <ColumnChoice keys={site.keys} shown={shown} choose={chooseColumns} />
      <span class="space" />
      <Files {...{ site, units, shown }} />
      <button type="button" class="main" disabled={units.length === 0} onClick={edit}>
        {words.edit(units.length)}
      </button>
    </div>
  );
}

// Stays while other pages are shown.
let lastChoice = { kind: 'all', filter: '', sort: { key: 'UNIT.ID', direction: 'up' } };

function Site({ site, comparison, ownSerial }) {
  const [choice, setShownChoice] = useState(lastChoice);
  const setChoice = (changed) => {
    lastChoice = changed;
    setShownChoice(changed);
  };
  const [columns, setColumns] = useState(recall('columns') ?? usualKeys);
  const shown = useMemo(() => columns.filter((key) => site.keys.includes(key)), [site, columns]);
  const units = useMemo(() => chosenUnits(site.units, choice), [site, choice]);
  const chooseColumns = (keys) => {
    setColumns(keys);
    remember('columns', keys);
  };
  return (
    <>
      <Summary {...{ site, comparison }} />
      <Tools {...{ site, units, choice, setChoice, shown, chooseColumns }} />
      <UnitTable {...{ site, units, choice, setChoice, ownSerial }} keys={shown} />
    </>
  );
}

export function UnitsPage({ state: { site, comparison, discovery, activity, ownSerial } }) {
  return (
    <section aria-labelledby="units-heading">
      <div class="bar">
        <h2 id="units-heading">{words.heading}</h2>
        <BusyButton class="main" busy={activity !== null} onClick={() => attempt(discover)}>
          {site ? words.again : words.discover}
        </BusyButton>
        {discovery && <DiscoveryProgress since={discovery.since} />}
      </div>
      {site ? <Site {...{ site, comparison, ownSerial }} /> : <p>{words.none}</p>}
    </section>
  );
}

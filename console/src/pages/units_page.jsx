// The site: discovery, and the table of all units.

import { useMemo, useRef, useState } from 'preact/hooks';
import { attempt, discover, draftFromSite } from '../actions.js';
import { templateOf } from '../logic/presets.js';
import { passing, selectedAfter, sorted } from '../logic/choice.js';
import { nameOf } from '../logic/site.js';
import { writeSpreadsheet } from '../logic/spreadsheet_csv.js';
import { visible } from '../logic/visible.js';
import { Table, fittingWidth } from '../parts/table.jsx';
import { UnitLink } from '../parts/unit_link.jsx';
import {
  BusyButton,
  Check,
  Choice,
  DownloadButton,
  FilterInput,
  Menu,
  stamp,
  useClock,
} from '../parts/widgets.jsx';
import { goTo } from '../place.js';
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

// What is happening is known by the clock alone: the unit reports nothing until it is done.
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

function chosenUnits(units, { kind, filter, sort }) {
  const passes = passing({ kind, filter });
  const chosen = units.filter((unit) => passes({ ...unit, texts: () => Object.values(unit.values) }));
  const valueOf = (unit) => (sort.key === 'marks' ? unit.marks.join() : (unit.values[sort.key] ?? ''));
  return sorted(chosen, sort.direction, valueOf);
}

function Marks({ unit, place }) {
  return (
    <td aria-colindex={place + 1}>
      {unit.marks.map((mark) => (
        <span key={mark} class="mark">
          ⚠ {words.mark[mark]}
        </span>
      ))}
    </td>
  );
}

function UnitRow({ unit, first, across, index, ownSerial, selected, select }) {
  const text = (key) => visible(unit.values[key]);
  return (
    <tr aria-rowindex={index} class={unit.marks.length > 0 ? 'conflict' : ''}>
      <th scope="row" aria-colindex={1}>
        <input
          type="checkbox"
          aria-label={words.select(nameOf(unit))}
          checked={selected}
          onClick={(event) => select(event.shiftKey)}
        />{' '}
        <UnitLink unit={unit} ownSerial={ownSerial} text={text(first.key)} />
      </th>
      {across(({ key }, place) =>
        key === 'marks' ? (
          <Marks key={key} {...{ unit, place }} />
        ) : (
          <td key={key} aria-colindex={place + 1} title={text(key)}>
            {text(key)}
          </td>
        ),
      )}
    </tr>
  );
}

// The chosen columns, with the marks, when there are any, as the second one.
function tableColumns(site, keys) {
  const textsOf = (key) => site.units.map((unit) => unit.values[key]);
  const columns = keys.map((key) => ({ key, title: key, width: fittingWidth(key, textsOf(key)) }));
  const most = Math.max(0, ...site.units.map((unit) => unit.marks.length));
  if (most > 0) columns.splice(1, 0, { key: 'marks', title: words.marks, width: 18 * most });
  return columns;
}

const numbersOf = (units) => units.map(({ number }) => number);
const countSelected = (units, selected) => units.filter(({ number }) => selected.has(number)).length;

function UnitTable({ site, units, keys, choice, setChoice, ownSerial, selected, setSelected }) {
  const last = useRef(null); // the unit that was clicked last
  const columns = useMemo(() => tableColumns(site, keys), [site, keys]);
  const select = (at, range) => {
    const from = range ? units.findIndex(({ number }) => number === last.current) : -1;
    last.current = units[at].number;
    setSelected(selectedAfter(selected, numbersOf(units), at, from < 0 ? at : from));
  };
  const count = countSelected(units, selected);
  return (
    <>
      <div class="bar">
        <Check
          label={words.selectAll(units.length)}
          checked={count > 0 && count === units.length}
          onChange={(all) => setSelected(new Set(all ? numbersOf(units) : []))}
        />
        <p class="hint" role="status">
          {units.length === 0 ? words.empty : words.shown(units.length, site.units.length)}{' '}
          {words.selected(count, selected.size)}
        </p>
      </div>
      <Table
        label={words.table}
        columns={columns}
        rows={units}
        sort={choice.sort}
        onSort={(sort) => setChoice({ ...choice, sort })}
        wide
        renderRow={(unit, at, across) => (
          <UnitRow
            key={unit.number}
            index={at + 2}
            selected={selected.has(unit.number)}
            select={(shift) => select(at, shift)}
            first={columns[0]}
            {...{ unit, across, ownSerial }}
          />
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

// A selection is what is configured, as far as it is shown.
function Tools({ site, units, choice, setChoice, shown, chooseColumns, selected }) {
  const count = countSelected(units, selected);
  const wanted = selected.size > 0 ? units.filter(({ number }) => selected.has(number)) : units;
  const edit = () => {
    if (draftFromSite(wanted)) goTo('configure');
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
      <button type="button" class="main" disabled={wanted.length === 0} onClick={edit}>
        {selected.size > 0 ? words.editSelected(count) : words.edit(units.length)}
      </button>
    </div>
  );
}

// Stays while other pages are shown.
let lastChoice = { kind: 'all', filter: '', sort: { key: 'UNIT.ID', direction: 'up' } };
let lastSelected = { site: null, numbers: new Set() };

function Site({ site, comparison, ownSerial }) {
  const [choice, setShownChoice] = useState(lastChoice);
  const setChoice = (changed) => {
    lastChoice = changed;
    setShownChoice(changed);
  };
  const [, setShownSelected] = useState(lastSelected);
  const selected = lastSelected.site === site ? lastSelected.numbers : new Set();
  const setSelected = (numbers) => {
    lastSelected = { site, numbers };
    setShownSelected(lastSelected);
  };
  const [columns, setColumns] = useState(recall('columns') ?? usualKeys);
  const shown = useMemo(() => {
    const known = columns.filter((key) => site.keys.includes(key));
    return known.length > 0 ? known : site.keys.slice(0, 1);
  }, [site, columns]);
  const units = useMemo(() => chosenUnits(site.units, choice), [site, choice]);
  const chooseColumns = (keys) => {
    setColumns(keys);
    remember('columns', keys);
  };
  return (
    <>
      <Summary {...{ site, comparison }} />
      <Tools {...{ site, units, choice, setChoice, shown, chooseColumns, selected }} />
      <UnitTable {...{ site, units, choice, setChoice, ownSerial, selected, setSelected }} keys={shown} />
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

// Who streams to whom: a matrix of encoders and decoders, and a list by encoder. A crossing that is chosen goes into the
// draft; nothing is sent from here.

import { useMemo, useState } from 'preact/hooks';
import { putIntoDraft } from '../actions.js';
import { draftedValues } from '../logic/draft.js';
import { hostKey, hostOf, listByEncoder, readStreams } from '../logic/streams.js';
import { Matrix } from '../parts/matrix.jsx';
import { Table, fittingWidth } from '../parts/table.jsx';
import { UnitLink, titleOf } from '../parts/unit_link.jsx';
import { Choice, FilterInput, Notice } from '../parts/widgets.jsx';
import { bareSerial } from '../logic/site.js';
import { texts } from '../texts.js';

const words = texts.streams;

const serialOf = ({ unit }) => unit.values['UNIT.SERIAL'] ?? '';
const hostOfDraft = (decoder, drafted) => {
  const serial = serialOf(decoder).toLowerCase();
  return drafted.get(serial) ?? drafted.get(bareSerial(serial)) ?? decoder.host;
};

const passesKind = {
  all: () => true,
  lost: ({ source }) => source === null,
  drafted: (decoder, drafted) => hostOfDraft(decoder, drafted) !== decoder.host,
};

const matches = (text, { unit, name }) =>
  text === '' || [name, ...Object.values(unit.values)].some((value) => value.toLowerCase().includes(text));

// The encoders and decoders that pass the filters.
function chosenOf({ encoders, decoders }, drafted, { encoderText, decoderText, kind }) {
  const [first, second] = [encoderText, decoderText].map((text) => text.trim().toLowerCase());
  return {
    encoders: encoders.filter((encoder) => matches(first, encoder)),
    decoders: decoders.filter((decoder) => passesKind[kind](decoder, drafted) && matches(second, decoder)),
  };
}

// What a crossing is now, and what it becomes: `source`, `leaves`, `drafted`, `unclear`, or nothing.
function stateOf(encoder, decoder, { byStream, drafted }) {
  const host = hostOf(encoder, byStream);
  const becomes = hostOfDraft(decoder, drafted);
  if (becomes !== decoder.host && becomes === host) return 'drafted';
  if (decoder.source === encoder) return becomes === decoder.host ? 'source' : 'leaves';
  return decoder.state === 'unclear' && encoder.stream === decoder.host ? 'unclear' : '';
}

const signs = { source: '●', leaves: '○', drafted: '◆', unclear: '?', '': '' };

// Puts a crossing into the draft, or takes it out again. Returns what to say about it.
function choose(encoder, decoder, { byStream, drafted }) {
  const names = [decoder.name, encoder.name];
  const host = hostOf(encoder, byStream);
  const becomes = hostOfDraft(decoder, drafted);
  const put = (value) => putIntoDraft([{ unit: decoder.unit, key: hostKey, value }]);
  if (!serialOf(decoder)) return words.noSerial(...names);
  if (host === '') return words.noHost(...names);
  if (becomes !== decoder.host && (becomes === host || decoder.source === encoder)) {
    put(decoder.unit.values[hostKey] ?? '');
    return words.takenBack(...names);
  }
  if (decoder.source === encoder) return words.isSource(...names);
  if (host === decoder.host) return words.sharedHost;
  put(host);
  return words.drafted(...names, host) + (encoder.shared && byStream ? ` ${words.sharedHost}` : '');
}

function Summary({ encoders, decoders }) {
  const count = (state) => decoders.filter((decoder) => decoder.state === state).length;
  const facts = [
    ['none', count('none')],
    ['unknown', count('unknown')],
    ['unclear', count('unclear')],
    ['shared', encoders.filter(({ shared }) => shared).length],
  ].filter(([, number]) => number > 0);
  return (
    <div class="summary">
      <p>
        <strong>{words.totals(encoders.length, decoders.length)}</strong>
      </p>
      {facts.map(([fact, number]) => (
        <p key={fact} class="conflict">
          ⚠ {words.facts[fact](number)}
        </p>
      ))}
    </div>
  );
}

function Legend() {
  return (
    <p class="legend">
      {Object.entries(words.legend).map(([state, title]) => (
        <span key={state}>
          <span class={`sample ${state}`} aria-hidden="true">
            {signs[state]}
          </span>{' '}
          {title}
        </span>
      ))}
    </p>
  );
}

function CrossingMatrix({ encoders, decoders, context, ownSerial, tell }) {
  const [chosen, activate] = useState({ row: 0, column: 0 });
  const active = {
    row: Math.max(0, Math.min(chosen.row, decoders.length - 1)),
    column: Math.max(0, Math.min(chosen.column, encoders.length - 1)),
  };
  const head = (unit, marked) => ({
    key: unit.number,
    title: titleOf(unit, ownSerial),
    look: marked ? 'conflict' : '',
  });
  const rows = useMemo(
    () => decoders.map(({ unit, source }) => head(unit, source === null)),
    [decoders, ownSerial],
  );
  const columns = useMemo(
    () => encoders.map(({ unit, shared }) => head(unit, shared)),
    [encoders, ownSerial],
  );
  const crossing = (row, column) => {
    const look = stateOf(encoders[column], decoders[row], context);
    return { look, sign: signs[look], say: words.crossing(decoders[row].name, encoders[column].name, look) };
  };
  if (rows.length === 0 || columns.length === 0) return <p>{texts.units.empty}</p>;
  return (
    <Matrix
      label={words.matrix}
      corner={words.corner}
      choose={(row, column) => tell(choose(encoders[column], decoders[row], context))}
      {...{ rows, columns, crossing, active, activate }}
    />
  );
}

function remarkOf({ encoder, decoder }, drafted) {
  const becomes = decoder && hostOfDraft(decoder, drafted);
  return [
    encoder?.shared && words.remarks.shared,
    encoder && !decoder && words.remarks.alone,
    decoder && decoder.state !== 'source' && words.remarks[decoder.state],
    decoder && becomes !== decoder.host && words.remarks.drafted(becomes),
  ]
    .filter(Boolean)
    .join('; ');
}

function EncoderList({ streams, chosen, drafted, ownSerial }) {
  const rows = useMemo(() => {
    const shown = new Set([...chosen.encoders, ...chosen.decoders]);
    const all = chosen.decoders.length === streams.decoders.length;
    return listByEncoder(streams).filter(
      ({ encoder, decoder }) =>
        (encoder ? shown.has(encoder) : chosen.encoders.length === streams.encoders.length) &&
        (decoder ? shown.has(decoder) : all),
    );
  }, [streams, chosen]);
  const columns = useMemo(() => {
    const names = [...streams.encoders, ...streams.decoders].map(({ name }) => name);
    const widths = [fittingWidth('', names) + 14, 18, fittingWidth('', names) + 14, 18, 60];
    return words.listColumns.map((title, key) => ({ key, title, width: widths[key] }));
  }, [streams]);
  return (
    <Table
      label={words.list}
      columns={columns}
      rows={rows}
      renderRow={(row, at) => {
        const { encoder, decoder } = row;
        const marked = encoder?.shared || (decoder && decoder.source === null);
        return (
          <tr
            key={`${encoder?.unit.number} ${decoder?.unit.number}`}
            aria-rowindex={at + 2}
            class={marked ? 'conflict' : ''}
          >
            <th scope="row">{encoder ? <UnitLink {...encoder} ownSerial={ownSerial} /> : words.noEncoder}</th>
            <td>{encoder?.stream}</td>
            <td>{decoder && <UnitLink {...decoder} ownSerial={ownSerial} />}</td>
            <td>{decoder?.host}</td>
            <td>{remarkOf(row, drafted)}</td>
          </tr>
        );
      }}
    />
  );
}

// Stays while other pages are shown.
let lastChoice = { view: 'matrix', encoderText: '', decoderText: '', kind: 'all' };

function Streams({ site, draft, ownSerial }) {
  const [choice, setShownChoice] = useState(lastChoice);
  const [notice, tell] = useState('');
  const setChoice = (changed) => {
    lastChoice = { ...choice, ...changed };
    setShownChoice(lastChoice);
    tell('');
  };
  const streams = useMemo(() => readStreams(site), [site]);
  const drafted = useMemo(() => draftedValues(draft, hostKey), [draft]);
  // What is drafted plays a part only where it is asked for: then a chosen row stays until the choice is made again.
  const chosen = useMemo(() => chosenOf(streams, drafted, choice), [streams, choice]);
  const context = { byStream: streams.byStream, drafted };
  const changes = streams.decoders.filter((decoder) => passesKind.drafted(decoder, drafted)).length;
  const filter = (label, key) => (
    <FilterInput label={label} value={choice[key]} onInput={(text) => setChoice({ [key]: text })} />
  );
  return (
    <>
      <Summary {...streams} />
      <div class="bar tools">
        <Choice
          label={words.view}
          value={choice.view}
          options={Object.entries(words.views)}
          onChange={(view) => setChoice({ view })}
        />
        {filter(words.filterEncoders, 'encoderText')}
        {filter(words.filterDecoders, 'decoderText')}
        <Choice
          label={texts.units.kind}
          value={choice.kind}
          options={Object.entries(words.kinds)}
          onChange={(kind) => setChoice({ kind })}
        />
        {choice.view === 'matrix' && <Legend />}
      </div>
      {choice.view === 'matrix' ? (
        <CrossingMatrix {...chosen} {...{ context, ownSerial, tell }} />
      ) : (
        <EncoderList {...{ streams, chosen, drafted, ownSerial }} />
      )}
      <p class="cell-detail" role="status">
        {notice}
      </p>
      {changes > 0 && (
        <Notice level="info">
          {words.inDraft(changes)} <a href="#configure">{words.toDraft}</a>
        </Notice>
      )}
      <p class="hint">{words.keys}</p>
    </>
  );
}

export function StreamsPage({ state: { site, draft, ownSerial } }) {
  return (
    <section aria-labelledby="streams-heading">
      <div class="bar">
        <h2 id="streams-heading">{words.heading}</h2>
      </div>
      {site ? <Streams {...{ site, draft, ownSerial }} /> : <p>{texts.noSite}</p>}
    </section>
  );
}

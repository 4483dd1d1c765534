// site list: who answers now, and who streams to whom.

import { readListing } from '../../../console/src/logic/listing.js';
import { inOrder } from '../../../console/src/logic/site.js';
import { listByEncoder, readStreams } from '../../../console/src/logic/streams.js';
import { texts } from '../../../console/src/texts.js';
import { forEachUnit } from './discover.js';
import { event, table } from './output.js';

const fields = {
  encoders: ['id', 'address', 'stream'],
  decoders: ['id', 'address', 'host', 'name'],
  streams: ['encoder', 'stream', 'decoder', 'host', 'state'],
};
const titles = { ...texts.listings.columns, streams: texts.streams.listColumns };
const commandOf = { encoders: 'DISCOVER_ENCODERS', decoders: 'DISCOVER_DECODERS' };
const byId = (one, other) => inOrder(one[0], other[0]);

const idOf = (described) => described?.unit.values['UNIT.ID'] ?? '';

// A row for each decoder and each encoder that nobody listens to. States are those of decoders, `shared` where another encoder
// has the same stream address, `alone` where no decoder listens.
function streamsOf(site) {
  return listByEncoder(readStreams(site)).map(({ encoder, decoder }) => {
    const state = encoder?.shared ? 'shared' : (decoder?.state ?? 'alone');
    return [idOf(encoder), encoder?.stream ?? '', idOf(decoder), decoder?.host ?? '', state];
  });
}

async function readKind(unit, kind) {
  if (kind === 'streams') return streamsOf(await unit.discover());
  return readListing(await unit.ask(commandOf[kind]), fields[kind].length).sort(byId);
}

const shownOf = (kind, row) =>
  kind === 'streams' ? [...row.slice(0, -1), texts.streams.remarks[row.at(-1)] ?? ''] : row;

export async function list([kind, ...addresses], options) {
  const several = addresses.length > 1;
  const { results, result } = await forEachUnit(addresses, options, async (unit) => {
    const rows = await readKind(unit, kind);
    const objects = rows.map((row) => Object.fromEntries(row.map((text, at) => [fields[kind][at], text])));
    for (const object of options.json ? objects : []) event('listed', { url: unit.url, kind, ...object });
    return rows.map((row) => [...(several ? [unit.url] : []), ...shownOf(kind, row)]);
  });
  const answered = results.filter(Boolean);
  if (!options.json && answered.length > 0)
    table(several ? ['Site', ...titles[kind]] : titles[kind], answered.flat());
  return result;
}

// site list: who answers now, and who streams to whom.

import { readListing } from '../../../console/src/logic/listing.js';
import { inOrder } from '../../../console/src/logic/site.js';
import { texts } from '../../../console/src/texts.js';
import { forEachUnit } from './discover.js';
import { event, table } from './output.js';

const fields = {
  encoders: ['id', 'address', 'stream'],
  decoders: ['id', 'address', 'host', 'name'],
  streams: ['stream', 'encoder', 'decoder', 'name'],
};
const titles = { ...texts.listings.columns, streams: ['Stream', 'Encoder', 'Decoder', 'Name'] };
const commandOf = { encoders: 'DISCOVER_ENCODERS', decoders: 'DISCOVER_DECODERS' };

const askListing = async (unit, kind) =>
  readListing(await unit.ask(commandOf[kind]), fields[kind].length).sort((one, other) =>
    inOrder(one[0], other[0]),
  );

// A row for each decoder of a stream, and one for each stream that no decoder has. A decoder names its source by the
// stream's address or the encoder's own; what no encoder has is a stream without an encoder.
export function whoStreamsToWhom(encoders, decoders) {
  const used = new Set();
  const rows = decoders.map(([id, , host, name]) => {
    const source = host ? encoders.find(([, address, stream]) => host === stream || host === address) : null;
    if (source) used.add(source);
    return [source?.[2] ?? host, source?.[0] ?? '', id, name];
  });
  const unused = encoders
    .filter((encoder) => !used.has(encoder))
    .map(([id, , stream]) => [stream, id, '', '']);
  return [...rows, ...unused].sort((one, other) => inOrder(one[0], other[0]) || inOrder(one[2], other[2]));
}

async function readKind(unit, kind) {
  if (kind !== 'streams') return askListing(unit, kind);
  const encoders = await askListing(unit, 'encoders');
  const named = new Set(encoders.filter(([id]) => id !== 'MYSELF').map(([, address]) => address));
  const others = encoders.filter(([id, address]) => id !== 'MYSELF' || !named.has(address)); // it may answer, too
  return whoStreamsToWhom(others, await askListing(unit, 'decoders'));
}

export async function list([kind, ...addresses], options) {
  const several = addresses.length > 1;
  const { results, result } = await forEachUnit(addresses, options, (unit) =>
    unit.run('listing', async (session) => {
      const rows = await readKind(session, kind);
      for (const row of options.json ? rows : [])
        event('listed', {
          url: unit.url,
          kind,
          ...Object.fromEntries(row.map((text, at) => [fields[kind][at], text])),
        });
      return rows.map((row) => (several ? [unit.url, ...row] : row));
    }),
  );
  const answered = results.filter(Boolean);
  const rows = answered.flat();
  if (!options.json && answered.length > 0) table(several ? ['Site', ...titles[kind]] : titles[kind], rows);
  return result;
}

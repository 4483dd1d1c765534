// Who streams to whom. A decoder reports the address that it listens to: that of an encoder, or that of an encoder's stream.
// Several encoders may send to one stream address by mistake; then nobody knows which of them is seen.

import { groupBy, inOrder, nameOf } from './site.js';

export const hostKey = 'STREAM.HOST';
const addressKey = 'IP.ADDRESS';
const streamKeys = ['STREAM.RTP_ADDRESS', 'STREAM.ADDRESS'];
const hostKeys = [hostKey, ...streamKeys];

const first = ({ values }, keys) => values[keys.find((key) => values[key]) ?? keys[0]] ?? '';
const byName = (one, other) => inOrder(one.name, other.name);

function describeEncoders(site) {
  const encoders = site.units
    .filter(({ kind }) => kind.encoder)
    .map((unit) => ({
      unit,
      name: nameOf(unit),
      stream: first(unit, streamKeys),
      shared: false,
      viewers: [],
    }));
  groupBy(encoders, ({ stream }) => stream).forEach((group, stream) => {
    for (const encoder of group) encoder.shared = stream !== '' && group.length > 1;
  });
  return encoders.sort(byName);
}

// Returns {encoders, decoders, byStream}, both lists in the order of names.
//   encoder   {unit, name, stream, shared, viewers}; shared: another encoder has the same stream address
//   decoder   {unit, name, host, state, source}; states: `source`, `none`, `unknown` (no encoder of the site has that
//             address), `unclear` (several have it). The source is an encoder, null in all states but the first
//   byStream  whether decoders of this site are given stream addresses, rather than addresses of units
export function readStreams(site) {
  const encoders = describeEncoders(site);
  const byAddress = groupBy(encoders, ({ unit }) => unit.values[addressKey] ?? '');
  const byStream = groupBy(encoders, ({ stream }) => stream);
  const count = { address: 0, stream: 0 };
  const decoders = site.units
    .filter(({ kind }) => kind.decoder)
    .map((unit) => {
      const host = first(unit, hostKeys);
      const nowhere = host === '' || host === '0.0.0.0';
      const found = nowhere ? [] : (byAddress.get(host) ?? byStream.get(host) ?? []);
      if (found.length > 0) count[byAddress.has(host) ? 'address' : 'stream'] += 1;
      const state = nowhere ? 'none' : (['unknown', 'source'][found.length] ?? 'unclear');
      return { unit, name: nameOf(unit), host, state, source: state === 'source' ? found[0] : null };
    })
    .sort(byName);
  for (const decoder of decoders) decoder.source?.viewers.push(decoder);
  return { encoders, decoders, byStream: count.stream >= count.address };
}

// The STREAM.HOST by which a decoder gets this encoder, '' when there is none.
export function hostOf(encoder, byStream) {
  const address = encoder.unit.values[addressKey] ?? '';
  return byStream ? encoder.stream || address : address || encoder.stream;
}

// The rows of a list by encoder: {encoder, decoder}, one of the two null where nobody looks or no encoder is known.
export function listByEncoder({ encoders, decoders }) {
  const rows = encoders.flatMap((encoder) =>
    encoder.viewers.length > 0
      ? encoder.viewers.map((decoder) => ({ encoder, decoder }))
      : [{ encoder, decoder: null }],
  );
  const lost = decoders.filter(({ source }) => source === null);
  return [...rows, ...lost.map((decoder) => ({ encoder: null, decoder }))];
}

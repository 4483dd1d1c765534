// What becomes of a setting: which keys an import takes at all, which of them a unit of some model is sent, and under
// which name. Keys of classes count with case, as on the unit; models, renames and header names do not.

import {
  decoderKeys,
  decoderModels,
  encoderKeys,
  encoderModels,
  excludedKeys,
  extendedKeys,
  secondGenModels,
  sentAs,
  statusKeys,
  wallplateModels,
} from './catalogue.js';

export const longestText = 63; // bytes of a key or of a value
export const mostColumns = 128;
export const longestMessage = 2047;

const encoder = new TextEncoder();
export const byteLength = (text) => encoder.encode(text).length;

// Whether a text has more than so many bytes; one letter takes three at most, so that nearly none is encoded for it.
export const isLongerThan = (text, most) => text.length * 3 > most && byteLength(text) > most;
export const same = (one, other) => one.toLowerCase() === other.toLowerCase();

const modelSet = (names) => new Set(names.map((name) => name.toLowerCase()));
const decoders = modelSet(decoderModels);
const encoders = modelSet(encoderModels);
const wallplates = modelSet(wallplateModels);
const secondGeneration = modelSet(secondGenModels);

// Returns {decoder, encoder, extended}: what the unit makes of a model's name, none of them for an unknown one.
export function kindOfModel(model) {
  const name = model.toLowerCase();
  return {
    decoder: decoders.has(name),
    encoder: encoders.has(name),
    extended: wallplates.has(name) || secondGeneration.has(name),
  };
}

const excluded = new Set(excludedKeys);
export const isExcluded = (key) => excluded.has(key) || key.endsWith('_');
export const isStatus = (key) => statusKeys.includes(key);

// Returns the unit's own spelling of a header field, the field itself for a key that is accepted and never sent, and
// null for one that the unit refuses.
export function acceptedKey(field, keys) {
  if (field === '' || byteLength(field) > longestText) return null;
  return keys.find((key) => same(key, field)) ?? (isExcluded(field) ? field : null);
}

// Returns {sent: name} for a setting that a unit of this kind is sent, else {held: reason}.
export function fateOfSetting(key, kind) {
  if (isExcluded(key)) return { held: 'excluded' };
  if (isStatus(key)) return { held: 'status' };
  const renamed = sentAs.get(key.toUpperCase());
  if (renamed) return { sent: renamed };
  if (extendedKeys.includes(key)) return kind.extended ? { sent: key } : { held: 'extended' };
  if (kind.decoder && !encoderKeys.includes(key)) return { sent: key };
  if (kind.encoder && !decoderKeys.includes(key)) return { sent: key };
  if (kind.decoder) return { held: 'encoder' };
  return { held: kind.encoder ? 'decoder' : 'model' };
}

// The settings message as the unit is sent it, from [name, value] pairs.
export function messageOf(serial, pairs) {
  return `CMD=START&UNIT.ID=${serial}${pairs.map(([name, value]) => `&${name}=${value}`).join('')}&CMD=END`;
}

// Settings that a site's units are given again and again, and sheets to fill in.

import { fateOfSetting, isExcluded, isStatus } from './class_rules.js';
import { firstColumns } from './draft.js';

const isOfKind = {
  all: () => true,
  encoders: ({ kind }) => kind.encoder,
  decoders: ({ kind }) => kind.decoder,
};

export const isSettable = (key) => !isStatus(key) && !isExcluded(key);

// Returns the settings {unit, key, value} that a preset {kind, key, value} means for those of the units that take them.
export const settingsOfPreset = (units, { kind, key, value }) =>
  units
    .filter((unit) => isOfKind[kind](unit) && fateOfSetting(key, unit.kind).sent)
    .map((unit) => ({ unit, key, value }));

// Returns the lines of a sheet with a line for each unit, and an empty cell for each of these settings.
export function templateOf(units, keys) {
  const empty = keys.filter((key) => isSettable(key) && !firstColumns.includes(key));
  const lines = units.map((unit) => [
    ...firstColumns.map((key) => unit.values[key] ?? ''),
    ...empty.map(() => ''),
  ]);
  return [[...firstColumns, ...empty], ...lines];
}

// Compares two states of a site, and makes the way back from one to the other.

import { fateOfSetting } from './class_rules.js';
import { inOrder, keyOf, nameOf } from './site.js';

const byKey = (site) => new Map([...site.units].reverse().map((unit) => [keyOf(unit), unit]));
const byName = (one, other) => inOrder(nameOf(one), nameOf(other));

// Returns {missing, appeared, changes}: the units that only one of the sites has, and {unit, key, from, to} for each value
// that differs, with the unit as it is now.
export function compareValues(then, now) {
  const [before, after] = [byKey(then), byKey(now)];
  const keys = [...new Set([...now.keys, ...then.keys])];
  const changes = [...after.values()]
    .filter((unit) => before.has(keyOf(unit)))
    .sort(byName)
    .flatMap((unit) =>
      keys
        .map((key) => ({
          unit,
          key,
          from: before.get(keyOf(unit)).values[key] ?? '',
          to: unit.values[key] ?? '',
        }))
        .filter(({ from, to }) => from !== to),
    );
  const without = (units, others) =>
    [...units.values()].filter((unit) => !others.has(keyOf(unit))).sort(byName);
  return { missing: without(before, after), appeared: without(after, before), changes };
}

// Returns {settings, lost}: what takes the changed values back, as settings of a draft, and how many values were blank
// before, which no setting brings back. What units only report is left out.
export function wayBack(changes) {
  const sendable = changes.filter(
    ({ unit, key }) => fateOfSetting(key, unit.kind).sent && keyOf(unit) === unit.values['UNIT.SERIAL'],
  );
  const settings = sendable
    .filter(({ from }) => from !== '')
    .map(({ unit, key, from }) => ({ unit, key, value: from }));
  return { settings, lost: sendable.length - settings.length };
}

// One unit of the site, as a page shows it.

import { groupBy, inOrder, keyOf } from './site.js';

export const findUnit = (site, key) => site.units.find((unit) => keyOf(unit) === key) ?? null;

// Returns [group, settings] in the order of groups, a group being what all its keys begin with; a setting is [key, value],
// and those without a value are left out.
export function settingsByGroup(unit) {
  const settings = Object.entries(unit.values).filter(([, value]) => value !== '');
  const groups = groupBy(settings, ([key]) => key.split('.')[0]);
  return [...groups]
    .sort(([one], [other]) => inOrder(one, other))
    .map(([group, own]) => [group, own.sort(([one], [other]) => inOrder(one, other))]);
}

// Which firmware the units of a site have.

import { groupBy, inOrder, nameOf } from './site.js';

const sorted = (items, textOf) => items.sort((one, other) => inOrder(textOf(one), textOf(other)));
const group = (units, key) =>
  sorted([...groupBy(units, (unit) => unit.values[key] ?? '')], ([value]) => value);

// Returns {model, versions} for each model, in their order; versions are {version, dates, units, older}, the oldest first.
// Units that report no version come before all others. `older`: the model has a later version at this site.
export function firmwareByModel(site) {
  return group(site.units, 'UNIT.MODEL').map(([model, own]) => {
    const versions = group(own, 'UNIT.FIRMWARE');
    return {
      model,
      versions: versions.map(([version, units], at) => ({
        version,
        dates: group(units, 'UNIT.FIRMWARE_DATE')
          .map(([date]) => date)
          .filter(Boolean),
        units: sorted(units, nameOf),
        older: version !== '' && at < versions.length - 1,
      })),
    };
  });
}

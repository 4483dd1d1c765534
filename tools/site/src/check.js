// site check: what would be sent, and what is wrong with it. Nothing is sent.

import { UsageError } from './command_line.js';
import { forEachUnit } from './discover.js';
import { readFile } from './files.js';
import { draftFromBytes, planOf, siteFromFile, statusOf, tellPlan } from './plan.js';

async function siteFor(address, options) {
  if (options.against) return { site: siteFromFile(options.against) };
  const { results, result } = await forEachUnit([address], options, async (unit) => {
    const site = await (options.last ? unit.lastSite() : unit.discover());
    if (!site) throw new Error('The unit has not discovered its site yet.');
    if (!site.keys.includes('UNIT.SERIAL'))
      throw new Error('The unit’s discovery has no column UNIT.SERIAL.');
    return site;
  });
  return { site: results[0], result };
}

export async function check([file, address], options) {
  if ([address, options.against].filter(Boolean).length !== 1)
    throw new UsageError('check needs the URL of a unit, or --against FILE');
  const bytes = readFile(file); // before a unit is asked: a discovery stops its video
  const { site, result } = await siteFor(address, options);
  if (!site) return result;
  const plan = planOf(draftFromBytes(bytes, site), site, options);
  tellPlan(plan, options.json);
  return statusOf(plan);
}

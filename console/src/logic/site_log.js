// Progress of a mass update, from the site log that the unit writes as it goes and the result lines of its answer.
//
// A record is {state, reason}. States: `waiting`, `sent` (the settings are out), `saved`, `rebooting`, `ok`, `fail`,
// `self` (the unit's own record), `skipped` (the unit found it to share an identity) and `unsent` (the update ended before
// its turn).

export const longestSilence = 20; // seconds without a line, while a unit may take 15 to answer

const started = /^ Starting send_csv_to_devices\(\)\.\.\.(\d+) $/;
const turns = [
  [/^ {2}Calling send_device_update\((\d+)\)\.\.\. $/, { state: 'sent', reason: 'not-sent' }],
  [/^ {2}Skipping send_device_update\((\d+)\) this is ME\.\.\. $/, { state: 'self', reason: '' }],
  [
    /^ {2}Skipping send_device_update\((\d+)\)\.\.\. Duplicate Data Detected/,
    { state: 'skipped', reason: 'duplicate' },
  ],
];

// What the exchange with a unit says, and what the record's failure is unless more follows.
const inside = ' Inside handle_device_update_reply() ';
const steps = [
  ['0', { state: 'sent', reason: 'no-answer' }],
  ['No UPDATE Reply', { state: 'fail', reason: 'no-answer' }],
  ['Got Reply A: ', { state: 'sent', reason: 'refused' }],
  ['UPDATE Reply FAILED ', { state: 'fail', reason: 'refused' }],
  ['SAVE Send FAILED ', { state: 'fail', reason: 'save-not-sent' }],
  ['Sent SAVE', { state: 'sent', reason: 'no-save' }],
  ['Got Reply B: ', { state: 'saved', reason: 'reboot-not-sent' }],
  ['SAVE Reply FAILED ', { state: 'fail', reason: 'save-refused' }],
  ['Sent REBOOT', { state: 'rebooting', reason: 'no-reboot' }],
  ['Got Reply C', { state: 'ok', reason: '' }],
];

const unclear = { state: 'fail', reason: 'unclear' };
const waiting = { state: 'waiting', reason: '' };
export const isEnded = ({ state }) => ['ok', 'fail', 'self', 'skipped', 'unsent'].includes(state);
const settle = (record) => (isEnded(record) ? record : { ...record, state: 'fail' });
const settleAtEnd = (record) =>
  record.state === 'waiting' ? { state: 'unsent', reason: 'not-reached' } : settle(record);

// Reads a site log, be it still growing. Records come in their order, so a line that names any other one is a unit's own
// text. So is an exchange that went well without the message to the record's serial, where `serials` are given. Returns
// {total, records}, total null for what is no site log.
export function readSiteLog(text, serials = null) {
  const lines = text.split('\n');
  const head = started.exec(lines[0]);
  if (!head) return { total: null, records: [] };
  const records = Array.from({ length: Number(head[1]) }, () => waiting);
  let current = -1;
  let named = false;
  for (const line of lines.slice(1, text.endsWith('\n') ? undefined : -1)) {
    const turn = turns.map(([form, record]) => [form.exec(line), record]).find(([found]) => found);
    if (turn && Number(turn[0][1]) === current + 1 && current + 1 < records.length) {
      if (current >= 0) records[current] = settle(records[current]);
      current += 1;
      named = serials === null;
      [, records[current]] = turn;
    } else if (line.startsWith(`CMD=START&UNIT.ID=${serials?.[current]}&`)) {
      named = true;
    } else if (line.startsWith(inside) && current >= 0 && !isEnded(records[current])) {
      const step = steps.find(([words]) => line.startsWith(words, inside.length));
      if (step) [, records[current]] = step;
      if (records[current].state === 'ok' && !named) records[current] = unclear;
    }
  }
  return { total: records.length, records };
}

// Whether the log is of an update, and has the end of each of its records.
export function isWhole(text) {
  const { total, records } = readSiteLog(text);
  return total !== null && records.every(isEnded);
}

// Web servers may know the size that a file had a second ago, so the end of a log is read so many seconds after an update.
export const readsAfterwards = 4;

// Whether a log {version, modified} was begun after a look at the one before, {version, modified, age} or null. One that
// was only longer than it looked was not: a unit discovers for seconds before it begins a log.
export const isNewLog = (log, before) =>
  log.version !== before?.version &&
  !(Date.parse(log.modified) <= Date.parse(before?.modified) + before?.age * 1000);

// Returns {total, done} of the update that writes this log, null when it has ended, or when nothing was written in the
// `age` seconds before.
export function updateUnderWay(text, age) {
  const { total, records } = readSiteLog(text);
  const done = records.filter(isEnded).length;
  return total !== null && done < total && age <= longestSilence ? { total, done } : null;
}

// Puts the result lines of the answer over what the log says; `over` settles what neither has ended. The lines decide:
// they are written by this unit alone.
export function applyResults(records, lines, over) {
  const result = over ? records.map(settleAtEnd) : [...records];
  for (const line of lines) {
    const update = /^Update Device #(\d+) @ .* Result is (OK|FAIL)$/.exec(line);
    const self = /^Skipping Myself #(\d+) $/.exec(line);
    const at = Number((update ?? self)?.[1] ?? -1);
    if (at < 0 || at >= result.length) continue;
    if (self) result[at] = { state: 'self', reason: '' };
    else if (update[2] === 'OK') result[at] = { state: 'ok', reason: '' };
    else result[at] = { state: 'fail', reason: result[at].reason };
  }
  return result;
}

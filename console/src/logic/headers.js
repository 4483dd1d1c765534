// Headers as people write them: where the header line of a file is, and which setting a header means.

import { acceptedKey } from './class_rules.js';
import { mostTitles } from './spreadsheet_csv.js';

const plain = (text) => text.toLowerCase().replace(/[^\p{L}\p{N}]/gu, '');

// What keys are called in many spreadsheets.
const otherNames = {
  'UNIT.SERIAL': ['serialnumber', 'serialno', 'serialnr', 'sn', 'seriennummer'],
  'UNIT.ID': ['id', 'unitname', 'devicename', 'hostname'],
  'IP.STATIC_ADDRESS': ['ip', 'ipaddress', 'newaddress'],
  'IP.STATIC_NETMASK': ['netmask', 'subnetmask', 'mask'],
  'IP.STATIC_GATEWAY': ['gateway', 'defaultgateway', 'router'],
};

// Returns the key that a header most likely means, '' when none or several fit: one with the same letters and digits, one
// that is called so in spreadsheets, or the only one whose last part is the header.
export function suggestedKey(header, keys) {
  const name = plain(header);
  if (name === '') return '';
  const only = (found) => (found.length === 1 ? found[0] : '');
  return (
    only(keys.filter((key) => plain(key) === name)) ||
    only(keys.filter((key) => otherNames[key]?.includes(name))) ||
    only(keys.filter((key) => plain(key.slice(key.indexOf('.') + 1)) === name))
  );
}

// Returns the index of the header line among lines of texts: the first one with the most names of settings. Titles may be
// above it.
export function headerLine(lines, keys) {
  const scores = lines
    .slice(0, mostTitles + 1)
    .map(
      (cells) => cells.filter((cell) => acceptedKey(cell.trim(), keys) || suggestedKey(cell, keys)).length,
    );
  return Math.max(0, scores.indexOf(Math.max(...scores)));
}

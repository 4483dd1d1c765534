// A unit by its name, which leads to its page. This unit itself is marked wherever it is named.

import { isAddress } from '../logic/addresses.js';
import { keyOf, nameOf } from '../logic/site.js';
import { texts } from '../texts.js';

export const isOwn = (unit, ownSerial) => ownSerial !== '' && unit.values['UNIT.SERIAL'] === ownSerial;

// With the blank between it and what it marks.
export const OwnMark = ({ when }) =>
  when ? (
    <>
      {' '}
      <span class="mark own">{texts.thisUnit}</span>
    </>
  ) : null;

// The name as a text, for places where no link can be.
export const titleOf = (unit, ownSerial) =>
  isOwn(unit, ownSerial) ? `${nameOf(unit)} (${texts.thisUnit})` : nameOf(unit);

// `text` is shown instead of the name.
export function UnitLink({ unit, ownSerial, text = nameOf(unit) }) {
  return (
    <>
      <a href={`#details/${encodeURIComponent(keyOf(unit))}`}>{text || texts.noName}</a>
      <OwnMark when={isOwn(unit, ownSerial)} />
    </>
  );
}

// The unit's own pages, in a tab of their own; nothing where its address is none.
export function ConsoleLink({ unit, children }) {
  const address = unit.values['IP.ADDRESS'] ?? '';
  if (!isAddress(address)) return null;
  return (
    <a href={`${location.protocol}//${address}/`} target="_blank" rel="noopener noreferrer">
      {children}
    </a>
  );
}

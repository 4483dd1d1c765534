// Which unit a page, or a dialog, is about: the one that serves the console.

import { attempt, identify } from '../actions.js';
import { useStore } from '../store.js';
import { visible } from '../logic/visible.js';
import { texts } from '../texts.js';
import { isOwn } from './unit_link.jsx';
import { Notice } from './widgets.jsx';

const keys = ['UNIT.ID', 'UNIT.SERIAL', 'UNIT.MODEL', 'IP.ADDRESS', 'UNIT.FIRMWARE'];

export function useOwnUnit() {
  const { site, ownSerial } = useStore();
  return site?.units.find((unit) => isOwn(unit, ownSerial)) ?? null;
}

export function OwnUnit() {
  const { activity } = useStore();
  const unit = useOwnUnit();
  if (!unit) {
    return (
      <Notice level="warn">
        {texts.unit.unknown(location.host)}{' '}
        <button type="button" disabled={activity !== null} onClick={() => attempt(identify)}>
          {texts.unit.identify}
        </button>
      </Notice>
    );
  }
  return (
    <dl class="own-unit">
      {keys.map((key, at) => (
        <div key={key}>
          <dt>{texts.unit.facts[at]}</dt>
          <dd>{visible(unit.values[key]) || '–'}</dd>
        </div>
      ))}
    </dl>
  );
}

// The name of this unit in the page's head.
export function OwnUnitName() {
  const unit = useOwnUnit();
  const name = unit
    ? [unit.values['UNIT.ID'], unit.values['UNIT.MODEL'], unit.values['IP.ADDRESS']]
    : [location.host];
  return <span class="own-name">{visible(name.filter(Boolean).join(' · '))}</span>;
}

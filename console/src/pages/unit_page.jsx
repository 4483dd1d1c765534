// Files for this unit itself. Each is checked here before a byte is sent, since the unit checks next to nothing.

import { OwnUnit } from '../parts/own_unit.jsx';
import { texts } from '../texts.js';
import { EdidCard } from './edid_card.jsx';
import { FirmwareCard } from './firmware_card.jsx';
import { SplashCard } from './splash_card.jsx';

export function UnitPage({ state: { firmware } }) {
  return (
    <section aria-labelledby="unit-heading">
      <div class="bar">
        <h2 id="unit-heading">{texts.unit.heading}</h2>
      </div>
      <OwnUnit />
      <div class="cards">
        <FirmwareCard firmware={firmware} />
        <SplashCard />
        <EdidCard />
      </div>
    </section>
  );
}

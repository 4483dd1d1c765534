// Which firmware the units have, by model, the oldest first.

import { useMemo, useState } from 'preact/hooks';
import { firmwareByModel } from '../logic/firmware.js';
import { ConsoleLink, UnitLink } from '../parts/unit_link.jsx';
import { visible } from '../logic/visible.js';
import { texts } from '../texts.js';

const words = texts.firmware;

// The units are put into the page when they are asked for: they may be thousands.
function Version({ version, dates, units, older, ownSerial }) {
  const [open, setOpen] = useState(false);
  return (
    <details onToggle={(event) => setOpen(event.target.open)}>
      <summary>
        <strong>{visible(version) || words.noVersion}</strong> <span class="hint">{dates.join(', ')}</span>{' '}
        {words.units(units.length)} {older && <span class="level check">{words.older}</span>}
      </summary>
      {open && (
        <ul>
          {units.map((unit) => (
            <li key={unit.number}>
              <UnitLink {...{ unit, ownSerial }} /> <ConsoleLink unit={unit}>{words.console}</ConsoleLink>
            </li>
          ))}
        </ul>
      )}
    </details>
  );
}

function Models({ site, ownSerial }) {
  const models = useMemo(() => firmwareByModel(site), [site]);
  const mixed = models.filter(({ versions }) => versions.length > 1).length;
  return (
    <>
      <p>
        <strong>{words.totals(models.length, mixed)}</strong>
      </p>
      <div class="cards">
        {models.map(({ model, versions }) => (
          <section key={model} class="card">
            <h3>{visible(model) || words.noModel}</h3>
            {versions.map((version) => (
              <Version key={version.version} {...version} ownSerial={ownSerial} />
            ))}
          </section>
        ))}
      </div>
    </>
  );
}

export function FirmwarePage({ state: { site, ownSerial } }) {
  return (
    <section aria-labelledby="versions-heading">
      <div class="bar">
        <h2 id="versions-heading">{words.heading}</h2>
      </div>
      {site ? <Models {...{ site, ownSerial }} /> : <p>{texts.noSite}</p>}
    </section>
  );
}

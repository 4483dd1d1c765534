// Columns of a draft whose headers name no setting, and the settings that they may be given.

import { renameColumns } from '../actions.js';
import { suggestedKey } from '../logic/headers.js';
import { Choice } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.configure.headers;

export function HeaderMap({ draft, plan, site }) {
  const unknown = plan.problems.filter(({ code }) => code === 'column-unknown').map(({ column }) => column);
  if (unknown.length === 0) return null;
  const places = draft.columns.flatMap((name, at) =>
    unknown.includes(name.trim()) ? [[at, name.trim()]] : [],
  );
  const free = site.keys.filter((key) => !plan.header.includes(key));
  const suggested = new Map(
    places.map(([at, name]) => [at, suggestedKey(name, free)]).filter(([, key]) => key !== ''),
  );
  const once = new Set(suggested.values()).size === suggested.size;
  return (
    <fieldset class="headers">
      <legend>{words.title}</legend>
      {places.map(([at, name]) => (
        <Choice
          key={at}
          label={`${name} →`}
          value=""
          options={[['', words.dropped], ...free.map((key) => [key, key])]}
          onChange={(key) => renameColumns(new Map([[at, key]]))}
        />
      ))}
      {suggested.size > 0 && once && (
        <button type="button" onClick={() => renameColumns(suggested)}>
          {words.suggest([...suggested].map(([at, key]) => `${draft.columns[at].trim()} → ${key}`))}
        </button>
      )}
    </fieldset>
  );
}

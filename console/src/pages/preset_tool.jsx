// Presets: one value for all units of a kind, remembered to be used again.

import { useState } from 'preact/hooks';
import { putIntoDraft } from '../actions.js';
import { isSettable, settingsOfPreset } from '../logic/presets.js';
import { Choice, Menu } from '../parts/widgets.jsx';
import { recall, remember } from '../store.js';
import { texts } from '../texts.js';

const words = texts.configure.presets;
const usual = [{ kind: 'decoders', key: 'AUDIO.MUTE', value: 'FALSE' }];

// `units` are those of the rows shown; settings go into all of them that take the preset.
export function PresetTool({ units, keys }) {
  const [presets, setPresets] = useState(recall('presets') ?? usual);
  const settable = keys.filter(isSettable);
  const [made, setMade] = useState({ kind: 'decoders', key: settable[0], value: '' });
  const keepPresets = (changed) => {
    remember('presets', changed);
    setPresets(changed);
  };
  return (
    <Menu title={words.title} form>
      {presets.map((preset, at) => {
        const settings = settingsOfPreset(units, preset);
        return (
          <div key={at} class="bar">
            <button type="button" disabled={settings.length === 0} onClick={() => putIntoDraft(settings)}>
              {words.name(preset)} ({settings.length})
            </button>
            <button
              type="button"
              aria-label={words.forget(preset)}
              onClick={() => keepPresets(presets.filter((other) => other !== preset))}
            >
              ✕
            </button>
          </div>
        );
      })}
      <Choice
        label={words.kind}
        value={made.kind}
        options={Object.entries(words.kinds)}
        onChange={(kind) => setMade({ ...made, kind })}
      />
      <Choice
        label={texts.configure.fillColumn}
        value={made.key}
        options={settable.map((key) => [key, key])}
        onChange={(key) => setMade({ ...made, key })}
      />
      <label>
        {words.value}{' '}
        <input value={made.value} onInput={(event) => setMade({ ...made, value: event.target.value })} />
      </label>
      <button type="button" disabled={made.value === ''} onClick={() => keepPresets([...presets, made])}>
        {words.add}
      </button>
    </Menu>
  );
}

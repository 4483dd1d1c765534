// Light or dark, as the system has it or as the user wants it. The style sheet knows only what is shown.

import { useState } from 'preact/hooks';
import { recall, remember } from '../store.js';
import { texts } from '../texts.js';
import { Choice } from './widgets.jsx';

const systemIsDark = matchMedia('(prefers-color-scheme: dark)');
let wanted = recall('theme') ?? 'system';

function show() {
  const system = systemIsDark.matches ? 'dark' : 'light';
  document.documentElement.dataset.theme = wanted === 'system' ? system : wanted;
}
systemIsDark.addEventListener('change', show);
show();

export function ThemeChoice() {
  const [value, setValue] = useState(wanted);
  const choose = (theme) => {
    wanted = theme;
    remember('theme', theme);
    show();
    setValue(theme);
  };
  return (
    <Choice label={texts.theme} value={value} options={Object.entries(texts.themes)} onChange={choose} />
  );
}

// Of what shape the values of a setting are, for a value that no unit has the like of: a text where all have numbers.

const shapes = [
  ['address', /^\d{1,3}(\.\d{1,3}){3}$/],
  ['number', /^\d+$/],
  ['negative', /^-\d+([.,]\d+)?$/],
  ['decimal', /^\d+[.,]\d+$/],
  ['true-false', /^(true|false)$/i],
  ['on-off', /^(on|off)$/i],
  ['yes-no', /^(yes|no)$/i],
];

// A text is of no shape: anything may be one.
const shapeOf = (value) => shapes.find(([, form]) => form.test(value))?.[0] ?? 'text';

const known = new WeakMap(); // of each site, by key

// The shapes that the units of a site report for a key, none when one of them reports a text.
function shapesOf(site, key) {
  if (!known.has(site)) known.set(site, new Map());
  const byKey = known.get(site);
  if (!byKey.has(key)) {
    const found = new Set(
      site.units
        .map(({ values }) => values[key])
        .filter(Boolean)
        .map(shapeOf),
    );
    byKey.set(key, found.has('text') ? [] : [...found]);
  }
  return byKey.get(key);
}

// The shapes of a key's values on the site when this value has none of them, else none.
export function otherShapes(site, key, value) {
  const found = shapesOf(site, key);
  return found.includes(shapeOf(value)) ? [] : found;
}

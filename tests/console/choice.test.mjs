// Which units a table shows, and which are selected.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { passing, selectedAfter, sorted } from '../../console/src/logic/choice.js';

// What a filter hides is not configured, so a unit that it misses is forgotten.
test('items are chosen by kind and by a text in any cell', () => {
  const items = [
    { kind: { encoder: true }, marks: ['id'], texts: () => ['Hall 3', undefined] },
    { kind: { decoder: true }, marks: [], texts: () => ['x', 'HALL 10'] },
    { kind: {}, marks: [], texts: () => ['y'] },
  ];
  const table = [
    ['all', '', '0,1,2'],
    ['all', ' hall ', '0,1'],
    ['encoders', '', '0'],
    ['decoders', 'y', ''],
    ['conflicts', '', '0'],
  ];
  for (const [kind, filter, expected] of table) {
    const shown = items.filter(passing({ kind, filter }));
    assert.equal(shown.map((item) => items.indexOf(item)).join(), expected, `${kind} ${filter}`);
  }
  assert.deepEqual(sorted(['10', '9', '', '9a'], 'down', String), ['10', '9a', '9', '']);
});

// Only selected units are configured. A range must not reach one that is not shown.
test('a click with Shift selects, or gives up, all from the click before', () => {
  const list = ['a', 'b', 'c', 'd', 'e'];
  const table = [
    ['', 2, 2, 'c'],
    ['c', 2, 2, ''],
    ['c', 4, 2, 'cde'],
    ['c', 0, 2, 'cab'],
    ['abcd', 1, 3, 'a'],
    ['z', 0, 0, 'za'], // one that is not shown stays
  ];
  for (const [before, at, from, after] of table) {
    assert.equal(
      [...selectedAfter(new Set(before), list, at, from)].join(''),
      after,
      `${before} ${at} ${from}`,
    );
  }
});

// What a draft would do: its problems, its files, and the way to the run.

import { useState } from 'preact/hooks';
import { runUpdate } from '../actions.js';
import { CancelButton, Check, Dialog, DownloadButton, stamp } from '../parts/widgets.jsx';
import { texts } from '../texts.js';

const words = texts.configure;
const mostProblems = 100; // that are listed

// 2, 3, 4, 7 become "2–4, 7".
function rowRanges(rows) {
  const ranges = [];
  for (const row of rows) {
    const last = ranges.at(-1);
    if (last && row === last[1] + 1) last[1] = row;
    else ranges.push([row, row]);
  }
  return ranges.map(([from, to]) => (from === to ? `${from}` : `${from}–${to}`)).join(', ');
}

function ProblemTable({ problems, goTo }) {
  if (problems.length === 0) return <p>{words.noProblems}</p>;
  return (
    <div class="problems" tabIndex={0} role="region" aria-label={words.problemsTable}>
      <table>
        <thead>
          <tr>
            {words.problemColumns.map((title) => (
              <th key={title} scope="col">
                {title || <span class="hidden">{words.problemsTable}</span>}
              </th>
            ))}
          </tr>
        </thead>
        <tbody>
          {problems.slice(0, mostProblems).map((problem, at) => (
            <tr key={at} class={problem.level}>
              <td>
                <span class={`level ${problem.level}`}>{words.levels[problem.level]}</span>
              </td>
              <td>
                {problem.rows.length > 0 && (
                  <button type="button" class="link" onClick={() => goTo(problem)}>
                    {rowRanges(problem.rows)}
                  </button>
                )}
              </td>
              <td>{problem.column}</td>
              <td>{words.problem(problem)}</td>
            </tr>
          ))}
        </tbody>
      </table>
      {problems.length > mostProblems && <p>{words.more(problems.length - mostProblems)}</p>}
    </div>
  );
}

function Confirmation({ plan, onCancel }) {
  const leftOut = plan.problems.filter(({ level }) => level === 'warn').length;
  const [seen, setSeen] = useState(leftOut === 0);
  const go = () => {
    onCancel();
    runUpdate(plan);
  };
  return (
    <Dialog title={words.confirm(plan.sending.length)} onCancel={onCancel}>
      <p>
        <strong>{words.summary(plan)}</strong>
      </p>
      <p>{words.confirmText}</p>
      {leftOut > 0 && <Check label={words.confirmLeftOut(leftOut)} checked={seen} onChange={setSeen} />}
      <div class="bar">
        <button type="button" class="main danger" disabled={!seen} onClick={go}>
          {words.confirmGo}
        </button>
        <CancelButton onClick={onCancel} />
      </div>
    </Dialog>
  );
}

export function PreflightPanel({ plan, goTo, busy }) {
  const [asking, setAsking] = useState(false);
  return (
    <section aria-labelledby="preflight-heading">
      <h3 id="preflight-heading">{words.preflight}</h3>
      <p role="status">
        <strong>{words.summary(plan)}</strong>
      </p>
      <ProblemTable problems={plan.problems} goTo={goTo} />
      <div class="bar">
        <button
          type="button"
          class="main"
          disabled={plan.text === '' || busy}
          onClick={() => setAsking(true)}
        >
          {words.send(plan.sending.length)}
        </button>
        {plan.text !== '' && (
          <DownloadButton name={`import-${stamp()}.csv`} content={() => plan.text}>
            {words.sentCsv}
          </DownloadButton>
        )}
        {plan.undo !== '' && (
          <DownloadButton name={`undo-${stamp()}.csv`} content={() => plan.undo}>
            {words.undoCsv}
          </DownloadButton>
        )}
        {plan.lost > 0 && <span class="hint">{words.lost(plan.lost)}</span>}
      </div>
      {asking && <Confirmation plan={plan} onCancel={() => setAsking(false)} />}
    </section>
  );
}

// The console: its pages, and the line that says what the unit is doing.

import { render } from 'preact';
import { useEffect } from 'preact/hooks';
import { attempt, draftIsSafe, findFirmware, loadSite, restoreDraft } from './actions.js';
import { ConfigurePage } from './pages/configure_page.jsx';
import { DetailsPage } from './pages/details_page.jsx';
import { FirmwareBanner } from './pages/firmware_card.jsx';
import { FirmwarePage } from './pages/firmware_page.jsx';
import { ListingsPage } from './pages/listings_page.jsx';
import { SnapshotsPage } from './pages/snapshots_page.jsx';
import { StreamsPage } from './pages/streams_page.jsx';
import { UnitPage } from './pages/unit_page.jsx';
import { UnitsPage } from './pages/units_page.jsx';
import { OwnUnitName } from './parts/own_unit.jsx';
import { ThemeChoice } from './parts/theme.jsx';
import { ErrorNotice, Notice } from './parts/widgets.jsx';
import { watchPlace } from './place.js';
import { findRuns, watchOthers } from './runs.js';
import { get, recall, set, useStore } from './store.js';
import { texts } from './texts.js';

const pages = {
  units: UnitsPage,
  details: DetailsPage,
  streams: StreamsPage,
  firmware: FirmwarePage,
  snapshots: SnapshotsPage,
  configure: ConfigurePage,
  unit: UnitPage,
  listings: ListingsPage,
};

const inNavigation = Object.entries(texts.pages).filter(([name]) => name !== 'details');

function Activity({ activity, firmware }) {
  const installing = firmware && firmware.seen !== 'back';
  return (
    <p id="activity" role="status" class={activity || installing ? 'busy' : ''}>
      {activity ? texts.activity(activity) : installing ? texts.installing : texts.idle}
    </p>
  );
}

function Skip() {
  const skip = (event) => {
    event.preventDefault();
    document.getElementById('main').focus();
  };
  return (
    <a class="skip" href="#main" onClick={skip}>
      {texts.skip}
    </a>
  );
}

function Head({ page, activity, firmware }) {
  return (
    <header>
      <h1>{texts.title}</h1>
      <nav aria-label={texts.title}>
        {inNavigation.map(([name, title]) => (
          <a key={name} href={`#${name}`} aria-current={name === page ? 'page' : undefined}>
            {title}
          </a>
        ))}
      </nav>
      <OwnUnitName />
      <Activity {...{ activity, firmware }} />
      <ThemeChoice />
    </header>
  );
}

// What has the focus may go: a row that is scrolled away, a button whose work is done. The page takes the focus then, so
// that keys and screen readers go on from there.
function keepFocus() {
  let last = null;
  const look = () => {
    if (!last || last.isConnected || document.activeElement !== document.body) return;
    last = null;
    document.getElementById('main').focus({ preventScroll: true });
  };
  addEventListener('focusin', ({ target }) => (last = target));
  // A click that makes something go gives the focus to something else first.
  new MutationObserver(() => setTimeout(look)).observe(document.body, { childList: true, subtree: true });
}

// The page of uploads stays while another one is shown: they go on.
function Console() {
  const state = useStore();
  const { page, topic } = state;
  useEffect(() => {
    document.title = `${texts.pages[page]} – ${texts.title}`;
  }, [page]);
  return (
    <>
      <Skip />
      <Head page={page} activity={state.activity} firmware={state.firmware} />
      <main id="main" tabIndex={-1}>
        {state.firmware && <FirmwareBanner firmware={state.firmware} />}
        {state.others && state.run?.step !== 'waiting' && (
          <Notice level="warn">{texts.others(state.others)}</Notice>
        )}
        <ErrorNotice text={state.notice?.text} />
        {Object.entries(pages).map(([name, Page]) => (
          <div key={name} hidden={name !== page}>
            {(name === page || name === 'unit') && <Page state={state} topic={topic} />}
          </div>
        ))}
      </main>
    </>
  );
}

addEventListener('beforeunload', (event) => {
  const { activity, firmware, run } = get();
  const installing = firmware && firmware.seen !== 'back';
  const sends = activity || run?.step === 'waiting' || run?.until;
  if (sends || installing || !draftIsSafe()) event.preventDefault();
});
// A file dropped beside its place would replace the page.
for (const name of ['dragover', 'drop']) addEventListener(name, (event) => event.preventDefault());
watchPlace();
render(<Console />, document.body);
keepFocus();
attempt(loadSite).then(() => attempt(findRuns));
attempt(restoreDraft);
findFirmware();
set({ ownSerial: recall('ownSerial') ?? '' });
watchOthers();

// The console: its pages, and the line that tells what the unit is doing.

import { render } from 'preact';
import { useEffect, useState } from 'preact/hooks';
import { attempt, loadSite, resumeRun } from './actions.js';
import { ConfigurePage } from './pages/configure_page.jsx';
import { ListingsPage } from './pages/listings_page.jsx';
import { StreamsPage } from './pages/streams_page.jsx';
import { UnitPage } from './pages/unit_page.jsx';
import { UnitsPage } from './pages/units_page.jsx';
import { ThemeChoice } from './parts/theme.jsx';
import { ErrorNotice } from './parts/widgets.jsx';
import { get, set, useStore } from './store.js';
import { texts } from './texts.js';

const pages = {
  units: UnitsPage,
  streams: StreamsPage,
  configure: ConfigurePage,
  unit: UnitPage,
  listings: ListingsPage,
};
const pageOfAddress = () => (Object.hasOwn(pages, location.hash.slice(1)) ? location.hash.slice(1) : 'units');

function Activity({ activity }) {
  return (
    <p id="activity" role="status" class={activity ? 'busy' : ''}>
      {activity ? texts.activity(activity) : texts.idle}
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

function Head({ page, activity }) {
  return (
    <header>
      <h1>{texts.title}</h1>
      <nav aria-label={texts.title}>
        {Object.entries(texts.pages).map(([name, title]) => (
          <a key={name} href={`#${name}`} aria-current={name === page ? 'page' : undefined}>
            {title}
          </a>
        ))}
      </nav>
      <Activity activity={activity} />
      <ThemeChoice />
    </header>
  );
}

function usePage() {
  const [page, setPage] = useState(pageOfAddress);
  useEffect(() => {
    const onHash = () => {
      set({ notice: null });
      setPage(pageOfAddress());
    };
    addEventListener('hashchange', onHash);
    return () => removeEventListener('hashchange', onHash);
  }, []);
  useEffect(() => {
    document.title = `${texts.pages[page]} – ${texts.title}`;
  }, [page]);
  return page;
}

// The page of uploads stays while another one is shown: they go on.
function Console() {
  const state = useStore();
  const page = usePage();
  return (
    <>
      <Skip />
      <Head page={page} activity={state.activity} />
      <main id="main" tabIndex={-1}>
        <ErrorNotice text={state.notice?.text} />
        {Object.entries(pages).map(([name, Page]) => (
          <div key={name} hidden={name !== page}>
            {(name === page || name === 'unit') && <Page state={state} />}
          </div>
        ))}
      </main>
    </>
  );
}

addEventListener('beforeunload', (event) => {
  if (get().activity || get().earlierDrafts.length > 0) event.preventDefault();
});
// A file dropped beside its place would replace the page.
for (const name of ['dragover', 'drop']) addEventListener(name, (event) => event.preventDefault());
render(<Console />, document.body);
attempt(loadSite);
attempt(resumeRun);

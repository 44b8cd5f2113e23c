import '@fontsource-variable/figtree/wght.css';
import 'maplibre-gl/dist/maplibre-gl.css';
import 'uplot/dist/uPlot.min.css';
import './styles/page.css';

import { render } from 'preact';
import { useEffect, useRef, useState } from 'preact/hooks';
import { useWords } from './i18n/texts';
import { MapPane } from './map/map_pane';
import { ChangesPanel } from './panels/changes_panel';
import { LinePanel } from './panels/line_panel';
import { Overview } from './panels/overview';
import { ScoresPanel } from './panels/scores_panel';
import { SourcesPanel } from './panels/sources_panel';
import { StopPanel } from './panels/stop_panel';
import { TripPanel, VehiclePanel } from './panels/vehicle_panel';
import { go_live, status } from './state/live';
import { hash_of, select, selection, type PanelName, type Selection } from './state/selection';
import { useStore } from './state/store';
import { Banner } from './ui/banner';
import { SearchBox } from './ui/search_box';
import { Sheet, type SheetSize } from './ui/sheet';
import { Toolbar } from './ui/toolbar';

function NamedPanel({ name }: { name: PanelName }) {
  switch (name) {
    case 'scores': return <ScoresPanel />;
    case 'sources': return <SourcesPanel />;
    case 'changes': return <ChangesPanel />;
  }
}

function PanelContent({ shown }: { shown: Selection }) {
  switch (shown?.kind) {
    case 'vehicle': return <VehiclePanel key={shown.id} id={shown.id} />;
    case 'trip': return <TripPanel key={shown.id} id={shown.id} />;
    case 'stop': return <StopPanel key={shown.id} id={shown.id} />;
    case 'line': return <LinePanel key={shown.id} id={shown.id} />;
    case 'panel': return <NamedPanel name={shown.id} />;
    default: return <Overview />;
  }
}

/** Moves the focus to what has been opened, and on closing back to the link that it was opened by. */
function useFocusOnOpening(shown: Selection): void {
  const before = useRef<Selection>(shown);
  useEffect(() => {
    if (before.current === shown) return;
    const opener = shown === null ? hash_of(before.current) : '';
    before.current = shown;
    const links = [...document.querySelectorAll<HTMLElement>('.panel a')];
    const link = opener ? links.find((one) => one.getAttribute('href') === opener) : undefined;
    const title = document.querySelector<HTMLElement>('[data-panel-title]');
    (link ?? title)?.focus({ preventScroll: !link });
  }, [shown]);
}

function Page() {
  const words = useWords();
  const shown = useStore(selection);
  const city = useStore(status)?.city;
  const [size, setSize] = useState<SheetSize>('half');
  useFocusOnOpening(shown);
  useEffect(() => {
    document.title = city ? `${city} · qiv` : 'qiv';
  }, [city]);
  useEffect(() => {
    if (shown) setSize((before) => (before === 'peek' ? 'half' : before));
  }, [shown]);
  useEffect(() => {
    const onKey = (event: KeyboardEvent) => {
      if (event.key === 'Escape' && selection.get()) select(null);
    };
    document.addEventListener('keydown', onKey);
    return () => document.removeEventListener('keydown', onKey);
  }, []);
  return (
    <>
      <a class="skip" href="#panel-content" onClick={(event) => {
        event.preventDefault();
        document.querySelector<HTMLElement>('[data-panel-title]')?.focus();
      }}>{words.say('skip_to_panel')}</a>
      <header class="top">
        <a class="brand" href="#" onClick={(event) => { event.preventDefault(); select(null); }} aria-label={`qiv · ${words.say('overview')}`}>
          <img src="icon.svg" alt="" width="30" height="30" />
        </a>
        <SearchBox />
      </header>
      <Toolbar />
      <Banner />
      <Sheet size={size} onSize={setSize}>
        <PanelContent shown={shown} />
      </Sheet>
      <MapPane />
    </>
  );
}

go_live();
render(<Page />, document.getElementById('page')!);

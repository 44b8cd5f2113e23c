import { useWords, type Words } from '../i18n/texts';
import { class_limits_s, lateness_class, lateness_classes, type LatenessClass } from '../map/lateness';
import { fleet } from '../state/fleet';
import { changes, clock, status, ticks } from '../state/live';
import { useStore } from '../state/store';
import { long_date } from '../ui/times';
import { Icon } from '../ui/icons';
import { changes_in } from './changes_panel';
import { VehicleList } from './vehicle_list';

export function range_of(kind: LatenessClass, words: Words): string {
  const minutes = (seconds: number) => Math.abs(seconds) / 60;
  const limits = class_limits_s;
  switch (kind) {
    case 'early': return words.say('range_early', { a: minutes(limits.on_time) });
    case 'on_time': return words.say('range_on_time', { a: minutes(limits.late) });
    case 'late': return words.say('range_between', { a: minutes(limits.late), b: minutes(limits.very_late) });
    case 'very_late': return words.say('range_between', { a: minutes(limits.very_late), b: minutes(limits.lost) });
    case 'lost': return words.say('range_beyond', { a: minutes(limits.lost) });
    case 'unknown': return words.say('range_unknown');
  }
}

/** The network as a whole: what is on the road, how late it is, and where to go on from. */
export function Overview() {
  const words = useWords();
  useStore(ticks);
  const now = useStore(status);
  if (!now) return <p class="quiet pad" role="status">{words.say('loading')}</p>;
  const by = now.vehicles.by;
  const on_trip = by.under_way + by.waiting + by.at_terminus;
  return (
    <>
      <header class="overview-head">
        <p class="eyebrow">{clock.known() ? long_date(clock.now_s(), words.locale) : ''}</p>
        <h2 tabIndex={-1} data-panel-title>{now.city}</h2>
        <dl class="figures">
          <div><dt>{words.count('on_the_road', on_trip)}</dt><dd>{words.number(on_trip)}</dd></div>
          <div><dt>{words.count('trips_forecast', now.trips.total)}</dt><dd>{words.number(now.trips.total)}</dd></div>
          <div><dt>{words.count('all_vehicles', now.vehicles.total)}</dt><dd>{words.number(now.vehicles.total)}</dd></div>
        </dl>
      </header>
      <LatenessSection />
      <nav class="doors" aria-label={words.say('overview')}>
        <a href="#panel=scores"><Icon name="chart" /><span>{words.say('accuracy')}</span><Icon name="chevron" /></a>
        <a href="#panel=sources"><Icon name="source" /><span>{words.say('sources')}</span><Icon name="chevron" /></a>
        <ChangesDoor />
      </nav>
      <VehicleList line={null} />
    </>
  );
}

/** The way to what the agency says, where it says anything. */
function ChangesDoor() {
  const words = useWords();
  const said = useStore(changes);
  if (!said?.heard) return null;
  return (
    <a href="#panel=changes" class="wide">
      <Icon name="notice" />
      <span>{words.say('changes')}</span>
      <b>{words.number(changes_in(said))}</b>
      <Icon name="chevron" />
    </a>
  );
}

/** The legend of the map, and how many there are of each class. */
function LatenessSection() {
  const words = useWords();
  const counts = new Map<LatenessClass, number>();
  for (const vehicle of fleet.vehicles.values()) {
    const kind = lateness_class(vehicle.lateness_s);
    counts.set(kind, (counts.get(kind) ?? 0) + 1);
  }
  const total = Math.max(1, fleet.vehicles.size);
  return (
    <section aria-labelledby="lateness-title">
      <div class="section-head"><h3 id="lateness-title">{words.say('lateness')}</h3></div>
      <div class="share-bar" aria-hidden="true">
        {lateness_classes.map((kind) => (
          <i key={kind} class={`late-${kind}`} style={{ flexGrow: (counts.get(kind) ?? 0) / total }} />
        ))}
      </div>
      <ul class="legend">
        {lateness_classes.map((kind) => (
          <li key={kind} class={`late-${kind}`} title={range_of(kind, words)}>
            <i aria-hidden="true" />
            <span>{words.say(kind)}<small>{range_of(kind, words)}</small></span>
            <b>{words.number(counts.get(kind) ?? 0)}</b>
          </li>
        ))}
      </ul>
      <p class="quiet small">{words.say('between_reports')}</p>
    </section>
  );
}

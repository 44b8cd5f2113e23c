import type { ComponentChildren } from 'preact';
import { useState } from 'preact/hooks';
import type { AddedTrip, Alert, ChangedTrip, Changes, Informed } from '../api/types';
import { segment } from '../api/client';
import { useWords } from '../i18n/texts';
import { changes } from '../state/live';
import { network } from '../state/network';
import { useStore } from '../state/store';
import { Icon } from '../ui/icons';
import { LineBadge } from '../ui/line_badge';
import { RovingList } from '../ui/roving_list';
import { service_day, time_of_day } from '../ui/times';
import { effect_of } from './alerts';
import { PanelHead } from './panel_head';
import { Reasons } from './reasons';

const few = 20;

const is_canceled = (trip: ChangedTrip) => trip.canceled;
const is_skipping = (trip: ChangedTrip) => !trip.canceled && trip.skipped_stops.length > 0;

/** How many things differ from the timetable. */
export function changes_in(said: Changes): number {
  return said.alerts.length + said.added.length + said.trips.filter((trip) => is_canceled(trip) || is_skipping(trip)).length;
}

/** How the service differs from the timetable, as the agency says. */
export function ChangesPanel() {
  const words = useWords();
  const said = useStore(changes);
  return (
    <>
      <PanelHead kind={words.say('overview')} title={words.say('changes')}>
        <p class="quiet">{words.say('changes_lead')}</p>
      </PanelHead>
      {!said && <p class="quiet pad" role="status">{words.say('loading')}</p>}
      {said && changes_in(said) === 0 && <p class="note">{words.say('changes_none')}</p>}
      {said && (
        <>
          <Some title={words.say('alerts')} of={said.alerts} row={(alert) => <AlertRow key={alert.alert_id} alert={alert} />} />
          <Some title={words.say('canceled_trips')} of={said.trips.filter(is_canceled)}
            row={(trip) => <TripRow key={trip.trip} trip={trip} />} />
          <Some title={words.say('skipping_trips')} of={said.trips.filter(is_skipping)}
            row={(trip) => <TripRow key={trip.trip} trip={trip} />} />
          <Some title={words.say('added_trips')} of={said.added} row={(trip) => <AddedRow key={trip.trip_id} trip={trip} />} />
          <Reasons reasons={said.not_used} />
        </>
      )}
    </>
  );
}

/** A section with the first of these, and a button for all; nothing where there are none. */
function Some<T>({ title, of, row }: { title: string; of: T[]; row: (one: T) => ComponentChildren }) {
  const words = useWords();
  const [all, setAll] = useState(false);
  if (of.length === 0) return null;
  return (
    <section aria-label={title} class="changes">
      <div class="section-head"><h3>{title} <small>{words.number(of.length)}</small></h3></div>
      <RovingList label={title} class="rows">{of.slice(0, all ? of.length : few).map(row)}</RovingList>
      {!all && of.length > few && (
        <button type="button" class="wide-button" onClick={() => setAll(true)}>
          {words.say('show_all', { n: words.number(of.length) })}
        </button>
      )}
    </section>
  );
}

function TripRow({ trip }: { trip: ChangedTrip }) {
  const words = useWords();
  const when = trip.departure === null ? '' : ` ${time_of_day(trip.departure, words.locale)}`;
  const stops = trip.skipped_stops.map((stop) => stop.stop_name ?? stop.stop_id).join(', ');
  const notes = [`${service_day(trip.start_date, words.locale)}${when}`];
  if (trip.contradicted) notes.push(words.say('runs_all_the_same'));
  if (is_skipping(trip)) notes.push(words.say('leaves_out', { stops }));
  return (
    <li>
      <a class="row" href={`#trip=${segment(trip.trip)}`} data-item title={`${trip.why} · ${words.say('said_by', { source: trip.said_by })}`}>
        <LineBadge line={trip.line} color={trip.color} />
        <span class="row-main wraps">
          <b>{trip.headsign ?? trip.trip_id}</b>
          <small>{notes.join(' · ')}</small>
        </span>
      </a>
    </li>
  );
}

function AddedRow({ trip }: { trip: AddedTrip }) {
  const words = useWords();
  const known = useStore(network);
  const notes = [trip.start_date && service_day(trip.start_date, words.locale), trip.start_time?.slice(0, 5),
    trip.vehicle_id && `${words.say('vehicle')} ${trip.vehicle_id}`, words.say('said_by', { source: trip.said_by })];
  return (
    <li>
      <p class="row" tabIndex={-1} data-item>
        <LineBadge line={known?.line_name(trip.route_id) ?? trip.route_id} color={known?.routes.get(trip.route_id ?? '')?.color ?? null} />
        <span class="row-main wraps"><b>{trip.trip_id}</b><small>{notes.filter(Boolean).join(' · ')}</small></span>
      </p>
    </li>
  );
}

/** Where a notice leads to: the first thing that it is about and that can be opened. */
function link_of(informed: Informed[]): string | undefined {
  for (const { stop_id, route_id } of informed) {
    if (stop_id !== null) return `#stop=${segment(stop_id)}`;
    if (route_id !== null) return `#line=${segment(route_id)}`;
  }
  return undefined;
}

function AlertRow({ alert }: { alert: Alert }) {
  const words = useWords();
  const known = useStore(network);
  const about = alert.informed.map(({ route_id, trip_id, stop_id }) =>
    [route_id && known?.line_name(route_id), trip_id, stop_id && (known?.stops.get(stop_id)?.name ?? stop_id)].filter(Boolean).join(' '));
  return (
    <li>
      <a class="row" href={link_of(alert.informed)} tabIndex={-1} data-item>
        <Icon name="notice" />
        <span class="row-main wraps">
          <b>{alert.header ?? effect_of(alert, words)}</b>
          <small>{[alert.header && effect_of(alert, words), [...new Set(about)].filter(Boolean).join(', ')].filter(Boolean).join(' · ')}</small>
        </span>
      </a>
    </li>
  );
}

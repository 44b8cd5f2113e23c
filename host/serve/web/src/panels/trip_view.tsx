import { useState } from 'preact/hooks';
import { is_made, type Made, type Trip, type TripStop, type Why } from '../api/types';
import { segment } from '../api/client';
import { useWords } from '../i18n/texts';
import { Band, BandAxis, BandKey, band_scale, type BandScale } from '../ui/band';
import { useAsked } from '../ui/follow';
import { RovingList } from '../ui/roving_list';
import { minutes_until, service_day, time_of_day } from '../ui/times';
import { Alerts } from './alerts';

const most_reasons = 8;
const why_every_ms = 30_000;

/** The stops of a trip with their times and bounds, and what is behind the forecast. */
export function TripView({ trip, now_s }: { trip: Trip; now_s: number }) {
  const words = useWords();
  const [whole, setWhole] = useState(false);
  const passed = trip.stops.filter((stop) => stop.observed);
  const ahead = trip.stops.filter((stop) => !stop.observed);
  const expected = ahead.filter(is_made);
  const scale = band_scale(expected, 'scheduled_arrival');
  const next = expected[0];
  return (
    <>
      <Alerts trip={trip.trip_id} routes={trip.route_id === null ? [] : [trip.route_id]} />
      {next && <NextStopCard stop={next} now_s={now_s} first={passed.length === 0} />}
      <section aria-labelledby="stops-title">
        <div class="section-head">
          <h3 id="stops-title">{words.say(passed.length ? 'remaining_stops' : 'all_stops')}</h3>
          {expected.length > 0 && <BandKey scale={scale} />}
        </div>
        {passed.length > 0 && (
          <button type="button" class="fold" aria-expanded={whole} onClick={() => setWhole(!whole)}>
            {words.count('passed_stops', passed.length)}
          </button>
        )}
        <RovingList label={words.say('remaining_stops')} class="strip">
          {whole && passed.map((stop) => <PassedRow key={stop.stop_sequence} stop={stop} />)}
          {expected.length > 0 && <li class="strip-axis" aria-hidden="true"><BandAxis scale={scale} /></li>}
          {ahead.map((stop) => is_made(stop)
            ? <AheadRow key={stop.stop_sequence} stop={stop} scale={scale} />
            : <NotMadeRow key={stop.stop_sequence} stop={stop} />)}
        </RovingList>
      </section>
      <WhySection trip={trip} />
    </>
  );
}

function NextStopCard({ stop, now_s, first }: { stop: Made<TripStop>; now_s: number; first: boolean }) {
  const words = useWords();
  const at = first ? stop.departure : stop.arrival;
  const minutes = minutes_until(at, now_s);
  const time = (unix_s: number) => time_of_day(unix_s, words.locale);
  return (
    <section class="next-card" aria-label={words.say('next_stop')}>
      <div>
        <p class="eyebrow">{words.say('next_stop')}</p>
        <p class="next-name">{stop.stop_name ?? stop.stop_id}</p>
        <p class="quiet">{words.say('window_90', { from: time(stop.lower_90), to: time(stop.upper_90) })}</p>
      </div>
      <p class="big-minutes">{minutes < 1 ? words.say('due') : <><b>{minutes}</b> min</>}</p>
    </section>
  );
}

function PassedRow({ stop }: { stop: TripStop }) {
  const words = useWords();
  return (
    <li class="strip-row passed">
      <a href={`#stop=${segment(stop.stop_id)}`} data-item>
        <span class="strip-name">{stop.stop_name ?? stop.stop_id}</span>
        <span class="strip-times">
          {is_made(stop) ? <b>{time_of_day(stop.arrival, words.locale)}</b> : <s>{time_of_day(stop.scheduled_arrival, words.locale)}</s>}
        </span>
      </a>
    </li>
  );
}

/** A stop at which the trip does not call. */
function NotMadeRow({ stop }: { stop: TripStop }) {
  const words = useWords();
  return (
    <li class="strip-row not-made">
      <a href={`#stop=${segment(stop.stop_id)}`} data-item>
        <span class="strip-name">{stop.stop_name ?? stop.stop_id}</span>
        <span class="strip-times"><s>{time_of_day(stop.scheduled_arrival, words.locale)}</s></span>
        <small class="quiet">{words.say(stop.skipped ? 'does_not_call' : 'canceled')}</small>
      </a>
    </li>
  );
}

function AheadRow({ stop, scale }: { stop: Made<TripStop>; scale: BandScale }) {
  const words = useWords();
  const late = Math.round(stop.delay_s / 60);
  return (
    <li class="strip-row">
      <a href={`#stop=${segment(stop.stop_id)}`} data-item>
        <span class="strip-name">{stop.stop_name ?? stop.stop_id}</span>
        <span class="strip-times">
          {late !== 0 && <s>{time_of_day(stop.scheduled_arrival, words.locale)}</s>}
          <b>{time_of_day(stop.arrival, words.locale)}</b>
        </span>
        <Band stop={stop} scale={scale} />
      </a>
    </li>
  );
}

function WhySection({ trip }: { trip: Trip }) {
  const words = useWords();
  const { data: why, error } = useAsked<Why>(`/api/v1/why/${segment(trip.trip)}?limit=${most_reasons}`, why_every_ms);
  const heaviest = why?.trips[0]?.weight ?? 1;
  return (
    <section class="why" aria-labelledby="why-title">
      <h3 id="why-title">{words.say('why')}</h3>
      <p class="quiet">
        {trip.basis === 'history'
          ? [words.count('why_trips', trip.earlier_trips), trip.category_text].filter(Boolean).join(' · ')
          : words.say('why_timetable')}
      </p>
      {why?.reason && <p class="note">{why.reason}</p>}
      {error && error.status !== 0 && <p class="note">{error.message}</p>}
      {why && why.trips.length > 0 && (
        <>
          <p class="eyebrow">{words.say('why_shown')}</p>
          <ul class="weights">
            {why.trips.map((earlier) => (
              <li key={earlier.trip}>
                <span class="weight-day">{service_day(earlier.start_date, words.locale)}</span>
                <span class="weight-trip" title={earlier.lent ? words.say('why_lent') : undefined}>
                  {earlier.lent && <abbr title={words.say('why_lent')}>≈ </abbr>}
                  {earlier.trip_id}
                </span>
                <span class="weight-bar"><i style={{ width: `${(earlier.weight / heaviest) * 100}%` }} /></span>
                <span class="weight-share">{words.percent(earlier.weight, 1)}</span>
              </li>
            ))}
          </ul>
        </>
      )}
    </section>
  );
}

import { useState } from 'preact/hooks';
import { is_made, type Arrival, type Arrivals, type Made } from '../api/types';
import { segment } from '../api/client';
import { useWords } from '../i18n/texts';
import { clock, ticks } from '../state/live';
import { network } from '../state/network';
import { useStore } from '../state/store';
import { Band, BandAxis, BandKey, band_scale, type BandScale } from '../ui/band';
import { useFollowed } from '../ui/follow';
import { LineBadge } from '../ui/line_badge';
import { RovingList } from '../ui/roving_list';
import { minutes_until, time_of_day } from '../ui/times';
import { Alerts } from './alerts';
import { PanelHead } from './panel_head';

/** The departure board of a stop. */
export function StopPanel({ id }: { id: string }) {
  const words = useWords();
  useStore(ticks);
  const known = useStore(network);
  const [line, setLine] = useState<string | null>(null);
  const { data, gone } = useFollowed<Arrivals>(`/api/v1/stops/${segment(id)}/arrivals?limit=20`, 'stop', id);
  const title = data?.stop.name ?? known?.stops.get(id)?.name ?? id;
  const routes = data?.stop.routes ?? [];
  const shown = (data?.arrivals ?? []).filter((arrival) => line === null || arrival.route_id === line);
  const expected = shown.filter(is_made);
  const scale = band_scale(expected, 'arrival');
  return (
    <>
      <PanelHead kind={words.say('stop')} title={title}>
        {routes.length > 1 && (
          <div class="chips" role="group" aria-label={words.say('lines')}>
            <button type="button" class="chip" aria-pressed={line === null} onClick={() => setLine(null)}>
              {words.say('all_lines')}
            </button>
            {routes.map((route) => (
              <button key={route} type="button" class="chip" aria-pressed={line === route} onClick={() => setLine(route)}>
                {known?.line_name(route) ?? route}
              </button>
            ))}
          </div>
        )}
      </PanelHead>
      <Alerts stop={id} routes={routes} />
      {!data && <p class="quiet pad" role="status">{words.say(gone ? 'not_found' : 'loading')}</p>}
      {data && (
        <section aria-labelledby="board-title">
          <div class="section-head">
            <h3 id="board-title">{words.say('departures')}</h3>
            {expected.length > 0 && <BandKey scale={scale} />}
          </div>
          {shown.length === 0 && <p class="quiet">{words.say('no_departures')}</p>}
          <RovingList label={words.say('departures')} class="board">
            {expected.length > 0 && <li class="board-axis" aria-hidden="true"><BandAxis scale={scale} /></li>}
            {shown.map((arrival) => {
              const key = `${arrival.trip} ${arrival.stop_sequence}`;
              return is_made(arrival)
                ? <BoardRow key={key} arrival={arrival} scale={scale} now_s={clock.now_s()} />
                : <NotMadeRow key={key} arrival={arrival} />;
            })}
          </RovingList>
        </section>
      )}
    </>
  );
}

/** A call that the timetable has, and that is not made. */
function NotMadeRow({ arrival }: { arrival: Arrival }) {
  const words = useWords();
  const scheduled = arrival.first_stop ? arrival.scheduled_departure : arrival.scheduled_arrival;
  return (
    <li class="board-row not-made">
      <a href={`#trip=${segment(arrival.trip)}`} data-item>
        <LineBadge line={arrival.line} color={arrival.color} />
        <span class="board-where">
          <b>{arrival.headsign}</b>
          <small>{words.say(arrival.skipped ? 'does_not_call' : 'canceled')}</small>
        </span>
        <span class="board-times"><s>{time_of_day(scheduled, words.locale)}</s></span>
      </a>
    </li>
  );
}

function BoardRow({ arrival, scale, now_s }: { arrival: Made<Arrival>; scale: BandScale; now_s: number }) {
  const words = useWords();
  const time = (unix_s: number) => time_of_day(unix_s, words.locale);
  const at = arrival.first_stop ? arrival.departure : arrival.arrival;
  const minutes = minutes_until(at, now_s);
  const where = arrival.last_stop
    ? words.say('ends_here')
    : arrival.vehicle_id === null
      ? words.say('no_vehicle_yet')
      : words.count('stops_away', arrival.stops_before + 1);
  const notes = [where];
  if (!arrival.last_stop) notes.push(words.say('leave_by', { time: time(arrival.leave_by) }));
  if (arrival.trip_confidence !== null) {
    notes.push(words.say('assigned_by_course', { share: words.percent(arrival.trip_confidence) }));
  }
  if (arrival.basis === 'timetable') notes.push(words.say('by_timetable_only'));
  return (
    <li class={arrival.last_stop ? 'board-row ends' : 'board-row'}>
      <a href={`#trip=${segment(arrival.trip)}`} data-item>
        <LineBadge line={arrival.line} color={arrival.color} />
        <span class="board-where">
          <b>{arrival.headsign}</b>
          <small>{notes.join(' · ')}</small>
        </span>
        <span class="board-minutes">{minutes < 1 ? words.say('due') : minutes > 59 ? time(at) : <><b>{minutes}</b> min</>}</span>
        <span class="board-times">
          {Math.round(arrival.delay_s / 60) !== 0 && <s>{time(arrival.scheduled_arrival)}</s>}
          <b>{time(at)}</b>
          <small>{time(arrival.lower_90)}–{time(arrival.upper_90)}</small>
        </span>
        <Band stop={arrival} scale={scale} />
      </a>
    </li>
  );
}

import type { TripDetail, VehicleDetail } from '../api/types';
import { segment } from '../api/client';
import { useWords } from '../i18n/texts';
import { clock, ticks } from '../state/live';
import { useStore } from '../state/store';
import { useFollowed } from '../ui/follow';
import { LatenessTag } from '../ui/lateness_tag';
import { LineBadge } from '../ui/line_badge';
import { service_day } from '../ui/times';
import { PanelHead } from './panel_head';
import { TripView } from './trip_view';

export function VehiclePanel({ id }: { id: string }) {
  const words = useWords();
  useStore(ticks);
  const now_s = clock.now_s();
  const { data, gone } = useFollowed<VehicleDetail>(`/api/v1/vehicles/${segment(id)}`, 'vehicle', id);
  const kind = `${words.say('vehicle')} ${id}`;
  if (!data) {
    return (
      <>
        <PanelHead kind={words.say('vehicle')} title={id} />
        <p class="quiet pad" role="status">{words.say(gone ? 'not_found' : 'loading')}</p>
      </>
    );
  }
  const { vehicle, forecast } = data;
  return (
    <>
      <PanelHead kind={kind} title={vehicle.headsign ?? words.say(`status_${vehicle.status}`)}
        badge={<LineBadge line={vehicle.line} color={vehicle.color} />}>
        <p class="facts">
          <LatenessTag seconds={vehicle.lateness_s} />
          <span>{words.say(`status_${vehicle.status}`)}</span>
          {vehicle.reason && <span>{vehicle.reason}</span>}
          <span>{words.say('reported', { ago: words.ago(now_s - vehicle.last_report) })}</span>
          {vehicle.trip_confidence !== null && (
            <span>{words.say('assigned_by_course', { share: words.percent(vehicle.trip_confidence) })}</span>
          )}
        </p>
        {gone && <p class="note" role="status">{words.say('not_on_display')}</p>}
      </PanelHead>
      {forecast
        ? <TripView trip={forecast} now_s={now_s} />
        : <NoForecast reason={words.say(`status_${vehicle.status}`)} reported={vehicle.reported_trip_id} />}
    </>
  );
}

function NoForecast({ reason, reported }: { reason: string; reported: string | null }) {
  const words = useWords();
  return (
    <section class="why">
      <h3>{words.say('no_forecast')}</h3>
      <p class="note">{reason}{reported ? ` (${words.say('trip')} ${reported})` : ''}</p>
    </section>
  );
}

export function TripPanel({ id }: { id: string }) {
  const words = useWords();
  useStore(ticks);
  const { data, gone } = useFollowed<TripDetail>(`/api/v1/trips/${segment(id)}`, 'trip', id);
  if (!data) {
    return (
      <>
        <PanelHead kind={words.say('trip')} title={id} />
        <p class="quiet pad" role="status">{words.say(gone ? 'not_found' : 'loading')}</p>
      </>
    );
  }
  const { trip } = data;
  return (
    <>
      <PanelHead kind={`${words.say('trip')} ${trip.trip_id} ${words.say('of_the_day', { date: service_day(trip.start_date, words.locale) })}`}
        title={trip.headsign ?? trip.trip_id} badge={<LineBadge line={trip.line} color={trip.color} />}>
        <p class="facts">
          {trip.next_stop && <LatenessTag seconds={trip.next_stop.delay_s} />}
          <span>{words.say(`state_${trip.state}`)}</span>
          {trip.vehicle_id && (
            <a href={`#vehicle=${segment(trip.vehicle_id)}`}>{words.say('vehicle')} {trip.vehicle_id}</a>
          )}
          {trip.trip_confidence !== null && (
            <span>{words.say('assigned_by_course', { share: words.percent(trip.trip_confidence) })}</span>
          )}
        </p>
        {gone && <p class="note" role="status">{words.say('not_on_display')}</p>}
      </PanelHead>
      <TripView trip={trip} now_s={clock.now_s()} />
    </>
  );
}

import { useEffect, useRef, useState } from 'preact/hooks';
import { getJson, segment } from '../api/client';
import type { Position, Trip, TripDetail } from '../api/types';
import { useWords } from '../i18n/texts';
import { fleet } from '../state/fleet';
import { clock, view_box } from '../state/live';
import { network } from '../state/network';
import { select, selection, type Selection } from '../state/selection';
import { calm, dark } from '../state/settings';
import { useStore } from '../state/store';
import { Icon } from '../ui/icons';
import { NetworkMap, type Chosen } from './network_map';

/** With a vehicle, so many of its next stops are shown. */
const stops_in_view = 5;

const wide = matchMedia('(min-width: 800px)');

function padding() {
  return wide.matches
    ? { left: 440, right: 0, top: 0, bottom: 0 }
    : { left: 0, right: 0, top: 118, bottom: Math.round(window.innerHeight * 0.46) };
}

/** What the map stresses for a selection; the trip behind it is asked for, for its stops. */
function chosen_of(shown: Selection, trip: Trip | null): Chosen {
  const nothing: Chosen = { vehicle: null, line: null, path: null, passed_m: 0, stops: [] };
  if (!shown) return nothing;
  if (shown.kind === 'line') return { ...nothing, line: shown.id };
  if (shown.kind === 'stop') return { ...nothing, stops: [shown.id] };
  if (shown.kind === 'panel') return nothing;
  const id = shown.kind === 'vehicle' ? shown.id : (trip?.vehicle_id ?? null);
  const vehicle = id === null ? undefined : fleet.vehicles.get(id);
  const path = network.get()?.path_of(trip?.pattern ?? vehicle?.pattern ?? null) ?? null;
  const at = path && vehicle?.place ? path.nearest(vehicle.place, vehicle.offset_m).offset_m : 0;
  const ahead = trip?.stops.filter((stop) => !stop.observed).map((stop) => stop.stop_id) ?? [];
  return { ...nothing, vehicle: id, path, passed_m: at, stops: ahead };
}

async function trip_of(shown: Selection): Promise<Trip | null> {
  if (shown?.kind === 'trip') return (await getJson<TripDetail>(`/api/v1/trips/${segment(shown.id)}`)).trip;
  const trip = shown?.kind === 'vehicle' ? fleet.vehicles.get(shown.id)?.trip : null;
  return trip ? (await getJson<TripDetail>(`/api/v1/trips/${segment(trip)}`)).trip : null;
}

export function MapPane() {
  const words = useWords();
  const box = useRef<HTMLDivElement>(null);
  const map = useRef<NetworkMap | null>(null);
  const [broken, setBroken] = useState(false);
  const shown = useStore(selection);
  const known = useStore(network);
  const is_dark = useStore(dark);
  const is_calm = useStore(calm);
  const changes = useStore(fleet.changes);
  const [trip, setTrip] = useState<Trip | null>(null);
  const centred = useRef<string>('');

  useEffect(() => {
    try {
      map.current = new NetworkMap(box.current!, {
        vehicle: (id) => select({ kind: 'vehicle', id }),
        stop: (id) => select({ kind: 'stop', id }),
        ground: () => undefined,
        moved: (west_south_east_north) => view_box.set(west_south_east_north),
      }, () => clock.now_s(), dark.get(), calm.get(), words.say('map_label'));
    } catch {
      setBroken(true);
      return undefined;
    }
    const pad = () => map.current?.set_padding(padding());
    pad();
    window.addEventListener('resize', pad);
    return () => {
      window.removeEventListener('resize', pad);
      map.current?.remove();
      map.current = null;
    };
  }, []);

  useEffect(() => map.current?.show_dark(is_dark), [is_dark]);
  useEffect(() => map.current?.set_calm(is_calm), [is_calm]);
  useEffect(() => {
    if (known) map.current?.show_network(known);
  }, [known]);

  // The trip is asked for again when the vehicle has a new report or goes on to another trip.
  const vehicle = shown?.kind === 'vehicle' ? fleet.vehicles.get(shown.id) : undefined;
  useEffect(() => {
    let over = false;
    trip_of(shown).then((found) => over || setTrip(found), () => over || setTrip(null));
    return () => {
      over = true;
    };
  }, [shown, vehicle?.trip, vehicle?.reported_s]);

  useEffect(() => {
    map.current?.choose(chosen_of(shown, trip));
  }, [shown, trip, known, vehicle?.reported_s]);

  useEffect(() => {
    const name = shown ? `${shown.kind} ${shown.id}` : '';
    if (!map.current || !known || centred.current === name) return;
    map.current.follow(shown?.kind === 'vehicle' ? shown.id : null);
    if (!shown || shown.kind === 'panel') {
      centred.current = name;
    } else if (shown.kind === 'vehicle') {
      const known_vehicle = fleet.vehicles.get(shown.id);
      const at = known_vehicle?.motion?.reported().place;
      if (!at || !known_vehicle.detailed || (known_vehicle.trip && trip?.trip !== known_vehicle.trip)) return;
      const next = trip?.stops.filter((stop) => !stop.observed).slice(0, stops_in_view) ?? [];
      if (next.length > 0) map.current.fit_places([at, ...next.map((stop): Position => [stop.lon, stop.lat])]);
      else map.current.center_on(at);
      centred.current = name;
    } else if (shown.kind === 'stop') {
      const stop = known.stops.get(shown.id);
      if (stop) map.current.center_on(stop.place, 12.6);
      centred.current = name;
    } else if (shown.kind === 'line') {
      map.current.fit_places(known.paths.filter((path) => path.properties.route_id === shown.id)
        .flatMap((path) => path.geometry.coordinates));
      centred.current = name;
    } else if (trip && trip.trip === shown.id) {
      map.current.fit_places(known.path_of(trip.pattern)?.points ?? []);
      centred.current = name;
    }
  }, [shown, known, trip, changes]);

  return (
    <div class="map-pane">
      <div class="map" ref={box} />
      {broken && <p class="no-map">{words.say('no_map')}</p>}
      <div class="map-buttons" role="group" aria-label={words.say('map_label')}>
        <button type="button" class="icon-button" aria-label={words.say('zoom_in')} onClick={() => map.current?.zoom_by(1)}><Icon name="plus" /></button>
        <button type="button" class="icon-button" aria-label={words.say('zoom_out')} onClick={() => map.current?.zoom_by(-1)}><Icon name="minus" /></button>
        <button type="button" class="icon-button" aria-label={words.say('whole_network')} onClick={() => map.current?.fit_network()}><Icon name="home" /></button>
      </div>
    </div>
  );
}

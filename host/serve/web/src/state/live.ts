import { getJson } from '../api/client';
import { EventFeed, type FeedState } from '../api/event_feed';
import type { Changes, Source, Sources, Status, Vehicles, VehiclesEvent } from '../api/types';
import { fleet } from './fleet';
import { load_network, network } from './network';
import { ServiceClock } from './service_clock';
import { Store } from './store';

const status_every_ms = 5_000;
const details_every_ms = 10_000;
const changes_every_ms = 15_000;
/** With more vehicles than this, details are asked for what the map shows only. */
const small_fleet = 1_500;

export const clock = new ServiceClock();
export const connection = new Store<FeedState>({ kind: 'connecting' });
export const status = new Store<Status | null>(null);
export const sources = new Store<Source[]>([]);
/** What the agency says of its service; null while it is not known whether it says anything. */
export const changes = new Store<Changes | null>(null);
/** Counts seconds, for whatever shows times that pass. */
export const ticks = new Store(0);
/** What the map shows: west, south, east, north. */
export const view_box = new Store<[number, number, number, number] | null>(null);

let feed: EventFeed | null = null;

async function refresh_status(): Promise<void> {
  const now = await getJson<Status>('/api/v1/status');
  clock.tell(now.now);
  status.set(now);
  if (now.network) await load_network(now.network.network_version);
  sources.set((await getJson<Sources>('/api/v1/sources')).sources);
}

async function refresh_details(): Promise<void> {
  const box = view_box.get();
  const part = fleet.vehicles.size > small_fleet && box;
  const answer = await getJson<Vehicles>(`/api/v1/vehicles${part ? `?bbox=${part.join(',')}` : ''}`);
  clock.tell(answer.now);
  if (part) fleet.take_details(answer.vehicles);
  else fleet.take_all(answer.vehicles);
}

function take_event(data: unknown): void {
  const event = data as VehiclesEvent;
  clock.tell(event.now);
  const unknown = event.vehicles.some((move) => !fleet.vehicles.has(move.id));
  fleet.take_moves(event.vehicles, event.gone, event.full);
  if (unknown) void refresh_details().catch(() => undefined);
}

/** Repeats, each time after the one before has ended; rests while the page is hidden. */
function repeat(task: () => Promise<void>, every_ms: number, failed: () => void): void {
  const run = async () => {
    if (!document.hidden) await task().catch(failed);
    setTimeout(() => void run(), every_ms);
  };
  void run();
}

/** Follows the service from now on. */
export function go_live(): void {
  network.subscribe(() => fleet.replace_courses());
  repeat(refresh_status, status_every_ms, () => {
    const state = connection.get().kind;
    if (state === 'live' || state === 'connecting') {
      connection.set({ kind: 'down', retry_at_ms: performance.now() + status_every_ms });
    }
  });
  repeat(refresh_details, details_every_ms, () => undefined);
  repeat(async () => changes.set(await getJson<Changes>('/api/v1/changes')), changes_every_ms, () => undefined);
  feed = new EventFeed('/events?vehicles=all', {
    events: { vehicles: take_event },
    poll: refresh_details,
    state: (state) => connection.set(state),
  });
  setInterval(() => ticks.set(ticks.get() + 1), 1000);
}

export function reconnect_now(): void {
  feed?.retry_now();
  void refresh_status().catch(() => undefined);
}

import { useState } from 'preact/hooks';
import { segment } from '../api/client';
import { useWords } from '../i18n/texts';
import { fleet, type FleetVehicle } from '../state/fleet';
import { network } from '../state/network';
import { ticks } from '../state/live';
import { useStore } from '../state/store';
import { LatenessTag } from '../ui/lateness_tag';
import { LineBadge } from '../ui/line_badge';
import { RovingList } from '../ui/roving_list';

const few = 12;
const most = 400;

const by_lateness = (a: FleetVehicle, b: FleetVehicle) =>
  (b.lateness_s ?? -Infinity) - (a.lateness_s ?? -Infinity) || a.id.localeCompare(b.id);
const by_line = (a: FleetVehicle, b: FleetVehicle) =>
  a.line.localeCompare(b.line, undefined, { numeric: true }) || a.id.localeCompare(b.id, undefined, { numeric: true });

/** The vehicles of a line, or all of them: what the map shows, for those who do not use the map. */
export function VehicleList({ line }: { line: string | null }) {
  const words = useWords();
  useStore(ticks);
  const known = useStore(network);
  const [order, setOrder] = useState<'late' | 'line'>('late');
  const [all, setAll] = useState(false);
  const vehicles = [...fleet.vehicles.values()]
    .filter((vehicle) => line === null || vehicle.route_id === line)
    .sort(order === 'late' ? by_lateness : by_line);
  const shown = vehicles.slice(0, all ? most : few);
  return (
    <section aria-labelledby="vehicles-title">
      <div class="section-head">
        <h3 id="vehicles-title">{words.say('vehicles')} <small>{words.number(vehicles.length)}</small></h3>
        <button type="button" class="text-button" onClick={() => setOrder(order === 'late' ? 'line' : 'late')}>
          {words.say(order === 'late' ? 'sort_late' : 'sort_line')}
        </button>
      </div>
      <RovingList label={words.say('vehicles')} class="rows">
        {shown.map((vehicle) => (
          <li key={vehicle.id}>
            <a class="row" href={`#vehicle=${segment(vehicle.id)}`} data-item>
              <LineBadge line={vehicle.line || '·'} color={known?.routes.get(vehicle.route_id ?? '')?.color ?? null} />
              <span class="row-main">
                <b>{vehicle.headsign ?? words.say(`status_${vehicle.status}`)}</b>
                <small>{vehicle.next_stop ? `→ ${vehicle.next_stop.stop_name ?? vehicle.next_stop.stop_id}` : vehicle.id}</small>
              </span>
              <LatenessTag seconds={vehicle.lateness_s} />
            </a>
          </li>
        ))}
      </RovingList>
      {!all && vehicles.length > few && (
        <button type="button" class="wide-button" onClick={() => setAll(true)}>
          {words.say('show_all', { n: words.number(Math.min(most, vehicles.length)) })}
        </button>
      )}
    </section>
  );
}

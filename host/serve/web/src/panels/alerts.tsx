import type { Alert, Informed } from '../api/types';
import { useWords, type Words } from '../i18n/texts';
import { changes } from '../state/live';
import { useStore } from '../state/store';
import { Icon } from '../ui/icons';

/** What is on view: notices about it, or about a line of it as a whole, are shown. */
interface View {
  stop?: string;
  trip?: string;
  routes: string[];
}

function is_about(informed: Informed, { stop, trip, routes }: View): boolean {
  if (informed.trip_id !== null) return informed.trip_id === trip;
  if (informed.stop_id !== null) return informed.stop_id === stop;
  return informed.route_id !== null && routes.includes(informed.route_id);
}

const effects = [
  'no_service', 'reduced_service', 'significant_delays', 'detour', 'additional_service', 'modified_service', 'stop_moved',
  'no_effect', 'accessibility_issue', 'other', 'unknown',
] as const;

export function effect_of(alert: Alert, words: Words): string {
  return words.say(`effect_${effects.find((effect) => effect === alert.effect) ?? 'unknown'}`);
}

/** The agency's notices about what is on view. */
export function Alerts(view: View) {
  const words = useWords();
  const said = useStore(changes)?.alerts ?? [];
  const shown = said.filter((alert) => alert.informed.some((informed) => is_about(informed, view)));
  if (shown.length === 0) return null;
  return (
    <ul class="alerts" aria-label={words.say('alerts')}>
      {shown.map((alert) => (
        <li key={alert.alert_id}>
          <Icon name="notice" />
          <span><b>{effect_of(alert, words)}</b>{alert.header && <small>{alert.header}</small>}</span>
        </li>
      ))}
    </ul>
  );
}

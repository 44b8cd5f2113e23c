import { useWords } from '../i18n/texts';
import { clock, connection, reconnect_now, sources, status, ticks } from '../state/live';
import { useStore } from '../state/store';
import { Icon } from './icons';

interface Trouble {
  kind: 'bad' | 'warn';
  text: string;
  action?: { text: string; run: () => void };
}

/** What stands between the reader and fresh forecasts, the worst first; nothing when all is well. */
export function Banner() {
  const trouble = useTrouble();
  return (
    <div class="banner-place" role="status" aria-live="polite">
      {trouble && (
        <div class={`banner ${trouble.kind}`}>
          <Icon name="warning" />
          <p>{trouble.text}</p>
          {trouble.action && <button type="button" onClick={trouble.action.run}>{trouble.action.text}</button>}
        </div>
      )}
    </div>
  );
}

function useTrouble(): Trouble | null {
  const words = useWords();
  const state = useStore(connection);
  const now = useStore(status);
  const all = useStore(sources);
  useStore(ticks);
  const details = { text: words.say('details'), run: () => { location.hash = '#panel=sources'; } };
  if (state.kind === 'down') {
    return {
      kind: 'bad', text: words.say('banner_down', { ago: words.ago(clock.silent_s()) }),
      action: { text: words.say('retry_now'), run: reconnect_now },
    };
  }
  if (now && !now.ready) return { kind: 'warn', text: words.say('banner_not_ready', { reason: now.not_ready ?? '' }) };
  const failing = all.find((source) => source.health === 'failing');
  if (failing) return { kind: 'bad', text: words.say('banner_failing', { name: failing.name }), action: details };
  const stale = all.find((source) => source.health === 'stale');
  if (stale) return { kind: 'warn', text: words.say('banner_stale', { name: stale.name }), action: details };
  if (now?.trip_updates.standing) {
    return { kind: 'warn', text: words.say('banner_standing', { reason: now.trip_updates.detail ?? '' }) };
  }
  return state.kind === 'polling' ? { kind: 'warn', text: words.say('banner_polling') } : null;
}

import { useEffect, useRef, useState } from 'preact/hooks';
import { getJson, segment } from '../api/client';
import type { Stops } from '../api/types';
import { useWords } from '../i18n/texts';
import { fleet } from '../state/fleet';
import { network } from '../state/network';
import { select, type Selection } from '../state/selection';
import { Icon } from './icons';
import { LineBadge } from './line_badge';

interface Hit {
  kind: 'stop' | 'line' | 'vehicle';
  id: string;
  title: string;
  line: string | null;
  color: string | null;
}

const most_of_a_kind = 6;
const pause_ms = 150;

/** Letters without accents, small: how people type. */
const folded = (text: string) => text.normalize('NFD').replace(/\p{M}/gu, '').toLowerCase();

function known_hits(query: string): Hit[] {
  const words = folded(query).split(/\s+/).filter(Boolean);
  const matches = (text: string) => words.every((word) => folded(text).includes(word));
  const lines: Hit[] = [...(network.get()?.routes.values() ?? [])]
    .filter((route) => matches(`${route.short_name ?? ''} ${route.long_name ?? ''}`))
    .slice(0, most_of_a_kind)
    .map((route) => ({
      kind: 'line', id: route.route_id, title: route.long_name ?? route.short_name ?? route.route_id,
      line: route.short_name, color: route.color,
    }));
  const vehicles: Hit[] = [...fleet.vehicles.values()]
    .filter((vehicle) => matches(vehicle.id))
    .slice(0, most_of_a_kind)
    .map((vehicle) => ({
      kind: 'vehicle', id: vehicle.id, title: vehicle.headsign ? `${vehicle.id} → ${vehicle.headsign}` : vehicle.id,
      line: vehicle.line || null, color: network.get()?.routes.get(vehicle.route_id ?? '')?.color ?? null,
    }));
  return [...lines, ...vehicles];
}

async function find(query: string, signal: AbortSignal): Promise<Hit[]> {
  const answer = await getJson<Stops>(`/api/v1/stops?limit=${most_of_a_kind}&q=${segment(query)}`, signal)
    .catch(() => ({ stops: [] }) as Pick<Stops, 'stops'>);
  const stops: Hit[] = answer.stops.map((stop) => ({
    kind: 'stop', id: stop.stop_id, title: stop.name ?? stop.stop_id, line: null, color: null,
  }));
  return [...stops, ...known_hits(query)];
}

/** Search for stops, lines and vehicles: a combobox, driven by the arrow keys, Enter and Escape. */
export function SearchBox() {
  const words = useWords();
  const [query, setQuery] = useState('');
  const [hits, setHits] = useState<Hit[] | null>(null);
  const [active, setActive] = useState(0);
  const input = useRef<HTMLInputElement>(null);

  useEffect(() => {
    if (!query.trim()) {
      setHits(null);
      return undefined;
    }
    const ending = new AbortController();
    const timer = setTimeout(() => {
      void find(query.trim(), ending.signal).then((found) => {
        if (ending.signal.aborted) return;
        setHits(found);
        setActive(0);
      }, () => undefined);
    }, pause_ms);
    return () => {
      clearTimeout(timer);
      ending.abort();
    };
  }, [query]);

  useEffect(() => {
    const onKey = (event: KeyboardEvent) => {
      const typing = (event.target as HTMLElement).closest('input, textarea, select');
      if (event.key !== '/' || typing) return;
      event.preventDefault();
      input.current?.focus();
    };
    document.addEventListener('keydown', onKey);
    return () => document.removeEventListener('keydown', onKey);
  }, []);

  const open = (hit: Hit) => {
    setQuery('');
    setHits(null);
    select({ kind: hit.kind, id: hit.id } as Selection);
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.key === 'Escape' && query) {
      event.stopPropagation();
      setQuery('');
    }
    if (!hits?.length) return;
    if (event.key === 'ArrowDown') setActive((active + 1) % hits.length);
    else if (event.key === 'ArrowUp') setActive((active + hits.length - 1) % hits.length);
    else if (event.key === 'Enter') open(hits[active]!);
    else return;
    event.preventDefault();
  };
  return (
    <div class="search" role="search">
      <Icon name="search" />
      <input ref={input} id="search" type="text" role="combobox" autocomplete="off" spellcheck={false}
        aria-label={words.say('search')} placeholder={words.say('search_hint')} aria-expanded={hits !== null}
        aria-controls="search-hits" aria-autocomplete="list"
        aria-activedescendant={hits?.length ? `hit-${active}` : undefined}
        value={query} onInput={(event) => setQuery(event.currentTarget.value)} onKeyDown={onKeyDown}
        onBlur={() => setTimeout(() => setHits(null), 150)} />
      {!query && <kbd aria-hidden="true">/</kbd>}
      <p class="unseen" role="status">{hits ? words.count('search_found', hits.length) : ''}</p>
      {hits && (
        <ul id="search-hits" role="listbox" class="hits" aria-label={words.say('search')}>
          {hits.length === 0 && <li class="quiet">{words.say('search_nothing', { q: query.trim() })}</li>}
          {hits.map((hit, i) => (
            <li key={`${hit.kind} ${hit.id}`} id={`hit-${i}`} role="option" aria-selected={i === active}
              onMouseDown={(event) => { event.preventDefault(); open(hit); }} onMouseMove={() => setActive(i)}>
              {hit.line ? <LineBadge line={hit.line} color={hit.color} /> : <span class="stop-dot" aria-hidden="true" />}
              <span>{hit.title}</span>
              <small>{words.say(hit.kind)}</small>
            </li>
          ))}
        </ul>
      )}
    </div>
  );
}

import { Store } from './store';

const panels = ['scores', 'sources', 'changes'] as const;
export type PanelName = (typeof panels)[number];

/** What the panel shows: one thing of the network, one of the panels, or (null) the overview. */
export type Selection =
  | { kind: 'vehicle' | 'stop' | 'trip' | 'line'; id: string }
  | { kind: 'panel'; id: PanelName }
  | null;

const kinds = ['vehicle', 'stop', 'trip', 'line'] as const;

/** The selection that a link names, such as "#stop=PERSE". */
export function selection_of(hash: string): Selection {
  const fields = new URLSearchParams(hash.replace(/^#/, ''));
  for (const kind of kinds) {
    const id = fields.get(kind);
    if (id) return { kind, id };
  }
  const panel = panels.find((name) => name === fields.get('panel'));
  return panel ? { kind: 'panel', id: panel } : null;
}

export function hash_of(selection: Selection): string {
  return selection ? `#${selection.kind}=${encodeURIComponent(selection.id)}` : '';
}

export const selection = new Store<Selection>(selection_of(location.hash));

/** Shows this; the browser's Back returns to what was shown before. */
export function select(next: Selection): void {
  if (hash_of(next) === hash_of(selection.get())) return;
  history.pushState(null, '', hash_of(next) || location.pathname + location.search);
  selection.set(next);
}

const follow_address = () => selection.set(selection_of(location.hash));
window.addEventListener('popstate', follow_address);
window.addEventListener('hashchange', follow_address);

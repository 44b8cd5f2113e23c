import { Store } from './store';

export type Theme = 'auto' | 'light' | 'dark';

function kept(name: string): string | null {
  try {
    return localStorage.getItem(`qiv.${name}`);
  } catch {
    return null;
  }
}

export function keep(name: string, value: string): void {
  try {
    localStorage.setItem(`qiv.${name}`, value);
  } catch {
    // A browser that keeps nothing still shows the page.
  }
}

export const kept_language = kept('language');

const dark_wanted = matchMedia('(prefers-color-scheme: dark)');
const calm_wanted = matchMedia('(prefers-reduced-motion: reduce)');

const theme_at_start = kept('theme');
export const theme = new Store<Theme>(
  theme_at_start === 'light' || theme_at_start === 'dark' ? theme_at_start : 'auto',
);

/** Whether the page is dark now: by the switch, else by the browser. */
export const dark = new Store<boolean>(false);
/** Whether things should not move on their own. */
export const calm = new Store<boolean>(calm_wanted.matches);

function apply(): void {
  const now = theme.get() === 'auto' ? dark_wanted.matches : theme.get() === 'dark';
  document.documentElement.dataset['theme'] = now ? 'dark' : 'light';
  dark.set(now);
}

theme.subscribe(() => {
  keep('theme', theme.get());
  apply();
});
dark_wanted.addEventListener('change', apply);
calm_wanted.addEventListener('change', () => calm.set(calm_wanted.matches));
apply();

import type { ComponentChildren } from 'preact';
import { useRef } from 'preact/hooks';

interface Props {
  label: string;
  class?: string;
  children: ComponentChildren;
}

const item_selector = '[data-item]';

/**
 * A list that takes one stop of the Tab key: the arrow keys, Home and End move within it. Each row
 * has one element with `data-item`.
 */
export function RovingList({ label, class: name, children }: Props) {
  const list = useRef<HTMLUListElement>(null);
  const items = () => [...(list.current?.querySelectorAll<HTMLElement>(item_selector) ?? [])];
  const settle = (chosen: HTMLElement | undefined) => {
    for (const item of items()) item.tabIndex = item === chosen ? 0 : -1;
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const all = items();
    const at = all.indexOf(document.activeElement as HTMLElement);
    const to = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: all.length - 1 }[event.key];
    if (to === undefined || at < 0) return;
    event.preventDefault();
    const next = all[Math.min(all.length - 1, Math.max(0, to))];
    settle(next);
    next?.focus();
  };
  return (
    <ul
      ref={(element) => {
        list.current = element;
        if (!element) return;
        const all = items();
        settle(all.find((item) => item === document.activeElement) ?? all.find((item) => item.tabIndex === 0) ?? all[0]);
      }}
      class={`list ${name ?? ''}`}
      aria-label={label}
      onKeyDown={onKeyDown}
      onFocusIn={(event) => settle((event.target as HTMLElement).closest<HTMLElement>(item_selector) ?? undefined)}
    >
      {children}
    </ul>
  );
}

import type { ComponentChildren } from 'preact';
import { useRef, useState } from 'preact/hooks';
import { useWords } from '../i18n/texts';
import { Icon } from './icons';

export type SheetSize = 'peek' | 'half' | 'full';
const sizes: SheetSize[] = ['peek', 'half', 'full'];
const drag_px = 40;

interface Props {
  size: SheetSize;
  onSize: (size: SheetSize) => void;
  children: ComponentChildren;
}

/** The panel: a column on a wide screen, a sheet at the bottom on a telephone, pulled by its handle. */
export function Sheet({ size, onSize, children }: Props) {
  const words = useWords();
  const from_y = useRef<number | null>(null);
  const [pull, setPull] = useState(0);
  const step = (by: number) => onSize(sizes[Math.min(2, Math.max(0, sizes.indexOf(size) + by))]!);
  const end = (event: PointerEvent) => {
    if (from_y.current === null) return;
    const moved = event.clientY - from_y.current;
    from_y.current = null;
    setPull(0);
    if (Math.abs(moved) > drag_px) step(moved < 0 ? 1 : -1);
    else step(size === 'full' ? -1 : 1);
  };
  return (
    <main class="panel" id="panel" data-size={size} aria-label={words.say('panel_label')}
      style={pull ? { transform: `translateY(${Math.max(-60, pull)}px)`, transition: 'none' } : undefined}>
      <button type="button" class="handle" aria-label={words.say(size === 'full' ? 'smaller' : 'larger')}
        onPointerDown={(event) => {
          from_y.current = event.clientY;
          event.currentTarget.setPointerCapture(event.pointerId);
        }}
        onPointerMove={(event) => from_y.current !== null && setPull(event.clientY - from_y.current)}
        onPointerUp={end} onPointerCancel={() => { from_y.current = null; setPull(0); }}
        onKeyDown={(event) => {
          if (event.key === 'Enter' || event.key === ' ') step(size === 'full' ? -1 : 1);
        }}>
        <i /><Icon name={size === 'full' ? 'down' : 'up'} />
      </button>
      <div class="panel-scroll">{children}</div>
    </main>
  );
}

const shapes = {
  close: 'M6 6l12 12M18 6L6 18',
  back: 'M15 5l-7 7 7 7',
  search: 'M11 4a7 7 0 1 0 0 14 7 7 0 0 0 0-14zM16.2 16.2L21 21',
  plus: 'M12 5v14M5 12h14',
  minus: 'M5 12h14',
  home: 'M4 9V4h5M20 9V4h-5M4 15v5h5M20 15v5h-5',
  sun: 'M12 8a4 4 0 1 0 0 8 4 4 0 0 0 0-8zM12 2.5v2M12 19.5v2M2.5 12h2M19.5 12h2M5.3 5.3l1.4 1.4M17.3 17.3l1.4 1.4M18.7 5.3l-1.4 1.4M6.7 17.3l-1.4 1.4',
  moon: 'M20 14.5A8.2 8.2 0 0 1 9.5 4a8.2 8.2 0 1 0 10.5 10.5z',
  auto: 'M12 3.5a8.5 8.5 0 1 0 0 17zM12 3.5a8.5 8.5 0 0 1 0 17',
  chart: 'M4 20h16M6.5 16l4-5 3.5 3 5-8',
  source: 'M5 19a14 14 0 0 1 14-14M5 19a8.5 8.5 0 0 1 8.5-8.5M5 18.9v.2',
  warning: 'M12 4L2.8 20h18.4zM12 10v4.5M12 17.4v.1',
  notice: 'M4 10v4h3l7 4.5v-13L7 10zM17.5 9a4.5 4.5 0 0 1 0 6M7.5 14.5V19h3v-3',
  globe: 'M12 3.5a8.5 8.5 0 1 0 0 17 8.5 8.5 0 0 0 0-17zM3.5 12h17M12 3.5c5 5 5 12 0 17M12 3.5c-5 5-5 12 0 17',
  up: 'M5 15l7-7 7 7',
  down: 'M5 9l7 7 7-7',
  chevron: 'M9 5l7 7-7 7',
} as const;

export type IconName = keyof typeof shapes;

export function Icon({ name }: { name: IconName }) {
  return (
    <svg class="icon" viewBox="0 0 24 24" aria-hidden="true">
      <path d={shapes[name]} />
    </svg>
  );
}

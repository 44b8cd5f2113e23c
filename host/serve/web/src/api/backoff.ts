const first_ms = 1_000;
const most_ms = 30_000;

/** How long to wait before the next attempt after so many failures: doubled each time, with jitter. */
export function backoff_ms(failures: number): number {
  const full = Math.min(most_ms, first_ms * 2 ** Math.max(0, failures - 1));
  return full * (0.75 + 0.5 * Math.random());
}

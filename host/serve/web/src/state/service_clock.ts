const window_ms = 20_000;

/**
 * The service's clock between its answers. A recorded day moves at any speed, so the speed is
 * measured over the last answers.
 */
export class ServiceClock {
  private samples: { at_ms: number; now_s: number }[] = [];
  private rate = 1;

  /** The service said at `at_ms` (of performance.now) that it was `now_s`. */
  tell(now_s: number, at_ms = performance.now()): void {
    const last = this.samples.at(-1);
    if (last && (now_s < last.now_s - 2 || at_ms < last.at_ms)) this.samples = [];
    this.samples.push({ at_ms, now_s });
    while (this.samples[0]!.at_ms < at_ms - window_ms && this.samples.length > 2) this.samples.shift();
    const first = this.samples[0]!;
    const passed_s = (at_ms - first.at_ms) / 1000;
    if (passed_s > 4) this.rate = Math.max(0, (now_s - first.now_s) / passed_s);
    if (Math.abs(this.rate - 1) < 0.3) this.rate = 1;
  }

  known(): boolean {
    return this.samples.length > 0;
  }

  /** Seconds of real time since the last answer. */
  silent_s(at_ms = performance.now()): number {
    const last = this.samples.at(-1);
    return last ? (at_ms - last.at_ms) / 1000 : 0;
  }

  /** Unix seconds; does not run on for more than a minute of real time without an answer. */
  now_s(at_ms = performance.now()): number {
    const last = this.samples.at(-1);
    if (!last) return Date.now() / 1000;
    const silent_s = Math.min(60, (at_ms - last.at_ms) / 1000);
    return last.now_s + this.rate * silent_s;
  }
}

import { backoff_ms } from './backoff';

export interface EventFeedHandlers {
  /** Called for each event of a name. */
  events: Record<string, (data: unknown) => void>;
  /** Asks for the same by plain requests, while events do not come. Rejects when that fails too. */
  poll: () => Promise<void>;
  /** How the feed fares. */
  state?: (state: FeedState) => void;
}

export type FeedState =
  | { kind: 'connecting' }
  | { kind: 'live' }
  | { kind: 'polling' }
  | { kind: 'down'; retry_at_ms: number };

const poll_every_ms = 5_000;

/**
 * Follows /events, again and again with growing pauses when it breaks off; polls in the meantime.
 * Sleeps while the page is hidden, since a browser opens few connections to one host.
 */
export class EventFeed {
  private source: EventSource | null = null;
  private failures = 0;
  private retry: number | undefined;
  private poller: number | undefined;
  private closed = false;

  constructor(private readonly path: string, private readonly handlers: EventFeedHandlers) {
    document.addEventListener('visibilitychange', this.on_visibility);
    this.open();
  }

  /** Tries at once instead of at the end of the pause. */
  retry_now(): void {
    if (!this.source && !this.closed) this.open();
  }

  close(): void {
    this.closed = true;
    document.removeEventListener('visibilitychange', this.on_visibility);
    this.rest();
  }

  private readonly on_visibility = () => {
    if (document.hidden) this.rest();
    else this.open();
  };

  private rest(): void {
    this.source?.close();
    this.source = null;
    clearTimeout(this.retry);
    clearTimeout(this.poller);
    this.poller = undefined;
  }

  private open(): void {
    this.rest();
    if (this.failures === 0) this.handlers.state?.({ kind: 'connecting' });
    const source = new EventSource(this.path);
    this.source = source;
    for (const [name, handle] of Object.entries(this.handlers.events)) {
      source.addEventListener(name, (event) => {
        this.failures = 0;
        clearTimeout(this.poller);
        this.poller = undefined;
        this.handlers.state?.({ kind: 'live' });
        handle(JSON.parse((event as MessageEvent<string>).data));
      });
    }
    source.onerror = () => this.fail(source);
  }

  private fail(source: EventSource): void {
    if (source !== this.source || this.closed) return;
    source.close();
    this.source = null;
    this.failures += 1;
    const wait_ms = backoff_ms(this.failures);
    this.retry = window.setTimeout(() => this.open(), wait_ms);
    if (this.poller === undefined) void this.poll(performance.now() + wait_ms);
  }

  private async poll(retry_at_ms: number): Promise<void> {
    this.poller = window.setTimeout(() => void this.poll(performance.now() + poll_every_ms), poll_every_ms);
    try {
      await this.handlers.poll();
      if (this.poller !== undefined && !this.closed) this.handlers.state?.({ kind: 'polling' });
    } catch {
      if (this.poller !== undefined && !this.closed) this.handlers.state?.({ kind: 'down', retry_at_ms });
    }
  }
}

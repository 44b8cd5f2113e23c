import { useEffect, useState } from 'preact/hooks';
import { ApiError, getJson } from '../api/client';
import { EventFeed } from '../api/event_feed';
import { clock } from '../state/live';

export interface Followed<T> {
  data: T | null;
  /** The service knows of no such thing, or not any more. */
  gone: boolean;
}

/** Follows one thing: by events of this name, and by asking at `path` until they come. */
export function useFollowed<T extends { now: number }>(path: string, topic: 'stop' | 'trip' | 'vehicle', id: string): Followed<T> {
  const [followed, setFollowed] = useState<Followed<T>>({ data: null, gone: false });
  useEffect(() => {
    setFollowed({ data: null, gone: false });
    let over = false;
    const take = (data: T) => {
      clock.tell(data.now);
      if (!over) setFollowed({ data, gone: false });
    };
    const lose = () => {
      if (!over) setFollowed((before) => ({ ...before, gone: true }));
    };
    const poll = async () => {
      try {
        take(await getJson<T>(path));
      } catch (error) {
        if (!(error instanceof ApiError) || error.status !== 404) throw error;
        lose();
      }
    };
    void poll().catch(() => undefined);
    const feed = new EventFeed(`/events?${topic}=${encodeURIComponent(id)}`, {
      events: { [topic]: (data) => take(data as T), gone: lose },
      poll,
    });
    return () => {
      over = true;
      feed.close();
    };
  }, [path, topic, id]);
  return followed;
}

/** Asks for something now and every `every_ms`; null until it is there. */
export function useAsked<T>(path: string | null, every_ms: number): { data: T | null; error: ApiError | null } {
  const [asked, setAsked] = useState<{ data: T | null; error: ApiError | null }>({ data: null, error: null });
  useEffect(() => {
    setAsked({ data: null, error: null });
    if (path === null) return undefined;
    let over = false;
    const ask = () => {
      if (document.hidden) return;
      getJson<T>(path).then(
        (data) => over || setAsked({ data, error: null }),
        (error: unknown) => over || setAsked((before) => ({ ...before, error: error as ApiError })),
      );
    };
    ask();
    const timer = setInterval(ask, every_ms);
    return () => {
      over = true;
      clearInterval(timer);
    };
  }, [path, every_ms]);
  return asked;
}

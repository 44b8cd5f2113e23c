import { useEffect, useState } from 'preact/hooks';

/** A value that tells when it changes. */
export class Store<T> {
  private listeners = new Set<() => void>();

  constructor(private current: T) {}

  get(): T {
    return this.current;
  }

  set(value: T): void {
    if (Object.is(value, this.current)) return;
    this.current = value;
    for (const tell of [...this.listeners]) tell();
  }

  subscribe(tell: () => void): () => void {
    this.listeners.add(tell);
    return () => this.listeners.delete(tell);
  }
}

/** The value of a store in a component, which is drawn anew when it changes. */
export function useStore<T>(store: Store<T>): T {
  const [value, setValue] = useState(store.get());
  useEffect(() => {
    const update = () => setValue(() => store.get());
    update();
    return store.subscribe(update);
  }, [store]);
  return value;
}

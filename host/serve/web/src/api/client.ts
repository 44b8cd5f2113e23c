/** The service answered with an error, or not at all (`status` 0). */
export class ApiError extends Error {
  constructor(readonly status: number, message: string) {
    super(message);
  }
}

const patience_ms = 10_000;

/** Asks the service. Throws ApiError; when `signal` ends the request, its reason. */
export async function getJson<T>(path: string, signal?: AbortSignal): Promise<T> {
  const timeout = new AbortController();
  const timer = setTimeout(() => timeout.abort(), patience_ms);
  const give_up = () => timeout.abort();
  signal?.addEventListener('abort', give_up);
  try {
    const answer = await fetch(path, { signal: timeout.signal, headers: { Accept: 'application/json' } });
    if (answer.ok) return (await answer.json()) as T;
    const error = (await answer.json().catch(() => null)) as { message?: string } | null;
    throw new ApiError(answer.status, error?.message ?? answer.statusText);
  } catch (error) {
    if (error instanceof ApiError) throw error;
    if (signal?.aborted) throw signal.reason;
    throw new ApiError(0, String(error));
  } finally {
    clearTimeout(timer);
    signal?.removeEventListener('abort', give_up);
  }
}

export const segment = encodeURIComponent;

// The one cursor: a sample of the first run, and the listeners that are called when it moves.

type Listener = (sample: number, source: unknown) => void;

export class Cursor {
  private listeners: Listener[] = [];

  constructor(
    private readonly count: number,
    private current: number,
  ) {}

  get sample(): number {
    return this.current;
  }

  // Passes source to the listeners, so that the one that moved the cursor can ignore the call.
  move(sample: number, source: unknown = null): void {
    const next = Math.max(0, Math.min(this.count - 1, Math.round(sample)));
    if (Number.isNaN(next) || next === this.current) return;
    this.current = next;
    for (const listener of this.listeners) listener(next, source);
  }

  listen(listener: Listener): void {
    this.listeners.push(listener);
  }
}

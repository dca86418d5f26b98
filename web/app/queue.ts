// Jobs for the worker, one at a time: what a person waits for goes before what is done for all files.
import { FileResult, Job } from "./work";

interface Waiting {
  job: Job;
  done(result: FileResult): void;
  failed(error: Error): void;
}

export class Queue {
  private readonly waiting: Waiting[] = [];
  private current: Waiting | null = null;
  private count = 0;

  constructor(private readonly worker: Worker) {
    worker.addEventListener("message", ({ data }) => this.answered(data));
    worker.addEventListener("error", (event) => {
      event.preventDefault();
      this.answered({ error: event.message || "the engine could not be started" });
    });
  }

  do(job: Job, isUrgent: boolean): Promise<FileResult> {
    return new Promise((done, failed) => {
      const asked = { job, done, failed };
      if (isUrgent) this.waiting.unshift(asked);
      else this.waiting.push(asked);
      this.next();
    });
  }

  private next(): void {
    if (this.current || this.waiting.length === 0) return;
    this.current = this.waiting.shift()!;
    this.worker.postMessage({ id: ++this.count, job: this.current.job });
  }

  private answered(data: { result?: FileResult; error?: string }): void {
    const asked = this.current;
    this.current = null;
    if (asked && data.result) asked.done(data.result);
    else asked?.failed(new Error(data.error));
    this.next();
  }
}

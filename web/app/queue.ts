// Jobs for the worker, one at a time. A job whose result the user waits for goes before the others.
import { FileResult, Job } from "./work";

interface Answer {
  result?: FileResult;
  error?: string;
  isUnreadable?: boolean; // the worker could not read the file
}

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
    worker.addEventListener("message", ({ data }) => void this.answered(data));
    worker.addEventListener("error", (event) => {
      event.preventDefault();
      void this.answered({ error: event.message || "the engine could not be started" });
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
    this.send(this.current.job);
  }

  private send(job: Job, transfer: Transferable[] = []): void {
    this.worker.postMessage({ id: ++this.count, job }, transfer);
  }

  // In Safari the worker of a page from the disk cannot read files: the page reads them and passes their bytes.
  private async sendBytes(job: Job, file: Blob): Promise<Answer | null> {
    try {
      const bytes = new Uint8Array(await file.arrayBuffer());
      this.send({ ...job, file: bytes }, [bytes.buffer]);
      return null;
    } catch (error) {
      return { error: (error as Error).message };
    }
  }

  private async answered(answer: Answer): Promise<void> {
    const asked = this.current;
    let data = answer;
    if (asked && answer.isUnreadable && asked.job.file instanceof Blob) {
      const failure = await this.sendBytes(asked.job, asked.job.file);
      if (failure === null) return;
      data = failure;
    }
    this.current = null;
    if (asked && data.result) asked.done(data.result);
    else asked?.failed(new Error(data.error));
    this.next();
  }
}

// The work for one file, which the worker does.
import { RunDocument } from "../src/document";
import { Courses, Engine, EngineFile, RunOptions } from "./engine";

// The outputs of a run, as the programs write them.
export interface RunResult {
  kind: "run";
  head: RunDocument; // without charts and samples
  document: Uint8Array;
  report: Uint8Array | null; // null for a run that failed
  map: Uint8Array | null; // null for a track that was not read
  metric: boolean;
  isChecked: boolean;
}

export interface WalkResult {
  kind: "walk";
  course: Uint8Array;
  log: Uint8Array | null; // null for a finished course
  map: Uint8Array | null;
}

export interface DayResult {
  kind: "day";
  listing: Uint8Array;
  jumps: { name: string; bytes: Uint8Array }[];
}

export type FileResult = RunResult | WalkResult | DayResult;

export interface Job {
  name: string;
  file: Blob | Uint8Array;
  courses: Courses;
  options: RunOptions;
  check: boolean;
  // True for a single run; another file may also be a walk, or contain several jumps.
  isKnown: boolean;
}

// The members of a document before the charts. Each member has a line, and the long ones begin with the charts.
function headOf(document: Uint8Array): RunDocument {
  const text = new TextDecoder().decode(document);
  const head = text.slice(0, text.indexOf(',\n"charts":'));
  return { ...JSON.parse(`${head}}`), charts: null, samples: null };
}

function runResult(file: EngineFile, job: Job): RunResult {
  const isChecked = job.check && file.check() !== null;
  const [report, map] = [file.report(), file.map()];
  const document = file.document();
  if (!document) throw new Error(file.message() ?? "no document");
  return { kind: "run", head: headOf(document), document, report, map, metric: job.options.metric, isChecked };
}

function walkResult(file: EngineFile): WalkResult | null {
  if (!file.survey(true)) return null;
  const course = file.course();
  return course && { kind: "walk", course, log: file.log(), map: file.map() };
}

function dayResult(file: EngineFile, metric: boolean): DayResult | null {
  const listing = file.listing(metric);
  const jumps = Array.from({ length: file.jumpCount() }, (_, i) => file.jump(i));
  if (!listing || jumps.some((jump) => jump === null)) return null;
  return { kind: "day", listing, jumps: jumps.filter((jump): jump is NonNullable<typeof jump> => jump !== null) };
}

// Every file is first analysed as a run: the samples of a run are then read once, only those of other files twice.
function resultOf(file: EngineFile, job: Job): FileResult {
  const isSound = file.analyse(job.courses, job.options);
  const count = job.isKnown ? 1 : file.trackJumps();
  if (count > 1 && file.split()) {
    const day = dayResult(file, job.options.metric);
    if (day) return day;
  }
  const run = runResult(file, job);
  return isSound || count > 0 ? run : (walkResult(file) ?? run);
}

// Files of at most this size share an engine, whose memory is used again.
const sharedSize = 2 * 1024 * 1024;

export class Workbench {
  private shared: Engine | null = null;

  constructor(private readonly module: WebAssembly.Module) {}

  async do(job: Job): Promise<FileResult> {
    const content = job.file;
    const engine = await this.engineFor(content instanceof Blob ? content.size : content.length);
    try {
      const file = content instanceof Blob ? await engine.openBlob(job.name, content) : engine.open(job.name, content);
      const result = resultOf(file, job);
      file.free();
      return result;
    } catch (error) {
      // An engine in which a call has failed to return is not used again.
      if (engine === this.shared) this.shared = null;
      throw error;
    }
  }

  private async engineFor(size: number): Promise<Engine> {
    if (size > sharedSize) return Engine.start(this.module, size);
    this.shared ??= await Engine.start(this.module, sharedSize);
    return this.shared;
  }
}

// The buffers of a result, which are transferred to the page without copying.
export function buffersOf(result: FileResult): ArrayBuffer[] {
  const members: unknown[] = result.kind === "day" ? result.jumps.map(({ bytes }) => bytes) : Object.values(result);
  return members.filter((each): each is Uint8Array => each instanceof Uint8Array).map(({ buffer }) => buffer as ArrayBuffer);
}

// The interface of src/module/module.h, compiled to WebAssembly, for scripts. A file that was opened must be freed.

// All addresses and sizes are of 32 bits.
interface Functions {
  _initialize(): void;
  tarvel_allocate(size: number): number;
  tarvel_release(block: number): void;
  tarvel_open(name: number, bytes: number, size: number): number;
  tarvel_free(file: number): void;
  tarvel_version(): number;
  tarvel_add_course(run: number, course: number): number;
  tarvel_survey(walk: number, pond: number): number;
  tarvel_analyse(run: number, courseName: number, metric: number, timeAloft: number): number;
  tarvel_split(day: number): number;
  tarvel_track_jumps(run: number): number;
  tarvel_message(file: number): number;
  tarvel_warnings(file: number): number;
  tarvel_report(run: number): number;
  tarvel_document(run: number): number;
  tarvel_check(run: number): number;
  tarvel_map(file: number): number;
  tarvel_course(walk: number): number;
  tarvel_log(walk: number): number;
  tarvel_listing(day: number, metric: number): number;
  tarvel_verdict(run: number): number;
  tarvel_jump_count(day: number): number;
  tarvel_jump(day: number, jump: number): number;
  tarvel_jump_name(day: number, jump: number): number;
}

export type Verdict = "good" | "doubtful" | "unusable";
const verdicts: Verdict[] = ["good", "doubtful", "unusable"];

export interface Courses {
  start: string | null; // name of the course file that is read first; null for no course
  files: { name: string; bytes: Uint8Array }[]; // this course file, and those to which it may refer
}

export interface RunOptions {
  metric: boolean;
  timeAloft: number; // ms; 0 when not given
}

const pageSize = 65536;
const leastMemory = 32 * 1024 * 1024;
const mostMemory = 4 * 1024 * 1024 * 1024;
// A row has 60 bytes or more, its sample some 400, and the array of samples is doubled when it is full.
const memoryPerByte = 12;
const pieceSize = 8 * 1024 * 1024; // of a file that is read

// The functions that the C library imports. They fail, since the engine writes nothing. The time zone is UTC by
// default.
const badDescriptor = 8;
const systemInterface = { fd_close: () => badDescriptor, fd_seek: () => badDescriptor, fd_write: () => badDescriptor };

export class Engine {
  private readonly functions: Functions;

  private constructor(
    private readonly memory: WebAssembly.Memory,
    instance: WebAssembly.Instance,
  ) {
    this.functions = instance.exports as unknown as Functions;
    this.functions._initialize();
  }

  // Starts with enough memory for a file of this size, since growing the memory in small steps takes long.
  static async start(module: WebAssembly.Module, size: number): Promise<Engine> {
    const wanted = Math.min(leastMemory + memoryPerByte * size, mostMemory);
    const memory = new WebAssembly.Memory({ initial: Math.ceil(wanted / pageSize), maximum: mostMemory / pageSize });
    const imports = { env: { memory }, wasi_snapshot_preview1: systemInterface };
    return new Engine(memory, await WebAssembly.instantiate(module, imports));
  }

  version(): string {
    return this.text(this.functions.tarvel_version());
  }

  open(name: string, bytes: Uint8Array): EngineFile {
    const block = this.allocate(bytes.length);
    this.write(block, bytes);
    return this.openBlock(name, block, bytes.length);
  }

  // Reads the file piece by piece, so that only one copy of it is in memory.
  async openBlob(name: string, blob: Blob): Promise<EngineFile> {
    const block = this.allocate(blob.size);
    for (let at = 0; at < blob.size; at += pieceSize) {
      this.write(block + at, new Uint8Array(await blob.slice(at, at + pieceSize).arrayBuffer()));
    }
    return this.openBlock(name, block, blob.size);
  }

  private allocate(size: number): number {
    const block = this.functions.tarvel_allocate(size);
    if (block === 0) throw new Error("malloc() failed");
    return block;
  }

  private write(block: number, bytes: Uint8Array): void {
    new Uint8Array(this.memory.buffer, block, bytes.length).set(bytes);
  }

  private openBlock(name: string, block: number, size: number): EngineFile {
    const file = this.withText(name, (address) => this.functions.tarvel_open(address, block, size));
    if (file === 0) throw new Error("malloc() failed");
    return new EngineFile(this, this.functions, file);
  }

  // Calls use with the address of the text, which is freed afterwards.
  withText<T>(text: string, use: (address: number) => T): T {
    const bytes = new TextEncoder().encode(`${text}\0`);
    const block = this.allocate(bytes.length);
    this.write(block, bytes);
    try {
      return use(block);
    } finally {
      this.functions.tarvel_release(block);
    }
  }

  // The NUL-terminated text at an address.
  text(address: number): string {
    const memory = new Uint8Array(this.memory.buffer);
    return new TextDecoder().decode(memory.subarray(address, memory.indexOf(0, address)));
  }

  // A copy of the bytes to which the tarvel_bytes at an address points; null for null.
  bytes(address: number): Uint8Array | null {
    if (address === 0) return null;
    const [data, size] = new Uint32Array(this.memory.buffer, address, 2);
    return new Uint8Array(this.memory.buffer, data, size).slice();
  }
}

export class EngineFile {
  private readonly courses: EngineFile[] = [];

  constructor(
    private readonly engine: Engine,
    private readonly functions: Functions,
    private readonly address: number,
  ) {}

  free(): void {
    this.functions.tarvel_free(this.address);
    for (const course of this.courses) course.free();
  }

  survey(pond: boolean): boolean {
    return this.functions.tarvel_survey(this.address, Number(pond)) !== 0;
  }

  analyse(courses: Courses, { metric, timeAloft }: RunOptions): boolean {
    const { engine, functions, address } = this;
    for (const { name, bytes } of courses.start === null ? [] : courses.files) {
      const course = engine.open(name, bytes);
      this.courses.push(course);
      if (functions.tarvel_add_course(address, course.address) === 0) throw new Error("malloc() failed");
    }
    const analyse = (name: number) => functions.tarvel_analyse(address, name, Number(metric), timeAloft) !== 0;
    return courses.start === null ? analyse(0) : engine.withText(courses.start, analyse);
  }

  split(): boolean {
    return this.functions.tarvel_split(this.address) !== 0;
  }

  // The number of jumps in the track of an analysed run.
  trackJumps(): number {
    return this.functions.tarvel_track_jumps(this.address);
  }

  message(): string | null {
    const message = this.functions.tarvel_message(this.address);
    return message === 0 ? null : this.engine.text(message);
  }

  warnings(): string {
    return this.engine.text(this.functions.tarvel_warnings(this.address));
  }

  report(): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_report(this.address));
  }

  document(): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_document(this.address));
  }

  check(): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_check(this.address));
  }

  // The verdict of the last check.
  verdict(): Verdict {
    return verdicts[this.functions.tarvel_verdict(this.address)];
  }

  map(): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_map(this.address));
  }

  course(): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_course(this.address));
  }

  log(): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_log(this.address));
  }

  listing(metric: boolean): Uint8Array | null {
    return this.engine.bytes(this.functions.tarvel_listing(this.address, Number(metric)));
  }

  jumpCount(): number {
    return this.functions.tarvel_jump_count(this.address);
  }

  jump(number: number): { name: string; bytes: Uint8Array } | null {
    const name = this.engine.bytes(this.functions.tarvel_jump_name(this.address, number));
    const bytes = this.engine.bytes(this.functions.tarvel_jump(this.address, number));
    return name && bytes ? { name: new TextDecoder().decode(name), bytes } : null;
  }
}

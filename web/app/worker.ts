// The worker: compiles the engine that it is sent first, and then does one job after the other.
import { Job, Workbench } from "./work";

// Which this compiler does not know yet.
declare class DecompressionStream implements GenericTransformStream {
  constructor(format: "gzip");
  readonly readable: ReadableStream;
  readonly writable: WritableStream;
}

// The module, compressed by gzip, in base64.
async function compile(packed: string): Promise<WebAssembly.Module> {
  const bytes = Uint8Array.from(atob(packed), (letter) => letter.charCodeAt(0));
  const unpacked = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("gzip"));
  return WebAssembly.compile(await new Response(unpacked).arrayBuffer());
}

let workbench: Promise<Workbench> | null = null;

async function answer(id: number, job: Job): Promise<void> {
  try {
    if (!workbench) throw new Error("the engine has not been sent");
    postMessage({ id, result: await (await workbench).do(job) });
  } catch (error) {
    const isMemory = error instanceof RangeError || error instanceof WebAssembly.RuntimeError;
    postMessage({ id, error: isMemory ? "there is not enough memory for this file" : String((error as Error).message) });
  }
}

addEventListener("message", ({ data }: MessageEvent<{ engine: string } | { id: number; job: Job }>) => {
  if ("engine" in data) workbench = compile(data.engine).then((module) => new Workbench(module));
  else void answer(data.id, data.job);
});

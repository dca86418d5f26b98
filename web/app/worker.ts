// The worker: compiles the engine that it is sent first, and then does one job after the other.
import { Job, Workbench, buffersOf } from "./work";

// Which this compiler does not know yet.
declare class DecompressionStream implements GenericTransformStream {
  constructor(format: "gzip");
  readonly readable: ReadableStream;
  readonly writable: WritableStream;
}

// The module, compressed by gzip, in base64. It is compiled while it is unpacked.
function compile(packed: string): Promise<WebAssembly.Module> {
  const letters = atob(packed);
  const bytes = new Uint8Array(letters.length);
  for (let i = 0; i < letters.length; ++i) bytes[i] = letters.charCodeAt(i);
  // No Blob: in Safari the worker of a page from the disk cannot read one.
  const unpacked = new Response(bytes).body!.pipeThrough(new DecompressionStream("gzip"));
  return WebAssembly.compileStreaming(new Response(unpacked, { headers: { "Content-Type": "application/wasm" } }));
}

let workbench: Promise<Workbench> | null = null;

async function answer(id: number, job: Job): Promise<void> {
  try {
    if (!workbench) throw new Error("the engine has not been sent");
    const result = await (await workbench).do(job);
    postMessage({ id, result }, { transfer: buffersOf(result) });
  } catch (error) {
    const isUnreadable = error instanceof DOMException && error.name === "NotReadableError";
    const isMemory = error instanceof RangeError || error instanceof WebAssembly.RuntimeError;
    postMessage({ id, isUnreadable, error: isMemory ? "there is not enough memory for this file" : String((error as Error).message) });
  }
}

addEventListener("message", ({ data }: MessageEvent<{ engine: string } | { id: number; job: Job }>) => {
  if ("engine" in data) workbench = compile(data.engine).then((module) => new Workbench(module));
  else void answer(data.id, data.job);
});

// The worker: compiles the engine, which is in its first message, and then does one job after another.
import { Job, Workbench, buffersOf } from "./work";

// Declared here, since the type declarations of Debian's tsc do not have it.
declare class DecompressionStream implements GenericTransformStream {
  constructor(format: "gzip");
  readonly readable: ReadableStream;
  readonly writable: WritableStream;
}

// Compiles the module, which is given in base64 and compressed by gzip. It is compiled while it is unpacked.
function compile(packed: string): Promise<WebAssembly.Module> {
  const letters = atob(packed);
  const bytes = new Uint8Array(letters.length);
  for (let i = 0; i < letters.length; ++i) bytes[i] = letters.charCodeAt(i);
  // Not through a Blob, which the worker of a page from the disk cannot read in Safari.
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

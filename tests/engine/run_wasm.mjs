// Runs a WebAssembly program any number of times: node run_wasm.mjs PROGRAM. Each line of standard input is a call as
// JSON: its arguments, its working directory and the file that takes its standard output. Each line of standard output
// is a call's exit status.
import { closeSync, openSync, readFileSync } from "node:fs";
import { argv, stdin } from "node:process";
import { createInterface } from "node:readline";
import { WASI } from "node:wasi";

const program = argv[2];
const compiled = await WebAssembly.compile(readFileSync(program));
const nothing = openSync("/dev/null", "r");

for await (const line of createInterface({ input: stdin })) {
  const { given, folder, output } = JSON.parse(line);
  const stdout = openSync(output, "w");
  const wasi = new WASI({
    version: "preview1",
    args: [program, ...given],
    preopens: { ".": folder },
    stdin: nothing,
    stdout,
    returnOnExit: true,
  });
  const instance = await WebAssembly.instantiate(compiled, wasi.getImportObject());
  console.log(wasi.start(instance));
  closeSync(stdout);
}

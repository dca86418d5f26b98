// Runs a WebAssembly program over the working directory: node run_wasm.mjs PROGRAM ARGUMENT...
import { readFileSync } from "node:fs";
import { argv, exit } from "node:process";
import { WASI } from "node:wasi";

const [program, ...given] = argv.slice(2);
const wasi = new WASI({ version: "preview1", args: [program, ...given], preopens: { ".": "." }, returnOnExit: true });
const { instance } = await WebAssembly.instantiate(readFileSync(program), wasi.getImportObject());
exit(wasi.start(instance));

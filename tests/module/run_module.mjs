// Runs the module over files: node run_module.mjs tarvel.wasm JOBS. JOBS is a JSON list of what is wanted; the answers
// go to standard output, a line each. Bytes are in base64.
//
//   {"work": "analyse", "name", "file", "course": null or its name, "courses": {name: file}, "metric", "aloft",
//    "check"}
//   {"work": "survey", "name", "file", "pond"}
//   {"work": "split", "name", "file", "metric"}
import { readFileSync } from "node:fs";
import { argv } from "node:process";

import { Engine } from "../../web/app/engine.ts";

const text = (bytes) => (bytes === null ? null : Buffer.from(bytes).toString("base64"));

const works = {
  analyse(file, { course, courses, metric, aloft, check = true }) {
    const files = Object.entries(courses).map(([name, path]) => ({ name, bytes: readFileSync(path) }));
    file.analyse({ start: course, files }, { metric, timeAloft: aloft });
    const message = file.message();
    const checked = check ? text(file.check()) : null;
    return {
      message,
      warnings: file.warnings(),
      report: text(file.report()),
      map: text(file.map()),
      document: text(file.document()),
      check: checked,
      verdict: file.verdict(),
    };
  },
  survey(file, { pond }) {
    file.survey(pond);
    const message = file.message();
    return { message, warnings: file.warnings(), log: text(file.log()), course: text(file.course()), map: text(file.map()) };
  },
  split(file, { metric }) {
    file.split();
    const message = file.message();
    const jumps = Array.from({ length: file.jumpCount() }, (_, i) => file.jump(i));
    const parts = jumps.map(({ name, bytes }) => [name, text(bytes)]);
    return { message, warnings: file.warnings(), listing: text(file.listing(metric)), parts };
  },
};

const module = new WebAssembly.Module(readFileSync(argv[2]));
for (const job of JSON.parse(readFileSync(argv[3]))) {
  const bytes = readFileSync(job.file);
  const engine = await Engine.start(module, bytes.length);
  const file = engine.open(job.name, bytes);
  console.log(JSON.stringify(works[job.work](file, job)));
  file.free();
}

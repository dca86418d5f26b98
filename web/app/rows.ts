// The rows of the table: the files that the page was given, and their results.
import { Check, checkOf } from "../src/check";
import { RunDocument } from "../src/document";
import { FileResult, RunResult, WalkResult } from "./work";

export interface Row {
  number: number; // in the order in which the files were added
  path: string;
  file: Blob;
  state: "waiting" | "done";
  isPart: boolean; // one jump of a track with several
  timeAloft: number; // ms, as a judge measured it; 0 when not given
  run: RunDocument | null; // without samples and charts
  result: RunResult | WalkResult | null; // null when it was not kept, or must be made again
  walk: WalkResult | null;
  message: string | null; // the program's error message
  isTicked: boolean;
}

export function parseDocument(result: RunResult): RunDocument {
  return JSON.parse(new TextDecoder().decode(result.document)) as RunDocument;
}

export function makeRow(number: number, path: string, file: Blob, isPart: boolean): Row {
  const state = "waiting";
  return { number, path, file, state, isPart, timeAloft: 0, run: null, result: null, walk: null, message: null, isTicked: false };
}

// The most bytes of results that are kept for all runs together. A result that is not kept is made again when its run
// is opened.
const mostKept = 200e6;
let kept = 0;

function sizeOf(row: Row): number {
  return row.result?.kind === "run" ? row.result.document.length + (row.result.map?.length ?? 0) : 0;
}

export function forgetResult(row: Row): void {
  kept -= sizeOf(row);
  row.result = null;
}

export function settleRow(row: Row, result: Exclude<FileResult, { kind: "day" }>): void {
  forgetResult(row);
  row.state = "done";
  row.walk = result.kind === "walk" ? result : null;
  row.run = null;
  row.message = null;
  if (result.kind === "run") {
    row.run = result.head;
    row.message = result.head.failure?.message ?? null;
  }
  row.result = result;
  kept += sizeOf(row);
  if (kept > mostKept) forgetResult(row);
}

export function isSound(row: Row): boolean {
  return row.run !== null && row.run.failure === null;
}

export function verdictOf(row: Row): Check["verdict"] | null {
  return row.run ? (checkOf(row.run)?.verdict ?? null) : null;
}

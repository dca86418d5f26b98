// The files that the page knows, and what was found in them.
import { checkOf } from "../src/check";
import { RunDocument } from "../src/document";
import { FileResult, RunResult, WalkResult } from "./work";

export interface Row {
  number: number; // in the order in which they came
  path: string;
  file: Blob;
  state: "waiting" | "done";
  isPart: boolean; // a jump that was cut out of a day
  timeAloft: number; // ms, as a judge measured it; 0 when not given
  run: RunDocument | null; // without samples and charts
  result: RunResult | WalkResult | null; // null when it is to be made again
  walk: WalkResult | null;
  message: string | null; // of the program
  isTicked: boolean;
}

export function parseDocument(result: RunResult): RunDocument {
  return JSON.parse(new TextDecoder().decode(result.document)) as RunDocument;
}

export function makeRow(number: number, path: string, file: Blob, isPart: boolean): Row {
  const state = "waiting";
  return { number, path, file, state, isPart, timeAloft: 0, run: null, result: null, walk: null, message: null, isTicked: false };
}

// Bytes of results that are kept for all runs together. Beyond that, a result is made again when its run is opened.
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

export function verdictOf(row: Row): string | null {
  return row.run ? (checkOf(row.run)?.verdict ?? null) : null;
}

// A run as the page draws it: the samples of its document as columns in metres, m/s, seconds and degrees. A value that
// is missing in the document is NaN.
import { Column, Phase, RunDocument, Samples } from "./document";

export interface Mark {
  name: string;
  key: string;
  sample: number; // index among the run's samples
  phase: Phase;
}

export interface Run {
  document: RunDocument;
  name: string;
  label: string; // differs from that of every other run on the page
  count: number;
  time: Float64Array; // since the track's first sample
  x: Float64Array; // along the course, 0 at the gate
  y: Float64Array; // to the left of it
  offset: Float64Array; // to the right, as in the report
  height: Float64Array;
  horizontal: Float64Array;
  vertical: Float64Array; // downwards
  total: Float64Array;
  diveAngle: Float64Array;
  heading: Float64Array;
  turnRate: Float64Array;
  unrolledHeading: Float64Array; // without jumps at 360; within half a turn of 0 at the gate
  horizontalAccuracy: Float64Array;
  verticalAccuracy: Float64Array;
  speedAccuracy: Float64Array;
  satellites: Float64Array;
  marks: Mark[]; // in order of time, without phases that the run does not have
}

const phaseNames: Record<string, string> = {
  exit: "exit",
  pattern_entry: "2,500 ft",
  turn: "start of turn",
  max_vertical_speed: "max vertical speed",
  max_total_speed: "max total speed",
  rollout_start: "start of rollout",
  rollout_end: "end of rollout",
  max_horizontal_speed: "max horizontal speed",
  entry_gate: "entry gate",
  exit_gate: "exit gate",
  touchdown: "touchdown",
  stop: "stop",
};

function scaled(column: Column, divisor: number): Float64Array {
  return Float64Array.from(column, (value) => (value === null ? NaN : value / divisor));
}

function marksOf(document: RunDocument, samples: Samples): Mark[] {
  const marks: Mark[] = [];
  for (const [key, name] of Object.entries(phaseNames)) {
    const phase = document.phases?.[key];
    if (!phase) continue;
    const sample = phase.index - samples.first;
    if (sample >= 0 && sample < samples.count) marks.push({ name, key, sample, phase });
  }
  return marks.sort((a, b) => (a.phase.time ?? 0) - (b.phase.time ?? 0));
}

// From the sample before to each sample.
function turnedAngle(rate: Float64Array, time: Float64Array): Float64Array {
  return rate.map((value, i) => (i === 0 ? 0 : value * (time[i] - time[i - 1])));
}

// Adds whole turns where the heading jumps, as the engine's turn angles between samples show.
function unroll(heading: Float64Array, turned: Float64Array, level: number): Float64Array {
  const result = heading.slice();
  for (let i = 1; i < result.length; ++i) {
    const expected = result[i - 1] + (Number.isFinite(turned[i]) ? turned[i] : 0);
    if (Number.isFinite(expected) && Number.isFinite(heading[i])) {
      result[i] = heading[i] + 360 * Math.round((expected - heading[i]) / 360);
    }
  }
  const shift = level >= 0 && Number.isFinite(result[level]) ? 360 * Math.round(result[level] / 360) : 0;
  return shift === 0 ? result : result.map((value) => value - shift);
}

export function findMark(run: Run, key: string): Mark | undefined {
  return run.marks.find((mark) => mark.key === key);
}

// The run of a document; null for one that failed.
export function makeRun(document: RunDocument, label: string): Run | null {
  const samples = document.samples;
  if (!samples || samples.count === 0) return null;
  const vx = scaled(samples.vx, 1000);
  const vy = scaled(samples.vy, 1000);
  const vertical = scaled(samples.vz, -1000);
  const horizontal = vx.map((value, i) => Math.hypot(value, vy[i]));
  const heading = scaled(samples.heading, 100);
  const time = scaled(samples.time, 1000);
  const marks = marksOf(document, samples);
  const gate = marks.find((mark) => mark.key === "entry_gate") ?? marks[marks.length - 1];
  return {
    document,
    name: document.track.name,
    label,
    count: samples.count,
    time,
    x: scaled(samples.x, 1000),
    y: scaled(samples.y, 1000),
    offset: scaled(samples.y, -1000),
    height: scaled(samples.z, 1000),
    horizontal,
    vertical,
    total: horizontal.map((value, i) => Math.hypot(value, vertical[i])),
    diveAngle: scaled(samples.dive_angle, 100),
    heading,
    turnRate: scaled(samples.turn_rate, 100),
    unrolledHeading: unroll(heading, turnedAngle(scaled(samples.turn_rate, 100), time), gate ? gate.sample : -1),
    horizontalAccuracy: scaled(samples.hacc, 1000),
    verticalAccuracy: scaled(samples.vacc, 1000),
    speedAccuracy: scaled(samples.sacc, 1000),
    satellites: scaled(samples.satellites, 1),
    marks,
  };
}

// The file names without folders and extension; with the folders, or with a number, when two are equal.
export function labelsOf(names: string[]): string[] {
  const short = names.map((name) => name.replace(/^.*[/\\]/, "").replace(/(.)\.[^.]*$/, "$1"));
  const isUnique = (labels: string[]) => new Set(labels).size === labels.length;
  if (isUnique(short)) return short;
  if (isUnique(names)) return names;
  return short.map((name, i) => `${name} (${i + 1})`);
}

// The samples from the turn to the stop.
export function turnToStop(run: Run): [number, number] {
  const from = findMark(run, "turn")?.sample ?? 0;
  const to = findMark(run, "stop")?.sample ?? run.count - 1;
  return from < to ? [from, to] : [0, run.count - 1];
}

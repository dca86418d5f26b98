// The content of the two views, in metres: paths, the course, the phases.
import { Chart } from "./document";
import { Mark, Run, turnToStop } from "./runs";
import { feetPerMetre } from "./units";

export type Point = [number, number];

export interface Path {
  x: Float64Array;
  y: Float64Array;
  speed: Float64Array;
  from: number; // the samples from the turn to the stop; those before and after are drawn fainter
  to: number;
}

export interface Shape {
  kind: "pond" | "corridor" | "gate" | "outline" | "ground";
  points: Point[];
  poleRadius?: number;
}

export interface SceneMark {
  name: string;
  rank: number; // of the name: those of lower ranks get the places nearest to their marks
  at: Point;
  run: number;
}

export interface Scene {
  name: string;
  upwards: string; // name of the quantity that grows upwards
  roomBelow: number; // px below the scene, for names
  paths: Path[];
  shapes: Shape[];
  marks: SceneMark[];
}

// Converts the coordinates of a chart, which are in the units of the report.
function chartPoints(chart: Chart, style: string, divisor: number): { points: Point[]; radius: number } {
  const series = chart.series.find((each) => each.style === style);
  const points: Point[] = [];
  series?.x.forEach((x, i) => {
    const y = series.y[i];
    if (x !== null && y !== null) points.push([x / divisor, y / divisor]);
  });
  return { points, radius: (series?.radius ?? 0) / divisor };
}

// The gates are pairs of poles, in the order of the course.
function gatesOf(run: Run): { gates: [Point, Point][]; radius: number } {
  const chart = run.document.charts?.overhead;
  if (!chart) return { gates: [], radius: 0 };
  const { points, radius } = chartPoints(chart, "open_circle", chartDivisor(run));
  const gates: [Point, Point][] = [];
  for (let i = 0; i + 1 < points.length; i += 2) gates.push([points[i], points[i + 1]]);
  return { gates, radius };
}

function chartDivisor(run: Run): number {
  return run.document.program.options.metric ? 1 : feetPerMetre;
}

function pondOf(run: Run): Point[] {
  const chart = run.document.charts?.overhead;
  return chart ? chartPoints(chart, "thick_dashed", chartDivisor(run)).points : [];
}

function courseFromAbove(run: Run): Shape[] {
  const chart = run.document.charts?.overhead;
  if (!chart) return [];
  const shapes: Shape[] = [];
  const pond = pondOf(run);
  if (pond.length > 2) shapes.push({ kind: "pond", points: pond });
  const { gates, radius } = gatesOf(run);
  if (gates.length > 1) {
    shapes.push({ kind: "corridor", points: [...gates.map(([a]) => a), ...gates.map(([, b]) => b).reverse()] });
  }
  const outline = chartPoints(chart, "solid", chartDivisor(run)).points;
  if (outline.length > 1) shapes.push({ kind: "outline", points: outline });
  for (const gate of gates) shapes.push({ kind: "gate", points: gate, poleRadius: radius });
  return shapes;
}

const gateHeight = 2; // m, so that it is visible when the whole view is shown

function courseFromTheSide(run: Run): Shape[] {
  const shapes: Shape[] = [{ kind: "ground", points: [] }];
  const pond = pondOf(run).map(([x]) => x);
  if (pond.length > 2) shapes.push({ kind: "pond", points: [[Math.min(...pond), 0], [Math.max(...pond), 0]] });
  const { gates } = gatesOf(run);
  for (const gate of gates.length > 1 ? [gates[0], gates[gates.length - 1]] : gates) {
    const x = (gate[0][0] + gate[1][0]) / 2;
    shapes.push({ kind: "gate", points: [[x, 0], [x, gateHeight]] });
  }
  return shapes;
}

const firstNames = ["entry_gate", "touchdown", "turn"];

function rankOf({ key }: Mark): number {
  const rank = firstNames.indexOf(key);
  return rank < 0 ? firstNames.length : rank;
}

// Phases of the same moment share one mark.
function marksOf(runs: Run[], place: (mark: Mark) => Point): SceneMark[] {
  const marks: SceneMark[] = [];
  runs.forEach((run, index) => {
    const byTime = new Map<number | null, SceneMark>();
    for (const mark of run.marks) {
      const at = place(mark);
      if (!at.every(Number.isFinite)) continue;
      const same = byTime.get(mark.phase.time);
      if (same) {
        same.name += `, ${mark.name}`;
        same.rank = Math.min(same.rank, rankOf(mark));
      } else {
        const made = { name: mark.name, rank: rankOf(mark), at, run: index };
        byTime.set(mark.phase.time, made);
        marks.push(made);
      }
    }
  });
  return marks;
}

export function pathOf(run: Run, y: Float64Array): Path {
  const [from, to] = turnToStop(run);
  return { x: run.x, y, speed: run.total, from, to };
}

export function sceneFromAbove(runs: Run[]): Scene {
  return {
    name: "From above",
    upwards: "offset to the left",
    roomBelow: 30,
    paths: runs.map((run) => pathOf(run, run.y)),
    shapes: courseFromAbove(runs[0]),
    marks: marksOf(runs, ({ phase }) => [phase.x ?? NaN, phase.y ?? NaN]),
  };
}

export function sceneFromTheSide(runs: Run[]): Scene {
  return {
    name: "From the side",
    upwards: "height",
    roomBelow: 76,
    paths: runs.map((run) => pathOf(run, run.height)),
    shapes: courseFromTheSide(runs[0]),
    marks: marksOf(runs, ({ phase }) => [phase.x ?? NaN, phase.z ?? NaN]),
  };
}

// The modules of the page that need no browser.
import assert from "node:assert/strict";
import { test } from "node:test";

import { axisSamples, momentOf, nearest } from "../../web/src/axis.ts";
import * as channels from "../../web/src/channels.ts";
import { valueAt } from "../../web/src/compare.ts";
import { Cursor } from "../../web/src/cursor.ts";
import { placeLabels } from "../../web/src/labels.ts";
import { Matching, originName } from "../../web/src/matching.ts";
import { unpack, unpackColumn } from "../../web/src/packed.ts";
import { packColumn } from "../../web/app/saved.ts";
import { sortRows } from "../../web/app/table.ts";
import { accuracyPanels, differencePanels, flightPanels } from "../../web/src/panels.ts";
import { Projection, niceStep } from "../../web/src/projection.ts";
import { labelsOf, makeRun } from "../../web/src/runs.ts";
import { sceneFromAbove } from "../../web/src/scene.ts";
import { fixed, signed } from "../../web/src/units.ts";
import { runDocument } from "./sample_run.mjs";

const palette = { runs: ["#000"], text: "", horizontal: "", vertical: "", total: "" };
const make = (moves, options) => makeRun(runDocument(moves, options), "run");

// Back and forth before the gate, which is crossed between samples 3 and 4; then to a stop.
const moves = [
  { x: -10, z: 40, vx: 3, vz: -10 },
  { x: -30, z: 30, vx: 4, vz: -3 },
  { x: -20, z: 20, vx: 6, vy: 8, vz: -24 },
  { x: -5, z: 20, vx: 20 },
  { x: 5, z: 2, vx: 20 },
  { x: 25, z: 1, vx: 10 },
  { x: 24.9, z: 1, vx: 0 },
];
const phases = { turn: 1, entry_gate: 3, touchdown: 5, stop: 6 };

test("a run has its samples in metres, m/s and seconds", () => {
  const run = make(moves, { phases });
  assert.equal(run.count, 7);
  assert.deepEqual([...run.time.slice(0, 3)], [0, 0.1, 0.2]);
  assert.equal(run.x[1], -30);
  assert.equal(run.horizontal[2], 10);
  assert.equal(run.vertical[2], 24);
  assert.equal(run.total[2], 26);
  assert.deepEqual(run.marks.map(({ key, sample }) => [key, sample]), [["turn", 1], ["entry_gate", 3], ["touchdown", 5], ["stop", 6]]);
});

test("what the document has not is not a number, and a phase outside the samples is no mark", () => {
  const source = runDocument([{ x: null, z: 1 }, { x: 1, z: 1 }], { phases: { stop: 1, carve: null } });
  source.phases.exit = { ...source.phases.stop, index: 3 };
  const run = makeRun(source, "run");
  assert.ok(Number.isNaN(run.x[0]));
  assert.deepEqual(run.marks.map(({ key }) => key), ["stop"]);
  assert.equal(makeRun({ ...source, samples: null }, "run"), null);
});

test("a heading that is unrolled differs from the heading by whole turns and is near 0 at the gate", () => {
  // 40 degrees a sample to the right; the gate at the sample before the last.
  const turning = [280, 320, 0, 40, 80, 120].map((heading, i) => ({ x: i, heading: heading, rate: 400 }));
  const run = make(turning, { phases: { entry_gate: 4 } });
  assert.deepEqual([...run.unrolledHeading], [-80, -40, 0, 40, 80, 120]);
  const level = make(turning.map((move) => ({ ...move, heading: (move.heading + 300) % 360 })), { phases: { entry_gate: 4 } });
  assert.deepEqual([...level.unrolledHeading], [-140, -100, -60, -20, 20, 60]);
});

test("the x axis holds each of its values once, in ascending order", () => {
  const run = make(moves, { phases });
  const time = axisSamples(run, "time", "touchdown");
  assert.deepEqual([...time.values].map((value) => value.toFixed(1)), ["-0.5", "-0.4", "-0.3", "-0.2", "-0.1", "0.0", "0.1"]);
  const distance = axisSamples(run, "distance", "entry_gate");
  assert.deepEqual([...distance.samples], [1, 2, 3, 4, 5]);
  assert.deepEqual([...distance.values], [-30, -20, -5, 5, 25]);
  assert.deepEqual([...distance.places], [-1, 0, 1, 2, 3, 4, -1]);
  const height = axisSamples(run, "height", "entry_gate");
  assert.deepEqual([...height.values], [1, 2, 20, 30, 40]);
  assert.deepEqual([...height.samples], [5, 4, 2, 1, 0]);
});

test("a run without the phase of the alignment is laid by its gate, its stop or its beginning", () => {
  assert.equal(momentOf(make(moves, { phases }), "turn"), 0.1);
  assert.equal(momentOf(make(moves, { phases: { entry_gate: 3, stop: 6 } }), "turn"), 0.3);
  assert.equal(momentOf(make(moves, { phases: { stop: 6 } }), "turn"), 0.6);
  assert.equal(momentOf(make(moves, {}), "turn"), 0);
});

test("the seconds of each run are counted from a phase that it has", () => {
  const [all, noGate] = [make(moves, { phases }), makeRun(runDocument(moves, { phases: { turn: 1, stop: 6 } }), "late")];
  const name = (runs, alignment) => originName(new Matching(runs, "time", alignment));
  assert.equal(name([all], "entry_gate"), "gate");
  assert.equal(name([all], "rollout_start"), "gate");
  assert.equal(name([noGate], "entry_gate"), "stop");
  assert.equal(name([noGate], "turn"), "start of turn");
  assert.equal(name([make(moves, {})], "turn"), "first sample");
  assert.equal(name([all, noGate, all], "touchdown"), "touchdown (late: stop)");
});

test("the nearest value is found at the ends, between and at equal distance", () => {
  const values = Float64Array.of(1, 2, 4);
  const cases = [[-5, 0], [1, 0], [1.5, 0], [1.6, 1], [3, 1], [3.1, 2], [9, 2]];
  for (const [value, expected] of cases) assert.equal(nearest(values, value), expected, `${value}`);
  assert.equal(nearest(Float64Array.of(), 1), -1);
});

test("runs are matched by the axis, and by time where the first run is not on it", () => {
  const first = make(moves, { phases });
  const late = make([{ x: -40, z: 50 }, ...moves], { phases: { turn: 2, entry_gate: 4, touchdown: 6, stop: 7 } });
  const byTime = new Matching([first, late], "time", "entry_gate");
  assert.deepEqual([...byTime.of(3)], [3, 4]);
  const byPlace = new Matching([first, late], "distance", "entry_gate");
  assert.deepEqual([...byPlace.of(4)], [4, 5]);
  assert.deepEqual([...byPlace.of(0)], [0, 1]);
  assert.equal(byPlace.sampleAt(-6), 3);
  assert.equal(byPlace.sampleFor(1, 5), 4);
});

test("between two samples a value lies on the straight line, at a sample it is the sample's", () => {
  const axis = axisSamples(make(moves, { phases }), "distance", "entry_gate");
  const column = Float64Array.of(0, 0.1, 0.3, 10, 20, 30, 0);
  assert.equal(valueAt(axis, column, -20), 0.3);
  assert.equal(valueAt(axis, column, 0), 15);
  assert.equal(valueAt(axis, column, 20), 27.5);
  assert.ok(Number.isNaN(valueAt(axis, column, -31)));
  assert.ok(Number.isNaN(valueAt(axis, column, 26)));
});

test("a run differs from itself by 0, from one that is higher and faster by what it is more", () => {
  const first = make(moves, { phases });
  const raised = moves.map((move) => ({ ...move, z: move.z + 2, vx: move.vx + 1.5, vy: 0 }));
  const straight = moves.map((move) => ({ ...move, vy: 0 }));
  const differences = (others) => differencePanels(others, palette).map(({ curves }) => curves.map(({ y }) => [...y]));
  for (const panel of differences([first, first])) assert.deepEqual(panel, [[0, 0, 0, 0, 0]]);
  const [speed, , height] = differences([make(straight, { phases }), make(raised, { phases })]);
  assert.deepEqual(speed, [[1.5, 1.5, 1.5, 1.5, 1.5]]);
  assert.deepEqual(height, [[2, 2, 2, 2, 2]]);
});

test("a heading near the vertical or at a stand is not drawn, and the stretch is marked", () => {
  const steep = moves.map((move, i) => ({ ...move, rate: 30, dive: i === 2 ? 86 : 10 }));
  const matching = new Matching([make(steep, { phases })], "time", "entry_gate");
  const rate = flightPanels(matching, palette).find(({ title }) => title.startsWith("Turn rate"));
  const shown = [...rate.curves[0].y].map((value) => (Number.isNaN(value) ? null : value));
  assert.deepEqual(shown, [30, 30, null, 30, 30, 30, null]);
  assert.deepEqual(rate.shades.map((ends) => ends.map((value) => Number(value.toFixed(1)))), [[-0.2, 0], [0.2, 0.3]]);
  assert.equal(rate.limit, channels.fastestTurn);
});

test("several runs have a panel for each speed, one run has one for all", () => {
  const run = make(moves, { phases });
  const titles = (runs) => flightPanels(new Matching(runs, "time", "entry_gate"), palette).map(({ title }) => title);
  assert.deepEqual(titles([run])[0], "Speed");
  assert.deepEqual(titles([run, run]).slice(0, 3), ["Horizontal speed", "Vertical speed", "Total speed"]);
});

test("the course is drawn in metres from a chart in either units", () => {
  for (const [isMetric, factor] of [[false, 3.2808399], [true, 1]]) {
    const source = runDocument(moves, { phases, metric: isMetric });
    const poles = { style: "open_circle", colour: "", radius: 0.75 * factor, label: null, x: [0, 0, 50, 50].map((x) => x * factor), y: [5, -5, 5, -5].map((y) => y * factor) };
    source.charts = { overhead: { title: "", series: [poles] } };
    const { shapes } = sceneFromAbove([makeRun(source, "run")]);
    const gates = shapes.filter(({ kind }) => kind === "gate");
    const rounded = gates.map(({ points }) => points.map((point) => point.map((value) => Math.round(value * 1e6) / 1e6)));
    assert.deepEqual(rounded, [[[0, 5], [0, -5]], [[50, 5], [50, -5]]]);
    assert.equal(shapes.filter(({ kind }) => kind === "corridor").length, 1);
  }
});

test("phases of one moment share a mark", () => {
  const source = runDocument(moves, { phases: { ...phases, touchdown: 6 } });
  const { marks } = sceneFromAbove([makeRun(source, "run")]);
  assert.deepEqual(marks.map(({ name }) => name), ["start of turn", "entry gate", "touchdown, stop"]);
});

test("a projection keeps the place under the pointer, and one scale in both directions", () => {
  const projection = new Projection();
  projection.fit({ left: -100, right: 100, bottom: 0, top: 50 }, 440, 300, { left: 20, right: 20, top: 0, bottom: 0 });
  assert.equal(projection.pixelsPerMetre, 2);
  assert.equal(projection.x(-100), 20);
  assert.equal(projection.y(0) - projection.y(50), 100);
  const [x, y] = [projection.metresX(70), projection.metresY(90)];
  projection.zoom(3, 70, 90);
  assert.ok(Math.abs(projection.metresX(70) - x) < 1e-9 && Math.abs(projection.metresY(90) - y) < 1e-9);
  assert.ok(projection.isCloser && projection.isMoved);
  projection.pan(10, 0);
  assert.ok(Math.abs(projection.metresX(80) - x) < 1e-9);
});

test("a step of the grid is 1, 2 or 5 times a power of ten and not less than asked", () => {
  const cases = [[1, 1], [1.1, 2], [3, 5], [7, 10], [0.03, 0.05], [120, 200]];
  for (const [least, expected] of cases) assert.ok(Math.abs(niceStep(least) - expected) < 1e-9, `${least}`);
});

test("labels cover neither each other nor leave the area, and one without room is left out", () => {
  const marks = [0, 1, 2, 3].map((i) => ({ x: 50 + i, y: 50, width: 60, height: 16 }));
  const boxes = placeLabels(marks, [], { x: 0, y: 0, width: 200, height: 120 }).filter((box) => box !== null);
  assert.equal(boxes.length, 4);
  boxes.forEach((a, i) => {
    assert.ok(a.x >= 0 && a.y >= 0 && a.x + a.width <= 200 && a.y + a.height <= 120);
    for (const b of boxes.slice(i + 1)) {
      assert.ok(a.x + a.width <= b.x || b.x + b.width <= a.x || a.y + a.height <= b.y || b.y + b.height <= a.y);
    }
  });
  assert.deepEqual(placeLabels([{ x: 5, y: 5, width: 60, height: 16 }], [], { x: 0, y: 0, width: 20, height: 20 }), [null]);
});

test("the cursor stays within the run and tells of each move once", () => {
  const cursor = new Cursor(5, 2);
  const told = [];
  cursor.listen((sample, source) => told.push([sample, source]));
  cursor.move(9, "wheel");
  cursor.move(4);
  cursor.move(NaN);
  cursor.move(-Infinity);
  assert.deepEqual(told, [[4, "wheel"], [0, null]]);
});

test("a packed column is short, and unpacked it is what it was", () => {
  const columns = [
    ["A", [0]],
    ["BC", [-1, -1]],
    ["ACD", [0, 1, 0]],
    ["f", [-16]],
    ["gB", [16]],
    ["AA", [0, 0]],
    [".G", [0, 0, 0]],
    ["C.IB", [1, 2, 3, 4, 5, 5]],
    ["oGAU_AT", [100, 200, 310, null, 420, 520]],
    ["oGnGU_T", [100, 100, 110, null, 110]],
    ["__KJAB", [null, null, 5, 5, 5, 4]],
    ["ourKnurKAoG_rJ", [169700, 169700, 169700, 169800, null, 169750]],
  ];
  for (const [text, column] of columns) {
    assert.deepEqual(unpackColumn(text), column, text);
    assert.equal(packColumn(column), text);
  }
  const farthest = [2 ** 50, -(2 ** 50), 2 ** 50, 2 ** 50];
  assert.deepEqual(unpackColumn(packColumn(farthest)), farthest);
  for (const odd of [[], [0.5], [2 ** 51], ["1"]]) assert.equal(packColumn(odd), odd);
});

test("a packed interval has both ends, why there are none, or bounds", () => {
  const none = { low: null, high: null, low_text: null, high_text: null };
  const ends = { low: 2, high: 3.5, low_text: "2.00", high_text: "3.50" };
  const packed = { speed: [2, 3.5, "2.00", "3.50"], turn: "not-found", time: [2, 3.5, "2.00", "3.50", "gap"] };
  const { intervals } = unpack({ samples: null, check: { intervals: packed } }).check;
  assert.deepEqual(intervals.speed, { ...ends, why: null, bounds: null });
  assert.deepEqual(intervals.turn, { ...none, why: "not-found", bounds: null });
  assert.deepEqual(intervals.time, { ...none, why: "gap", bounds: ends });
});

test("names are told apart", () => {
  assert.deepEqual(labelsOf(["day/1/carve.csv", "b.tvl", "noext", ".csv"]), ["carve", "b", "noext", ".csv"]);
  assert.deepEqual(labelsOf(["1/a.csv", "2/a.csv"]), ["1/a.csv", "2/a.csv"]);
  assert.deepEqual(labelsOf(["-", "-"]), ["- (1)", "- (2)"]);
});

test("the names of gate, touchdown and turn are placed before the others", () => {
  const run = make(moves, { phases: { turn: 1, rollout_start: 2, entry_gate: 3, touchdown: 6, stop: 6 } });
  const ranks = sceneFromAbove([run]).marks.map(({ name, rank }) => [name, rank]);
  assert.deepEqual(ranks, [["start of turn", 2], ["start of rollout", 3], ["entry gate", 0], ["touchdown, stop", 1]]);
});

test("each accuracy has an axis of its own", () => {
  for (const runs of [[make(moves, { phases })], [make(moves, { phases }), make(moves, { phases })]]) {
    const panels = accuracyPanels(new Matching(runs, "time", "entry_gate"), palette);
    assert.deepEqual(panels.map(({ title }) => title), ["Horizontal accuracy", "Vertical accuracy", "Accuracy of the speed", "Satellites"]);
    assert.deepEqual(panels.map(({ curves }) => curves.length), Array(4).fill(runs.length));
  }
});

test("numbers have a minus sign, and none before 0", () => {
  assert.equal(fixed(-0.04, 1), "0.0");
  assert.equal(fixed(-3.25, 1), "−3.3");
  assert.equal(fixed(NaN, 1), "–");
  assert.equal(signed(2, 0), "+2");
  assert.equal(signed(0.04, 1), "0.0");
});

test("an unusable run comes after the others where the files are sorted by a figure, and has its place by name", () => {
  const row = (path, value, verdict) => ({ path, number: 0, run: { figures: { stop_distance: { value } }, check: { verdict } } });
  const rows = [row("b", 80, "unusable"), row("c", 60, "doubtful"), row("a", 40, "good")];
  const sorted = (key, isDescending) => sortRows(rows, { key, isDescending }).map(({ path }) => path).join("");
  assert.deepEqual(["stop_distance", "name"].map((key) => sorted(key, true)), ["cab", "cba"]);
  assert.deepEqual(["stop_distance", "name"].map((key) => sorted(key, false)), ["acb", "abc"]);
});

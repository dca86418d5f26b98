// The texts of figures and intervals on the page.
import assert from "node:assert/strict";
import { test } from "node:test";

import { checkOf, intervalText, isBounded, sentenceOf } from "../../web/src/check.ts";
import { clockOf } from "../../web/src/head.ts";
import { differenceText, figureText } from "../../web/src/figures.ts";
import { imperial, metric } from "../../web/src/units.ts";
import { runDocument } from "./sample_run.mjs";

test("a figure is the report's text in the report's units, and has its digits in the others", () => {
  const speed = { value: 34.34647685744649, unit: "m/s", text: "76.8", text_unit: "mph" };
  assert.equal(figureText("entry_gate_speed", speed, imperial), "76.8");
  assert.equal(figureText("entry_gate_speed", speed, metric), "123.6");
  const offset = { value: -1.179498529752891, unit: "m", text: "-4", text_unit: "ft" };
  assert.equal(figureText("turn_offset", offset, imperial), "−4");
  assert.equal(figureText("turn_offset", offset, metric), "−1");
  const small = { ...offset, value: -0.1, text: "-0" };
  for (const units of [imperial, metric]) {
    assert.equal(figureText("turn_offset", small, units), "−0");
    assert.equal(figureText("rollout_end_offset", small, units), "0");
  }
  assert.equal(figureText("exit_gate_speed", { value: null, unit: "m/s", text: "----", text_unit: "mph" }, imperial), "–");
  assert.equal(differenceText(speed, { ...speed, value: 35.34647685744649 }, metric), "+3.6");
  assert.equal(differenceText(speed, speed, imperial), "0.0");
  const turn = { value: 270, unit: "deg", text: "270", text_unit: "deg", direction: "left-hand" };
  assert.equal(differenceText(turn, { ...turn, direction: "right-hand" }, imperial), "");
  assert.equal(differenceText(turn, { ...turn, value: 450 }, imperial), "+180");
});

test("an interval is the document's text in its units, and rounded outward in the others", () => {
  const without = { low: null, high: null, low_text: null, high_text: null, missing: 0, why: "touchdown-is-stop" };
  const source = {
    ...runDocument([{ x: 1 }]),
    check: {
      verdict: "good",
      draws: 400,
      intervals: {
        entry_gate_speed: { low: 34.0, high: 34.5, low_text: "76.0", high_text: "77.2", missing: 0, why: null },
        turn_offset: { low: -1.5, high: 0.5, low_text: "-5", high_text: "2", missing: 0, why: null },
        touchdown_distance: without,
        carve_time: { ...without, why: "not-found" },
        aloft_time: without,
        exit_gate_speed: { ...without, why: "gap", bounds: { low: 17.0, high: 24.0, low_text: "38.0", high_text: "53.7" } },
        rotation: "?",
      },
      reasons: [{ code: "gap", severity: "note", value: 1, unit: "s", text: "words" }, "?", { text: 1, value: "?" }],
    },
  };
  const check = checkOf(source);
  const speed = { value: 34.3, unit: "m/s", text: "76.7", text_unit: "mph" };
  assert.equal(intervalText(check, "entry_gate_speed", speed, imperial), "76.0 … 77.2");
  assert.equal(intervalText(check, "entry_gate_speed", speed, metric), "122.4 … 124.2"); // 122.40 and 124.20
  const offset = { value: -0.3, unit: "m", text: "-1", text_unit: "ft" };
  assert.equal(intervalText(check, "turn_offset", offset, imperial), "−5 … 2");
  assert.equal(intervalText(check, "turn_offset", offset, metric), "−2 … 1");
  assert.equal(intervalText(check, "touchdown_distance", offset, imperial), "");
  assert.equal(intervalText(check, "rotation", speed, imperial), "");
  assert.equal(intervalText(check, "exit_gate_speed", speed, imperial), "between 38.0 and 53.7");
  assert.equal(intervalText(check, "exit_gate_speed", speed, metric), "between 61.2 and 86.4");
  assert.deepEqual(["exit_gate_speed", "entry_gate_speed"].map((key) => isBounded(check, key)), [true, false]);
  assert.equal(isBounded(null, "exit_gate_speed"), false);
  assert.deepEqual(check.missing, ["touchdown-is-stop", "not-found"]);
  assert.deepEqual(check.reasons, [
    { code: "gap", severity: "note", value: 1, unit: "s", text: "words" },
    { code: "", severity: "note", value: null, unit: null, text: "1" },
  ]);
  assert.equal(checkOf(runDocument([{ x: 1 }])), null);
  assert.equal(checkOf({ ...source, check: null }), null);
});

test("a reason has its value in the units that are shown, with the digits of the document's", () => {
  const sentence = (value, unit, text, units) => sentenceOf({ code: "", severity: "note", value, unit, text }, units);
  assert.equal(sentence(4.0, "m", "13.1 ft from end to end", imperial), "13.1 ft from end to end");
  assert.equal(sentence(4.0, "m", "13.1 ft from end to end", metric), "4.0\u00a0m from end to end");
  assert.equal(sentence(4.0, "m", "4.0 m from end to end", imperial), "13.1\u00a0ft from end to end");
  assert.equal(sentence(-0.5, "m", "-2 ft above the ground", metric), "−1\u00a0m above the ground");
  assert.equal(sentence(8.0, "m/s", "18 mph of descent", metric), "29\u00a0km/h of descent");
  for (const [value, unit, text] of [
    [1.5, "s", "1.50 s without samples"],
    [5.0, null, "5 satellites at the fewest"],
    [4.0, "m", "words"],
    [null, "m", "13.1 ft wide"],
  ]) {
    assert.equal(sentence(value, unit, text, metric), text);
  }
});

test("a run's time is that of its gate, or else of its turn, or else of the track's first sample", () => {
  const document = runDocument([{ x: 1 }]);
  const phases = { entry_gate: { clock: "gate" }, turn: { clock: "turn" } };
  const track = { ...document.track, first_clock: "first" };
  assert.equal(clockOf({ ...document, track, phases }), "gate");
  assert.equal(clockOf({ ...document, track, phases: { ...phases, entry_gate: null } }), "turn");
  assert.equal(clockOf({ ...document, track, phases: null }), "first");
});

// The texts of figures and intervals on the page.
import assert from "node:assert/strict";
import { test } from "node:test";

import { checkOf, intervalText, isBounded } from "../../web/src/check.ts";
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
      reasons: [{ code: "gap", severity: "note", value: 1, unit: "s", text: "words" }],
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
  assert.deepEqual(check.reasons, [{ code: "gap", severity: "note", text: "words" }]);
  assert.equal(checkOf(runDocument([{ x: 1 }])), null);
  assert.equal(checkOf({ ...source, check: null }), null);
});

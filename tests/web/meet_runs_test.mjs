// The runs of a meet: sorting, searching, and comparisons by the address.
import assert from "node:assert/strict";
import { test } from "node:test";

import { compareAddress, comparedRuns, figureKey, matchesWords, sortKeys, sortRuns, tallyText } from "../../web/src/meet-runs.ts";
import { imperial, metric } from "../../web/src/units.ts";

function run(name, more = {}) {
  return { name, page: null, script: `${name}.js`, verdict: "good", message: "", reasons: [], clock: null, course: null, metric: false, figures: {}, bounded: [], ...more };
}

const speed = (value) => ({ figures: { entry_gate_speed: { value, unit: "m/s", text: "", text_unit: "mph" } } });
const names = (runs) => runs.map((each) => each.name);

test("names are sorted by their numbers, and what has no value stands last either way", () => {
  const runs = [run("b10", speed(30)), run("b9", speed(null)), run("a", speed(40)), run("c")];
  assert.deepEqual(names(sortRuns(runs, sortKeys.name, false)), ["a", "b9", "b10", "c"]);
  assert.deepEqual(names(sortRuns(runs, sortKeys.name, true)), ["c", "b10", "b9", "a"]);
  assert.deepEqual(names(sortRuns(runs, figureKey("entry_gate_speed"), false)), ["b10", "a", "b9", "c"]);
  assert.deepEqual(names(sortRuns(runs, figureKey("entry_gate_speed"), true)), ["a", "b10", "b9", "c"]);
});

test("an unusable run stands behind the others where figures are sorted, and has its place by name", () => {
  const runs = [run("b", { ...speed(50), verdict: "unusable" }), run("c", { ...speed(40), verdict: "doubtful" }), run("a", speed(30))];
  assert.deepEqual(names(sortRuns(runs, figureKey("entry_gate_speed"), true)), ["c", "a", "b"]);
  assert.deepEqual(names(sortRuns(runs, figureKey("entry_gate_speed"), false)), ["a", "c", "b"]);
  assert.deepEqual(names(sortRuns(runs, sortKeys.name, false)), ["a", "b", "c"]);
});

test("verdicts are sorted from good to failed", () => {
  const runs = ["failed", "good", null, "unusable", "doubtful"].map((verdict) => run(String(verdict), { verdict }));
  assert.deepEqual(names(sortRuns(runs, sortKeys.verdict, false)), ["good", "doubtful", "unusable", "failed", "null"]);
  assert.equal(tallyText(runs), "5 runs: 1 good, 1 doubtful, 1 unusable, 1 failed, 1 not checked");
  assert.equal(tallyText([run("a")]), "1 run: 1 good");
});

test("each word is found anywhere in a row, but no word across two cells, and no note", () => {
  const one = run("101", {
    verdict: "doubtful",
    clock: "2026-05-16T13:08:48.661",
    reasons: [
      { code: "gap", severity: "doubtful", value: 1, unit: "s", text: "1.00 s: samples missing" },
      { code: "wide-distance", severity: "doubtful", value: 4, unit: "m", text: "13.1 ft wide" },
      { code: "lag", severity: "note", value: null, unit: null, text: "behind" },
    ],
  });
  for (const words of ["", " 101 ", "DOUBT samples", "2026-05-16 13:08"]) assert.ok(matchesWords(one, words, imperial), words);
  for (const words of ["101 gone", "101doubtful", "behind"]) assert.ok(!matchesWords(one, words, imperial), words);
  assert.deepEqual([imperial, metric].map((units) => matchesWords(one, "13.1", units)), [true, false]);
});

test("an address brings up runs of the meet that have documents, and nothing else", () => {
  const runs = [run("2/10 1&b"), run("ä#"), run("failed", { script: null })];
  assert.deepEqual(comparedRuns(compareAddress(["ä#", "2/10 1&b"]), runs), [runs[1], runs[0]]);
  assert.deepEqual(comparedRuns("#compare=failed&https%3A%2F%2Felsewhere%2Fx.js&%", runs), []);
  assert.deepEqual(comparedRuns("#other", runs), []);
  const many = Array.from({ length: 12 }, (_, i) => run(String(i)));
  assert.equal(comparedRuns(compareAddress(names(many)), many).length, 8);
});

// The views and the curves of some runs in one set of units, on the screen or on paper.
import { AxisKind, AxisSamples, momentOf } from "./axis";
import { Palette, speedColour } from "./colours";
import { Cursor } from "./cursor";
import { AxisMark, Curves, Stretch, axisTitle } from "./curves";
import { element } from "./dom";
import { Matching, originName } from "./matching";
import { Panel } from "./panels";
import { Run, findMark, turnToStop } from "./runs";
import { pathOf, sceneFromAbove, sceneFromTheSide } from "./scene";
import { Units, show } from "./units";
import { View, ViewOptions, speedRange } from "./view";

// Shows a stretch from shortly before the turn to shortly after the stop, within the limits of the axis.
export function stretchOf(axes: AxisSamples[], runs: Run[], kind: AxisKind): Stretch {
  const ends = axes.flatMap(({ values }) => (values.length > 0 ? [values[0], values[values.length - 1]] : []));
  const least = ends.length > 0 ? Math.min(...ends) : 0;
  const greatest = ends.length > 0 ? Math.max(...ends) : 1;
  const whole: [number, number] = least < greatest ? [least, greatest] : [least - 0.5, least + 0.5];
  const [from, to] = turnToStop(runs[0]);
  const { places, values } = axes[0];
  const at = (sample: number, otherwise: number) => (places[sample] >= 0 ? values[places[sample]] : otherwise);
  let shown: [number, number] = whole;
  if (kind === "time") shown = [at(from, whole[0]) - 1, at(to, whole[1]) + 1];
  if (kind === "height") shown = [whole[0], at(from, whole[1])];
  if (kind === "distance") shown = [whole[0], at(to, whole[1])];
  const limited: [number, number] = [Math.max(whole[0], shown[0]), Math.min(whole[1], shown[1])];
  return new Stretch(whole, limited[0] < limited[1] ? limited : whole);
}

// The phases of a run, at their values on the x axis.
function marksOn(run: Run, { kind, alignment, axes }: Matching): AxisMark[] {
  const shown = [
    ["turn", "turn"],
    ["rollout_start", "rollout"],
    ["rollout_end", "level"],
    ["entry_gate", "gate"],
    ["exit_gate", "exit gate"],
    ["touchdown", "touchdown"],
  ];
  return shown.flatMap(([key, name]): AxisMark[] => {
    const mark = findMark(run, key);
    if (!mark || mark.phase.time === null) return [];
    const { places, values } = axes[0];
    const onAxis = places[mark.sample] < 0 ? NaN : values[places[mark.sample]];
    const isGate = key === "entry_gate";
    if (kind === "time") return [{ name, value: mark.phase.time / 1000 - momentOf(run, alignment), isGate }];
    if (kind === "distance" && isGate) return [{ name, value: 0, isGate }];
    return Number.isFinite(onAxis) ? [{ name, value: onAxis, isGate }] : [];
  });
}

export function makeCurves(panels: Panel[], matching: Matching, stretch: Stretch, units: Units, palette: Palette, cursor: Cursor | null): Curves {
  return new Curves(panels, {
    kind: matching.kind,
    axisTitle: axisTitle(matching.kind, originName(matching), units),
    stretch,
    units,
    palette,
    marks: marksOn(matching.runs[0], matching),
    pick: (value) => cursor?.move(matching.sampleAt(value)),
  });
}

export function makeViews(
  matching: Matching,
  units: Units,
  palette: Palette,
  { pixelRatio, textSize }: Pick<ViewOptions, "pixelRatio" | "textSize">,
  cursor: Cursor | null,
): View[] {
  const pick = (run: number, sample: number) => cursor?.move(matching.sampleFor(run, sample));
  return [sceneFromAbove(matching.runs), sceneFromTheSide(matching.runs)].map((scene) => new View(scene, { units, palette, pixelRatio, textSize, pick }));
}

// The colours of the flight path of one run.
export function speedLegend(run: Run, units: Units, palette: Palette): HTMLElement {
  const [least, greatest] = speedRange(pathOf(run, run.y));
  const bar = element("span", { class: "ramp", "aria-hidden": "true" });
  const stops = Array.from({ length: 11 }, (_, i) => speedColour(i / 10, palette));
  bar.style.background = `linear-gradient(to right, ${stops.join(",")})`;
  return element("p", { class: "legend" }, "total speed ", show(least, "speed", 0, units), bar, show(greatest, "speed", 0, units));
}

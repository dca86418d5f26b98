// The panels and their curves.
import { AxisSamples, axisSamples } from "./axis";
import * as channels from "./channels";
import { Channel } from "./channels";
import { Palette, runColour, runDash } from "./colours";
import { valueAt } from "./compare";
import { Matching } from "./matching";
import { Run } from "./runs";
import { Quantity } from "./units";

export interface Curve {
  name: string;
  run: number;
  axis: AxisSamples;
  y: Float64Array; // one for each sample of the axis
  colour: string;
  dash: number[];
}

export interface Panel {
  title: string;
  quantity: Quantity;
  decimals: number;
  curves: Curve[];
  limit: number; // the axis ends there, on either side of 0
  isOnBase: boolean; // the axis contains 0
  hasKey: boolean; // the panel names its curves, since they are not one for each run
  shades: [number, number][]; // stretches of the x axis
  note: string; // what the shades mean
}

function panel(title: string, channel: Channel, curves: Curve[], more: Partial<Panel> = {}): Panel {
  const { quantity, decimals } = channel;
  return { title, quantity, decimals, curves, limit: Infinity, isOnBase: false, hasKey: false, shades: [], note: "", ...more };
}

function columnOf(axis: AxisSamples, column: Float64Array): Float64Array {
  return Float64Array.from(axis.samples, (sample) => column[sample]);
}

function curvesOfRuns(matching: Matching, channel: Channel, palette: Palette): Curve[] {
  return matching.runs.map((run, i) => ({
    name: run.label,
    run: i,
    axis: matching.axes[i],
    y: columnOf(matching.axes[i], channel.of(run)),
    colour: runColour(i, palette),
    dash: runDash(i),
  }));
}

// Several curves of one run in one panel, distinguished by colours and dashes.
function curvesOfChannels(matching: Matching, shown: [Channel, string, number[]][]): Curve[] {
  return shown.map(([channel, colour, dash]) => ({
    name: channel.name,
    run: 0,
    axis: matching.axes[0],
    y: columnOf(matching.axes[0], channel.of(matching.runs[0])),
    colour,
    dash,
  }));
}

// Stretches of the axis where the first run has no heading.
function headless(matching: Matching): [number, number][] {
  const { samples, values } = matching.axes[0];
  const shades: [number, number][] = [];
  let from = -1;
  for (let i = 0; i <= samples.length; ++i) {
    const isBare = i < samples.length && !channels.hasHeading(matching.runs[0], samples[i]);
    if (isBare && from < 0) from = i;
    if (!isBare && from >= 0) {
      shades.push([values[Math.max(0, from - 1)], values[Math.min(samples.length - 1, i)]]);
      from = -1;
    }
  }
  return shades;
}

function speedPanels(matching: Matching, palette: Palette): Panel[] {
  const more = { isOnBase: true };
  if (matching.runs.length === 1) {
    const shown: [Channel, string, number[]][] = [
      [channels.total, palette.total, [2, 3]],
      [channels.vertical, palette.vertical, [8, 4]],
      [channels.horizontal, palette.horizontal, []],
    ];
    return [panel("Speed", channels.horizontal, curvesOfChannels(matching, shown), { ...more, hasKey: true })];
  }
  const speeds: [string, Channel][] = [
    ["Horizontal speed", channels.horizontal],
    ["Vertical speed", channels.vertical],
    ["Total speed", channels.total],
  ];
  return speeds.map(([title, channel]) => panel(title, channel, curvesOfRuns(matching, channel, palette), more));
}

export function flightPanels(matching: Matching, palette: Palette): Panel[] {
  const shades = headless(matching);
  const note = shades.length > 0 ? "shaded: so steep or so slow that the heading is undefined" : "";
  const one = (title: string, channel: Channel, more: Partial<Panel> = {}) =>
    panel(title, channel, curvesOfRuns(matching, channel, palette), more);
  return [
    ...speedPanels(matching, palette),
    one("Dive angle", channels.diveAngleCurve, { isOnBase: true }),
    one("Turn rate, right-hand positive", channels.turnRateCurve, { limit: channels.fastestTurn, isOnBase: true, shades, note }),
    one("Heading off the course", channels.headingCurve, { shades, note }),
  ];
}

export function accuracyPanels(matching: Matching, palette: Palette): Panel[] {
  const shown: [string, Channel][] = [
    ["Horizontal accuracy", channels.horizontalAccuracy],
    ["Vertical accuracy", channels.verticalAccuracy],
    ["Accuracy of the speed", channels.speedAccuracy],
    ["Satellites", channels.satellites],
  ];
  return shown.map(([title, channel]) => panel(title, channel, curvesOfRuns(matching, channel, palette), { isOnBase: true }));
}

// How much faster and higher each other run is than the first at the same distance to the gate.
export function differencePanels(runs: Run[], palette: Palette): Panel[] {
  const axes = runs.map((run) => axisSamples(run, "distance", "entry_gate"));
  const differences = (channel: Channel): Curve[] =>
    runs.slice(1).map((run, i) => {
      const column = channel.of(run);
      const first = columnOf(axes[0], channel.of(runs[0]));
      return {
        name: run.label,
        run: 0,
        axis: axes[0],
        y: axes[0].values.map((place, k) => valueAt(axes[i + 1], column, place) - first[k]),
        colour: runColour(i + 1, palette),
        dash: runDash(i + 1),
      };
    });
  const titles: [string, Channel][] = [
    ["Horizontal speed, difference", channels.horizontal],
    ["Total speed, difference", channels.total],
    ["Height, difference", channels.height],
  ];
  return titles.map(([title, channel]) => panel(title, channel, differences(channel), { isOnBase: true }));
}

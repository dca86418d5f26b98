// The channels of a run: name, quantity and column of each curve and of each value beside the cursor.
import { Run } from "./runs";
import { Quantity } from "./units";

export interface Channel {
  key: string;
  name: string;
  quantity: Quantity;
  decimals: number;
  of(run: Run): Float64Array;
}

// Degrees. In a steeper dive the heading is meaningless: at 40 m/s and 85 degrees the speed over the ground is 3.5 m/s,
// and an error of 0.3 m/s turns the heading by 5 degrees from one sample to the next, which is 50 degrees a second at
// 10 samples a second.
export const steepestHeading = 85;

// Degrees per second; no canopy turns faster. A greater rate is a jump of the heading, and would flatten the curve.
export const fastestTurn = 200;

// m/s; at a lower speed the pilot stands, and the direction is that of the speed's error.
const leastMotion = 1;

export function hasHeading(run: Run, sample: number): boolean {
  return !(Math.abs(run.diveAngle[sample]) > steepestHeading) && !(run.horizontal[sample] < leastMotion);
}

const withHeading = (run: Run, values: Float64Array) => values.map((value, i) => (hasHeading(run, i) ? value : NaN));
const inMotion = (run: Run, values: Float64Array) => values.map((value, i) => (run.total[i] < leastMotion ? NaN : value));

export const horizontal: Channel = { key: "horizontal", name: "horizontal", quantity: "speed", decimals: 1, of: (run) => run.horizontal };
export const vertical: Channel = { key: "vertical", name: "vertical", quantity: "speed", decimals: 1, of: (run) => run.vertical };
export const total: Channel = { key: "total", name: "total", quantity: "speed", decimals: 1, of: (run) => run.total };
export const height: Channel = { key: "height", name: "height", quantity: "length", decimals: 1, of: (run) => run.height };
export const distance: Channel = { key: "distance", name: "to the gate", quantity: "length", decimals: 1, of: (run) => run.x };
export const offset: Channel = { key: "offset", name: "to the right", quantity: "length", decimals: 1, of: (run) => run.offset };
export const diveAngle: Channel = { key: "dive", name: "dive angle", quantity: "angle", decimals: 1, of: (run) => run.diveAngle };
export const diveAngleCurve: Channel = { ...diveAngle, of: (run) => inMotion(run, run.diveAngle) };
export const turnRate: Channel = { key: "rate", name: "turn rate", quantity: "rate", decimals: 1, of: (run) => run.turnRate };
export const heading: Channel = { key: "heading", name: "heading", quantity: "angle", decimals: 1, of: (run) => run.heading };
export const turnRateCurve: Channel = { ...turnRate, of: (run) => withHeading(run, run.turnRate) };
export const headingCurve: Channel = { ...heading, name: "heading off the course", of: (run) => withHeading(run, run.unrolledHeading) };
export const horizontalAccuracy: Channel = { key: "hacc", name: "horizontal accuracy", quantity: "length", decimals: 1, of: (run) => run.horizontalAccuracy };
export const verticalAccuracy: Channel = { key: "vacc", name: "vertical accuracy", quantity: "length", decimals: 1, of: (run) => run.verticalAccuracy };
export const speedAccuracy: Channel = { key: "sacc", name: "speed accuracy", quantity: "speed", decimals: 2, of: (run) => run.speedAccuracy };
export const satellites: Channel = { key: "satellites", name: "satellites", quantity: "count", decimals: 0, of: (run) => run.satellites };

// The values beside the cursor, in this order.
export const cursorChannels = [horizontal, vertical, total, height, distance, offset, diveAngle, turnRate, heading];

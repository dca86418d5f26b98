// The units that the page shows. All values inside it are in metres, m/s, seconds and degrees.

// The constants of the report, so that a figure in other units has the digits of a report in these units.
export const feetPerMetre = 3.2808399;
const mphPerMps = 2.23693629;

export type Quantity = "length" | "speed" | "time" | "angle" | "rate" | "count";
export type System = "imperial" | "metric";

export interface Units {
  system: System;
  factor(quantity: Quantity): number;
  unit(quantity: Quantity): string;
}

const fixedUnits = { time: "s", angle: "°", rate: "°/s", count: "" };

function makeUnits(system: System, length: number, speed: number, lengthUnit: string, speedUnit: string): Units {
  const factors = { length, speed, time: 1, angle: 1, rate: 1, count: 1 };
  const names = { ...fixedUnits, length: lengthUnit, speed: speedUnit };
  return { system, factor: (quantity) => factors[quantity], unit: (quantity) => names[quantity] };
}

export const imperial = makeUnits("imperial", feetPerMetre, mphPerMps, "ft", "mph");
export const metric = makeUnits("metric", 1, 3.6, "m", "km/h");

export function unitsOf(system: System): Units {
  return system === "metric" ? metric : imperial;
}

// A minus sign instead of a hyphen; none before a value that is printed as 0.
export function fixed(value: number, decimals: number): string {
  if (!Number.isFinite(value)) return "–";
  const text = value.toFixed(decimals);
  return (/^-0(\.0*)?$/.test(text) ? text.slice(1) : text).replace("-", "−");
}

// A difference, with a sign before it.
export function signed(value: number, decimals: number): string {
  const text = fixed(value, decimals);
  const isPlus = Number.isFinite(value) && Number(value.toFixed(decimals)) > 0;
  return isPlus ? `+${text}` : text;
}

// A value and its unit, kept on one line.
export function withUnit(text: string, unit: string): string {
  return unit === "" ? text : unit.startsWith("°") ? text + unit : `${text}\u00a0${unit}`;
}

export function show(value: number, quantity: Quantity, decimals: number, units: Units): string {
  return withUnit(fixed(value * units.factor(quantity), decimals), units.unit(quantity));
}

// Colours come from the style sheet's variables, so that each theme, and the printed sheet, has its own.

export interface Palette {
  text: string;
  muted: string;
  grid: string;
  surface: string;
  pond: string;
  course: string;
  shade: string;
  horizontal: string;
  vertical: string;
  total: string;
  runs: string[];
  rampFrom: number;
  rampTo: number;
}

export const mostColours = 8;

export function paletteOf(element: Element): Palette {
  const style = getComputedStyle(element);
  const value = (name: string) => style.getPropertyValue(`--${name}`).trim();
  return {
    text: value("text"),
    muted: value("muted"),
    grid: value("grid"),
    surface: value("surface"),
    pond: value("pond"),
    course: value("course"),
    shade: value("shade"),
    horizontal: value("run-1"),
    vertical: value("run-2"),
    total: value("text"),
    runs: Array.from({ length: mostColours }, (_, i) => value(`run-${i + 1}`)),
    rampFrom: Number(value("ramp-from")),
    rampTo: Number(value("ramp-to")),
  };
}

// The colour map "plasma" of matplotlib, whose order is visible to the colour-blind, too: blue is slow, yellow is fast.
const plasma = ["0d0887", "46039f", "7201a8", "9c179e", "bd3786", "d8576b", "ed7953", "fb9f3a", "fdca26", "f0f921"].map(
  (code) => [0, 2, 4].map((at) => parseInt(code.slice(at, at + 2), 16)),
);

// part: 0 for the slowest, 1 for the fastest.
export function speedColour(part: number, palette: Palette): string {
  const clamped = Math.max(0, Math.min(1, Number.isFinite(part) ? part : 0));
  const place = (palette.rampFrom + clamped * (palette.rampTo - palette.rampFrom)) * (plasma.length - 1);
  const below = Math.min(plasma.length - 2, Math.floor(place));
  const mixed = plasma[below].map((value, i) => Math.round(value + (place - below) * (plasma[below + 1][i] - value)));
  return `rgb(${mixed.join(",")})`;
}

// After the last colour the colours are used again, with dashes.
export function runColour(run: number, palette: Palette): string {
  return palette.runs[run % mostColours];
}

export function runDash(run: number): number[] {
  const round = Math.floor(run / mostColours);
  return round === 0 ? [] : [6 * round, 4];
}

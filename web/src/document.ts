// A run as tarvel-json writes it; tarvel-json(5) explains each member. Only what the page reads is declared.

export type Column = (number | null)[];

export interface Figure {
  value: number | null;
  unit: "m" | "m/s" | "s" | "deg";
  text: string;
  text_unit: string;
  direction?: "right-hand" | "left-hand";
}

export interface Phase {
  index: number;
  clock: string | null;
  time: number | null; // ms since the track's first sample
  x: number | null;
  y: number | null;
  z: number | null;
  horizontal_speed: number | null;
  vertical_speed: number | null;
  total_speed: number | null;
}

export interface Series {
  style: string;
  colour: string;
  radius: number | null;
  label: string | null;
  x: Column;
  y: Column;
}

export interface Chart {
  title: string;
  series: Series[];
}

export interface Samples {
  first: number;
  count: number;
  time: Column;
  x: Column;
  y: Column;
  z: Column;
  vx: Column;
  vy: Column;
  vz: Column;
  dive_angle: Column;
  heading: Column;
  turn_rate: Column;
  hacc: Column;
  vacc: Column;
  sacc: Column;
  satellites: Column;
}

export interface RunDocument {
  format: { name: string; version: number };
  program: {
    name: string;
    version: string;
    options: { implicit_gate: boolean; metric: boolean; time_aloft: number | null };
  };
  track: {
    name: string;
    sha256: string | null;
    form: string | null;
    count: number;
    first_clock: string | null;
    last_clock: string | null;
    rate: number | null;
  };
  course: {
    file: string | null;
    sha256: string | null;
    gate: "surveyed" | "implicit" | null;
    reversed: boolean | null;
    carve: "left" | "right" | null;
  };
  warnings: string[];
  failure: { stage: string; code: string; message: string } | null;
  figures: Record<string, Figure> | null;
  phases: Record<string, Phase | null> | null;
  charts: Record<string, Chart> | null;
  samples: Samples | null;
}

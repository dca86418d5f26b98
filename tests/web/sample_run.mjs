// Documents made by hand for the tests of the page's modules.

// A sample each 100 ms; places in m, speeds in m/s. moves has a record for each sample; members that it lacks are 0.
export function runDocument(moves, { phases = {}, name = "run.csv", metric = false } = {}) {
  const column = (of) => moves.map((move) => (of(move) === null ? null : Math.round((of(move) ?? 0) * 1000)));
  const hundredths = (key) => moves.map((move) => Math.round((move[key] ?? 0) * 100));
  const at = (index) => ({
    index: index + 50,
    clock: "2026-05-16T13:08:48.661",
    time: index * 100,
    x: moves[index].x ?? 0,
    y: moves[index].y ?? 0,
    z: moves[index].z ?? 0,
    horizontal_speed: 0,
    vertical_speed: 0,
    total_speed: 0,
  });
  return {
    format: { name: "tarvel-run", version: 1 },
    program: { name: "tarvel-json", version: "1", options: { implicit_gate: false, metric, time_aloft: null } },
    track: { name, sha256: null, form: "header-lines", count: 200, first_clock: null, last_clock: null, rate: 10 },
    course: { file: "matrix.txt", sha256: null, gate: "surveyed", reversed: false, carve: null },
    warnings: [],
    failure: null,
    figures: null,
    phases: Object.fromEntries(Object.entries(phases).map(([key, index]) => [key, index === null ? null : at(index)])),
    charts: null,
    samples: {
      first: 50,
      count: moves.length,
      time: moves.map((_, i) => i * 100),
      x: column((move) => move.x),
      y: column((move) => move.y),
      z: column((move) => move.z),
      vx: column((move) => move.vx),
      vy: column((move) => move.vy),
      vz: column((move) => move.vz),
      dive_angle: hundredths("dive"),
      heading: hundredths("heading"),
      turn_rate: hundredths("rate"),
      hacc: column((move) => move.hacc),
      vacc: column((move) => move.vacc),
      sacc: column((move) => move.sacc),
      satellites: moves.map(() => 12),
    },
  };
}

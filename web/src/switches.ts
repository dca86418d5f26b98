// The switches at the head of a page for units and theme, which they store.
import { choose, segments } from "./dom";
import { Theme, rememberSystem, rememberTheme, rememberedTheme } from "./settings";
import { System, Units, unitsOf } from "./units";

export const darkSystem = matchMedia("(prefers-color-scheme: dark)");

export function applyTheme(theme: Theme): void {
  const isDark = theme === "dark" || (theme === "auto" && darkSystem.matches);
  document.documentElement.dataset.theme = isDark ? "dark" : "light";
}

const systems: { value: System; text: string }[] = [
  { value: "imperial", text: "ft, mph" },
  { value: "metric", text: "m, km/h" },
];

export function unitSwitch(units: Units, changed: (units: Units) => void): HTMLElement {
  return segments("Units", systems, units.system, (system) => {
    rememberSystem(system);
    changed(unitsOf(system));
  });
}

const themes: { value: Theme; text: string }[] = [
  { value: "auto", text: "system" },
  { value: "light", text: "light" },
  { value: "dark", text: "dark" },
];

export function themeList(changed: (theme: Theme) => void): HTMLElement {
  return choose("Theme", themes, rememberedTheme(), (theme) => {
    rememberTheme(theme);
    changed(theme);
  });
}

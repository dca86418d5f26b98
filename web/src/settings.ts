// The settings that the page stores: units and theme. A page from the disk may have no storage; it then works without.
import { System } from "./units";

export type Theme = "auto" | "light" | "dark";

function read(key: string): string | null {
  try {
    return localStorage.getItem(`tarvel.${key}`);
  } catch {
    return null;
  }
}

function write(key: string, value: string): void {
  try {
    localStorage.setItem(`tarvel.${key}`, value);
  } catch {
    // Nothing is remembered then.
  }
}

export function rememberedSystem(otherwise: System): System {
  const value = read("units");
  return value === "imperial" || value === "metric" ? value : otherwise;
}

export function rememberSystem(system: System): void {
  write("units", system);
}

export function rememberedTheme(): Theme {
  const value = read("theme");
  return value === "light" || value === "dark" ? value : "auto";
}

export function rememberTheme(theme: Theme): void {
  write("theme", theme);
}

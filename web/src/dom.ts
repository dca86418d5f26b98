// Creates elements. Text is inserted as text nodes, never as markup, since names and messages come from files.

type Child = Node | string | null;
type Attributes = Record<string, string | number | boolean>;

export function element<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  attributes: Attributes = {},
  ...children: Child[]
): HTMLElementTagNameMap[K] {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value !== false) made.setAttribute(name, value === true ? "" : String(value));
  }
  for (const child of children) {
    if (child !== null) made.append(child);
  }
  return made;
}

export function button(text: string, attributes: Attributes, pressed: () => void): HTMLButtonElement {
  const made = element("button", { type: "button", ...attributes }, text);
  made.addEventListener("click", pressed);
  return made;
}

export interface Choice<T extends string> {
  value: T;
  text: string;
}

// A drop-down list with its label.
export function choose<T extends string>(
  label: string,
  choices: Choice<T>[],
  chosen: T,
  changed: (value: T) => void,
): HTMLLabelElement {
  const list = element("select");
  for (const { value, text } of choices) {
    list.append(element("option", { value, selected: value === chosen }, text));
  }
  list.addEventListener("change", () => changed(list.value as T));
  return element("label", { class: "choice" }, element("span", {}, label), list);
}

// A group of buttons, one of which is pressed.
export function segments<T extends string>(
  label: string,
  choices: Choice<T>[],
  chosen: T,
  changed: (value: T) => void,
): HTMLElement {
  const buttons = choices.map(({ value, text }) =>
    button(text, { "aria-pressed": String(value === chosen), "data-value": value }, () => {
      for (const each of buttons) each.setAttribute("aria-pressed", String(each.dataset.value === value));
      changed(value);
    }),
  );
  return element("div", { class: "segments", role: "group", "aria-label": label }, ...buttons);
}

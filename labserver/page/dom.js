// Elements made by hand. Texts come in as texts, so nothing that a host sends can become markup.
import { label, say } from "./language.js";

export const byId = (id) => document.getElementById(id);

/** @param {object} attributes "say" and "label" are arguments of the functions of these names, "on…" are listeners */
export function make(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key === "say") {
      say(element, ...value);
    } else if (key === "label") {
      label(element, ...value);
    } else if (key.startsWith("on")) {
      element.addEventListener(key.slice(2), value);
    } else {
      element.setAttribute(key, value);
    }
  }
  element.append(...children);
  return element;
}

export function option(value, ...said) {
  return make("option", { value, say: said });
}

// The page's language, and elements that show texts of texts.js and keep to it.
import { texts } from "./texts.js";

const LANGUAGES = ["en", "zh-CN"]; // in the order of texts.js
const KEPT = "ktslabserver.language";
const shown = new WeakMap(); // element: { text, label: [name, ...values] }

/** What localStorage gives, or nothing where a browser forbids it. */
function kept() {
  try {
    return localStorage.getItem(KEPT);
  } catch {
    return null;
  }
}

function keep(name) {
  try {
    localStorage.setItem(KEPT, name);
  } catch {
    // It is asked for again the next time.
  }
}

const asked = kept() ?? (navigator.language.toLowerCase().startsWith("zh") ? "zh-CN" : "en");
let language = Math.max(LANGUAGES.indexOf(asked), 0);

export const languageName = () => LANGUAGES[language];

/** A text; values that are functions give theirs in the language of the moment. */
export function text(name, ...values) {
  const valueOf = (value) => (typeof value === "function" ? value() : value);
  return texts[name][language].replace(/\{(\d)\}/g, (_, index) => valueOf(values[index]));
}

/** Shows a text in an element, also after the language was switched. */
export function say(element, name, ...values) {
  element.dataset.text = name;
  shown.set(element, { ...shown.get(element), text: values });
  element.textContent = text(name, ...values);
  return element;
}

/** Gives an element an accessible name, also after the language was switched. */
export function label(element, name, ...values) {
  element.dataset.label = name;
  shown.set(element, { ...shown.get(element), label: values });
  element.setAttribute("aria-label", text(name, ...values));
  return element;
}

/** Shows every text of the page in the language of the moment. */
export function sayAll() {
  document.documentElement.lang = languageName();
  document.title = `${text("title")} – ktslabserver`;
  for (const element of document.querySelectorAll("[data-text]")) {
    say(element, element.dataset.text, ...(shown.get(element)?.text ?? []));
  }
  for (const element of document.querySelectorAll("[data-label]")) {
    label(element, element.dataset.label, ...(shown.get(element)?.label ?? []));
  }
}

export function switchLanguage(name) {
  language = LANGUAGES.indexOf(name);
  keep(name);
  sayAll();
}

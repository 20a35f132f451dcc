// Plots of five minutes, a second wide each. Their words stand below them, so they need not be read by a machine.
import { make } from "./dom.js";

const SVG = "http://www.w3.org/2000/svg";
const HEIGHT = 100;

export const SECONDS = 300;

function drawn(name, attributes) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) {
    element.setAttribute(key, value);
  }
  return element;
}

export class Plot {
  #paths = new Map();
  #top = make("span");
  #bottom = make("span");
  #svg = drawn("svg", { viewBox: `0 0 ${SECONDS} ${HEIGHT}`, preserveAspectRatio: "none", "aria-hidden": "true" });

  /** @param names of the lines, which are the classes that the style sheet knows */
  constructor(place, names) {
    for (const name of ["grid", ...names]) {
      this.#paths.set(name, this.#svg.appendChild(drawn("path", { class: `line ${name}` })));
    }
    place.replaceChildren(make("div", { class: "scale", "aria-hidden": "true" }, this.#top, this.#bottom), this.#svg);
  }

  /** @param texts what the highest and the lowest place mean */
  scale(top, bottom) {
    this.#top.textContent = top;
    this.#bottom.textContent = bottom;
  }

  /** @param heights from 0 to 1, or undefined where nothing is known; the latest last */
  line(name, heights) {
    const from = SECONDS - heights.length;
    let command = "M";
    const steps = heights.map((height, at) => {
      const step = height === undefined ? "" : `${command}${from + at + 0.5} ${(HEIGHT * (1 - height)).toFixed(1)}`;
      command = height === undefined ? "M" : "L";
      // A second alone between two without a value is a dot.
      return step && command === "L" && heights[at + 1] === undefined ? `${step}h0.01` : step;
    });
    this.#paths.get(name).setAttribute("d", steps.join(""));
  }

  /** @param heights from 0 to 1; the latest last */
  bars(name, heights) {
    const from = SECONDS - heights.length;
    const bars = heights.map((height, at) => (height ? `M${from + at} ${HEIGHT}v${-HEIGHT * height}h1V${HEIGHT}z` : ""));
    this.#paths.get(name).setAttribute("d", bars.join(""));
  }

  /** Lines across the whole plot at some heights. */
  grid(heights) {
    const lines = heights.map((height) => `M0 ${HEIGHT * (1 - height)}h${SECONDS}`);
    this.#paths.get("grid").setAttribute("d", lines.join(""));
  }
}

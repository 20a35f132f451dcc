// Scenarios to start and to end.
import { get, post, remove } from "./api.js";
import { byId, make } from "./dom.js";
import { languageName, say, text } from "./language.js";
import { attempt } from "./message.js";

const list = byId("scenario-list");
const items = new Map(); // name: { item, state, button, scenario, until }

/** A text of a scenario in the language of the moment, if it has one in it. */
function own(scenario, member) {
  return (languageName() === "zh-CN" && scenario[`${member}Zh`]) || scenario[member] || "";
}

const titleOf = (scenario) => own(scenario, "title") || scenario.name;

function makeItem(name) {
  const parts = { title: make("h3"), words: make("p"), state: make("span", { class: "state" }), button: make("button", { type: "button" }) };
  parts.button.addEventListener("click", () => press(name));
  parts.item = make("li", {}, parts.title, parts.words, make("p", {}, parts.button, " ", parts.state));
  items.set(name, parts);
  list.append(parts.item);
  return parts;
}

async function press(name) {
  const { scenario } = items.get(name);
  const action = async () => {
    await (scenario.on ? remove(`/lab/scenarios/${encodeURIComponent(name)}`) : post("/lab/scenarios", { name }));
    await loadScenarios();
  };
  await attempt(action, scenario.on ? "ended" : "started", () => titleOf(scenario));
}

/** How long it still lasts is counted here: the server says it only when it is asked. */
function showState({ state, item, scenario, until }) {
  const left = Math.max(0, Math.ceil((until - performance.now()) / 1000));
  item.classList.toggle("on", scenario.on);
  if (scenario.on && scenario.endsInMs !== undefined) {
    say(state, "onFor", left);
  } else {
    say(state, scenario.on ? "on" : "off");
  }
}

function showItem(parts) {
  const { title, words, button, scenario } = parts;
  title.textContent = titleOf(scenario);
  words.textContent = own(scenario, "description");
  say(button, scenario.on ? "end" : "start");
  button.setAttribute("aria-label", text(scenario.on ? "endItem" : "startItem", titleOf(scenario)));
  showState(parts);
}

export function showScenarios() {
  for (const parts of items.values()) {
    showItem(parts);
  }
}

/** @return whether a scenario must have ended by itself since the server was asked */
export function tickScenarios() {
  for (const parts of items.values()) {
    showState(parts);
  }
  return [...items.values()].some(({ scenario, until }) => scenario.endsInMs !== undefined && performance.now() > until);
}

export async function loadScenarios() {
  const { scenarios } = await get("/lab/scenarios");
  const names = new Set(scenarios.map(({ name }) => name));
  for (const [name, { item }] of items) {
    if (!names.has(name)) {
      item.remove();
      items.delete(name);
    }
  }
  for (const scenario of scenarios) {
    const parts = items.get(scenario.name) ?? makeItem(scenario.name);
    Object.assign(parts, { scenario, until: performance.now() + (scenario.endsInMs ?? 0) });
  }
  showScenarios();
}

async function startOwn() {
  let scenario;
  try {
    scenario = JSON.parse(byId("scenario-json").value);
  } catch {
    throw new Error(text("notJson"));
  }
  await post("/lab/scenarios", scenario);
  await loadScenarios();
}

async function endAll() {
  await remove("/lab/scenarios");
  await loadScenarios();
}

export function startScenarios() {
  byId("scenarios-end").addEventListener("click", () => attempt(endAll, "allEnded"));
  byId("scenario-form").addEventListener("submit", (event) => {
    event.preventDefault();
    attempt(startOwn, "started", () => text("ownScenario"));
  });
}

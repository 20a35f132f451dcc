// How many requests came, and how long they took.
import { get } from "./api.js";
import { byId } from "./dom.js";
import { say } from "./language.js";
import { Plot, SECONDS } from "./plot.js";

const LOWEST = 0.1; // ms, at the bottom of the plot of latencies
const LATENCIES = { p50: "p50Ms", p99: "p99Ms", most: "mostMs" };

const ratePlot = new Plot(byId("rate-plot"), ["count", "failed"]);
const latencyPlot = new Plot(byId("latency-plot"), Object.keys(LATENCIES));
let seconds = [];

const rounded = (ms) => Number(ms.toPrecision(3));
const sum = (name) => seconds.reduce((all, second) => all + second[name], 0);

/** The names of the decades from 0.1 ms to what holds the slowest, at least 10 ms. */
function topOf(slowest) {
  return 10 ** Math.max(1, Math.ceil(Math.log10(slowest)));
}

const nameOf = (ms) => (ms < 1000 ? `${ms} ms` : `${ms / 1000} s`);

function showRates() {
  const most = Math.max(0, ...seconds.map(({ count }) => count));
  const top = Math.max(5, most);
  ratePlot.scale(`${top}`, "0");
  ratePlot.grid([0, 0.5, 1]);
  ratePlot.bars("count", seconds.map(({ count }) => count / top));
  ratePlot.bars("failed", seconds.map(({ failed }) => failed / top));
  say(byId("rate-words"), "rateWords", seconds.at(-1)?.count ?? 0, sum("count"), sum("failed"), most);
}

function showLatencies() {
  const busy = seconds.filter(({ count }) => count > 0);
  const top = topOf(Math.max(LOWEST, ...busy.map(({ mostMs }) => mostMs)));
  const decades = Math.round(Math.log10(top / LOWEST));
  const heightOf = (ms) => Math.max(0, Math.log10(ms / LOWEST) / decades);
  latencyPlot.scale(nameOf(top), nameOf(LOWEST));
  latencyPlot.grid(Array.from({ length: decades + 1 }, (_, decade) => decade / decades));
  for (const [line, member] of Object.entries(LATENCIES)) {
    latencyPlot.line(line, seconds.map((second) => (second.count > 0 ? heightOf(second[member]) : undefined)));
  }
  const last = busy.at(-1);
  const words = last ? ["latencyWords", ...Object.values(LATENCIES).map((name) => rounded(last[name]))] : ["noLatency"];
  say(byId("latency-words"), ...words);
}

function show() {
  showRates();
  showLatencies();
}

export async function loadRates() {
  ({ seconds } = await get("/lab/rates"));
  show();
}

export function takeSecond(second) {
  seconds = [...seconds.filter((known) => known.second !== second.second), second].slice(-SECONDS);
  show();
}

// The list of exchanges: those that the server keeps, and then each new one as it comes.
import { get } from "./api.js";
import { byId, option } from "./dom.js";
import { exchangeItem } from "./exchange.js";
import { gently } from "./gently.js";
import { say } from "./language.js";
import { complain } from "./message.js";

const MOST = 500; // in the list
const OUTCOMES = ["answered", "refused", "fault", "reset", "silence", "truncated"];
const SHOW_EVERY = 200; // ms

const list = byId("exchanges");
const pause = byId("pause");
const fields = { path: byId("filter-path"), host: byId("filter-host"), outcome: byId("filter-outcome") };
let items = new Map(); // what the list shows, by its key
let news = []; // not shown yet, oldest first
let missed = 0; // while paused
let skipped = 0; // by the server, since they came too quickly
let loading = false;

const isPaused = () => pause.getAttribute("aria-pressed") === "true";
const asked = () => Object.fromEntries(Object.entries(fields).map(([name, { value }]) => [name, value.trim()]));

function fits({ path, host, outcome }) {
  const wanted = asked();
  const isWanted = wanted.outcome === "" || outcome === wanted.outcome;
  return isWanted && path.includes(wanted.path) && host.includes(wanted.host);
}

function showCounts() {
  say(byId("exchange-count"), "exchangeCount", list.children.length);
  const more = byId("exchange-more");
  if (isPaused() && missed > 0) {
    say(more, "exchangeWaiting", missed);
  } else if (skipped > 0) {
    say(more, "exchangeSkipped", skipped);
  } else {
    delete more.dataset.text;
    more.textContent = "";
  }
}

/** An exchange that is open, or has the focus, stays in the list longer than the others. */
const isUsed = (item) => item.querySelector("details").open || item.contains(document.activeElement);

function forget(item) {
  item.remove();
  items.delete(item.dataset.key);
}

function shorten() {
  const oldest = [...list.children].reverse();
  for (const item of [...oldest.filter((one) => !isUsed(one)), ...oldest].slice(0, 2 * MOST)) {
    if (list.children.length <= MOST) {
      return;
    }
    forget(item);
  }
}

/** The item of an exchange, which stays the same when the list is loaded again. */
function itemOf(exchange) {
  const key = `${exchange.id} ${exchange.time}`; // a server that was started anew begins with 1 again
  const item = items.get(key) ?? exchangeItem(exchange);
  item.dataset.key = key;
  items.set(key, item);
  return item;
}

const showNews = gently(() => {
  if (!loading && !isPaused()) {
    list.prepend(...news.reverse().map(itemOf).filter((item) => !item.isConnected));
    news = [];
    shorten();
  }
  showCounts();
}, SHOW_EVERY);

function replaceAll(exchanges) {
  const focused = list.contains(document.activeElement) ? document.activeElement : null;
  const kept = exchanges.map(itemOf);
  list.replaceChildren(...kept);
  items = new Map(kept.map((item) => [item.dataset.key, item]));
  focused?.focus({ preventScroll: true });
}

const reload = gently(async () => {
  loading = true;
  try {
    replaceAll((await get("/lab/exchanges", { limit: MOST, ...asked() })).exchanges);
    skipped = 0;
  } catch (error) {
    complain(error);
  }
  loading = false;
  showNews();
}, SHOW_EVERY);

export function loadExchanges() {
  missed = 0;
  return isPaused() ? undefined : reload();
}

export function takeExchange(exchange) {
  if (!fits(exchange)) {
    return;
  }
  if (isPaused()) {
    missed += 1;
  } else {
    news = [...news.slice(1 - MOST), exchange];
  }
  showNews();
}

export function takeSkipped(count = 0) {
  skipped += count;
  if (count > 0) {
    showNews();
  }
}

export function startTraffic() {
  fields.outcome.replaceChildren(option("", "anyOutcome"), ...OUTCOMES.map((name) => option(name, `outcome-${name}`)));
  for (const field of Object.values(fields)) {
    field.addEventListener("input", reload);
  }
  byId("filters").addEventListener("submit", (event) => event.preventDefault());
  pause.addEventListener("click", () => {
    pause.setAttribute("aria-pressed", !isPaused());
    loadExchanges();
    showNews();
  });
}

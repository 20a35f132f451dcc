// The page as a whole: which part shows what, when it is loaded, and what the server's events mean for it.
import { isAnswers, loadAnswers } from "./answers.js";
import { loadChannels } from "./channels.js";
import { byId } from "./dom.js";
import { loadFaults, showFaults, startFaults } from "./faults.js";
import { gently } from "./gently.js";
import { languageName, say, sayAll, switchLanguage } from "./language.js";
import { follow } from "./live.js";
import { complain } from "./message.js";
import { loadRates, takeSecond } from "./rates.js";
import { loadRepeats, showRepeats } from "./repeats.js";
import { isShownKind, loadReports, startReports } from "./reports.js";
import { loadScenarios, showScenarios, startScenarios, tickScenarios } from "./scenarios.js";
import { startTabs } from "./tabs.js";
import { loadExchanges, startTraffic, takeExchange, takeSkipped } from "./traffic.js";

/** What each part shows, how often it is loaded at most, and which changes it shows. */
const PARTS = {
  traffic: { loads: [loadRates, loadExchanges], pause: 500, isMeant: () => false },
  reports: { loads: [loadReports], pause: 500, isMeant: ({ what, name }) => what === "reports" && isShownKind(name) },
  channels: { loads: [loadChannels], pause: 500, isMeant: ({ what, name }) => what === "reports" && name === "channel-status" },
  answers: { loads: [loadAnswers], pause: 300, isMeant: ({ what }) => isAnswers(what) },
  faults: { loads: [loadFaults, loadScenarios], pause: 300, isMeant: ({ what }) => what === "faults" || what === "scenarios" },
  repeats: { loads: [loadRepeats], pause: 2000, isMeant: ({ what }) => what === "reports" },
};

let shownPart = "";

/** Loads a part, if it is shown; otherwise it is loaded when it will be. */
function reload(name) {
  if (name === shownPart) {
    PARTS[name].reload();
  }
}

for (const part of Object.values(PARTS)) {
  part.reload = gently(() => Promise.all(part.loads.map((load) => load())).catch(complain), part.pause);
}

function take(change) {
  for (const [name, { isMeant }] of Object.entries(PARTS)) {
    if (isMeant(change)) {
      reload(name);
    }
  }
}

/** Says something about the connection, once. */
function sayConnection(name) {
  const line = byId("connection");
  if (line.dataset.text !== name) {
    line.className = name;
    say(line, name);
  }
}

function startLanguage() {
  const choice = byId("language");
  choice.value = languageName();
  choice.addEventListener("change", () => {
    switchLanguage(choice.value);
    for (const show of [showFaults, showRepeats, showScenarios]) {
      show();
    }
  });
  sayAll();
}

function startFollowing() {
  sayConnection("connecting");
  follow({
    opened: () => {
      sayConnection("connected");
      reload(shownPart);
    },
    lost: () => sayConnection("lost"),
    exchange: (exchange) => {
      takeExchange(exchange);
      if (exchange.fault) {
        reload("faults"); // it has less left
      }
    },
    second: ({ skipped, ...second }) => {
      takeSecond(second);
      takeSkipped(skipped);
      if (tickScenarios()) {
        reload("faults");
      }
    },
    change: take,
  });
}

startTraffic();
startReports(() => reload("reports"));
startFaults();
startScenarios();
startLanguage();
startTabs((name) => {
  shownPart = name;
  reload(name);
});
startFollowing();

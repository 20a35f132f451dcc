// The parts of the page as tabs: arrow keys, Home and End move between them, the address names the shown one.
const tabs = [...document.querySelectorAll("[role=tab]")];
const idOf = (tab) => tab.getAttribute("aria-controls");

function targetOf(key, at) {
  const steps = { ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: tabs.length - 1 };
  return key in steps ? tabs[(steps[key] + tabs.length) % tabs.length] : undefined;
}

let tellShown;

function show(chosen) {
  for (const tab of tabs) {
    const isChosen = tab === chosen;
    tab.setAttribute("aria-selected", isChosen);
    tab.tabIndex = isChosen ? 0 : -1;
    document.getElementById(idOf(tab)).hidden = !isChosen;
  }
  tellShown(idOf(chosen));
}

function choose(tab) {
  history.replaceState(null, "", `#${idOf(tab)}`);
  show(tab);
}

export const showTab = (id) => choose(tabs.find((tab) => idOf(tab) === id));

/** @param shown called with the id of the part that is shown, now and whenever another one is */
export function startTabs(shown) {
  tellShown = shown;
  for (const [at, tab] of tabs.entries()) {
    tab.addEventListener("click", () => choose(tab));
    tab.addEventListener("keydown", (event) => {
      const target = targetOf(event.key, at);
      if (target) {
        event.preventDefault();
        target.focus();
        choose(target);
      }
    });
  }
  show(tabs.find((tab) => `#${idOf(tab)}` === location.hash) ?? tabs[0]);
}

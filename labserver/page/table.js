// A table that scrolls within itself, and keeps its rows, with the focus in them, when it is filled again.
import { make } from "./dom.js";
import { say, text } from "./language.js";

const LONGEST = 1000; // characters of a cell; the CSV file has all

/** A value as a cell shows it. */
export function words(value) {
  const whole = typeof value === "string" ? value : JSON.stringify(value ?? "").replace(/^""$/, "");
  return whole.length > LONGEST ? text("cut", whole.slice(0, LONGEST), whole.length) : whole;
}

export class Table {
  #place;
  #empty = make("p", { class: "hint", say: ["nothing"], hidden: "" });
  #region;
  #head = make("thead");
  #body = make("tbody");
  #rows = new Map(); // key: { row, content }
  #columns = "";

  /** @param named the name of the text that says what the table shows */
  constructor(place, named) {
    this.#place = place;
    this.#region = make(
      "div",
      { class: "scroll", tabindex: 0, role: "region", label: ["tableOf", () => text(named)], hidden: "" },
      make("table", {}, this.#head, this.#body),
    );
    this.#place.replaceChildren(this.#region, this.#empty);
  }

  /**
   * @param columns what the table has; each a { name } with the text "said" or else the name itself above it
   * @param items each a { key, cells }, whose cells are values, or elements where "actions" gives them
   * @param actions makes the elements of an item's last cell
   */
  show(columns, items, actions) {
    const isAtTable = this.#region.contains(document.activeElement);
    this.#showHead(actions ? [...columns, { name: "actions", said: "actions" }] : columns);
    this.#removeAllBut(new Set(items.map(({ key }) => key)));
    for (const [at, item] of items.entries()) {
      this.#showItem(item, this.#body.rows[at], actions);
    }
    this.#region.hidden = items.length === 0;
    this.#empty.hidden = items.length > 0;
    if (isAtTable && !this.#region.contains(document.activeElement)) {
      this.#keepFocus();
    }
  }

  #showHead(columns) {
    const names = JSON.stringify(columns);
    if (names === this.#columns) {
      return;
    }
    this.#columns = names;
    this.#rows.clear();
    this.#body.replaceChildren();
    const cells = columns.map(({ name, said }) => {
      const cell = make("th", { scope: "col" });
      return said ? say(cell, said) : (cell.append(name), cell);
    });
    this.#head.replaceChildren(make("tr", {}, ...cells));
  }

  #removeAllBut(keys) {
    for (const [key, { row }] of this.#rows) {
      if (!keys.has(key)) {
        row.remove();
        this.#rows.delete(key);
      }
    }
  }

  #showItem({ key, cells }, before, actions) {
    const content = JSON.stringify(cells);
    const known = this.#rows.get(key);
    const row = known?.row ?? make("tr");
    if (known?.content !== content) {
      const last = actions ? [make("td", { class: "actions" }, ...actions(key))] : [];
      row.replaceChildren(...cells.map((value) => make("td", {}, words(value))), ...last);
      this.#rows.set(key, { row, content });
    }
    if (row !== before) {
      this.#body.insertBefore(row, before ?? null);
    }
  }

  /** The row that had the focus is gone. */
  #keepFocus() {
    if (!this.#region.hidden) {
      this.#region.focus();
    } else {
      this.#place.tabIndex = -1;
      this.#place.focus();
    }
  }
}

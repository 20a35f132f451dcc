// What the operator lets the server answer: a table to add to and to delete from, each.
import { get, post, remove } from "./api.js";
import { byId, make } from "./dom.js";
import { attempt } from "./message.js";
import { Table } from "./table.js";

const TABLES = {
  "channel-rules": { texts: ["deviceId", "chl", "allowBoot", "reason"], flags: [] },
  "shared-barcodes": { texts: ["dxtm"], flags: ["common"] },
  "supported-versions": { texts: ["t", "com", "ver"], flags: ["supported"] },
};

function textField(name) {
  return make("label", {}, make("span", {}, name), " ", make("input", { name, autocomplete: "off", required: "" }));
}

function flagField(name) {
  return make("label", { class: "check" }, make("input", { type: "checkbox", name, checked: "" }), " ", name);
}

class Answers {
  #name;
  #columns;
  #table;

  constructor(name, { texts, flags }) {
    this.#name = name;
    this.#columns = [...texts, ...flags];
    const form = make(
      "form",
      { class: "fields", label: [name], onsubmit: (event) => this.#add(event, texts, flags) },
      ...texts.map(textField),
      ...flags.map(flagField),
      make("button", { say: ["add"] }),
    );
    const place = make("div", { id: `${name}-table` });
    this.#table = new Table(place, name);
    byId("answers").append(
      make("h2", { say: [name] }),
      make("p", { class: "hint", say: [`${name}-hint`] }),
      form,
      place,
    );
  }

  async load() {
    const { items } = await get(`/lab/${this.#name}`);
    const rows = items.map((item) => ({ key: item.id, cells: this.#columns.map((column) => item[column]) }));
    const named = new Map(items.map((item) => [item.id, `${item[this.#columns[0]]}`]));
    this.#table.show(this.#columns.map((name) => ({ name })), rows, (id) => [this.#button(id, named.get(id))]);
  }

  #button(id, named) {
    const onclick = () => attempt(() => this.#remove(id), "removed", named);
    return make("button", { type: "button", say: ["remove"], label: ["removeItem", named], onclick });
  }

  async #remove(id) {
    await remove(`/lab/${this.#name}/${id}`);
    await this.load();
  }

  #add(event, texts, flags) {
    event.preventDefault();
    const form = event.target;
    const field = (name) => form.elements.namedItem(name);
    const item = Object.fromEntries([
      ...texts.map((name) => [name, field(name).value]),
      ...flags.map((name) => [name, field(name).checked]),
    ]);
    const action = async () => {
      await post(`/lab/${this.#name}`, item);
      form.reset();
      await this.load();
    };
    attempt(action, "added", item[texts[0]]);
  }
}

const all = Object.entries(TABLES).map(([name, fields]) => new Answers(name, fields));

export const isAnswers = (name) => name in TABLES;
export const loadAnswers = () => Promise.all(all.map((answers) => answers.load()));

// The calls of ktsagent.
import { mkdirSync, mkdtempSync, rmSync } from "node:fs";
import os from "node:os";
import path from "node:path";
import { here, readYaml } from "./packages.mjs";
import { run } from "./programs.mjs";

const split = (text) => (text ?? "").split(" ").filter((word) => word !== "");

/** The rows of calls.yaml. */
export function readCalls() {
  return readYaml(path.join(here, "calls.yaml")).map((row) => ({
    ...row,
    interface: row.sync ? "blocking" : "asynchronous",
    arguments: split(row.arguments),
    also: (row.also ?? []).map(split),
  }));
}

/** Runs ktsagent without this machine's settings, proxies and outbox. */
export class Agent {
  constructor(file) {
    this.file = file;
    this.folder = mkdtempSync(path.join(os.tmpdir(), "ktscontract-"));
    const settings = path.join(this.folder, "settings");
    mkdirSync(settings);
    this.env = {
      PATH: process.env.PATH,
      HOME: this.folder,
      CLOG_DIR: this.folder,
      KTSHTTPAGENT_SETTINGS_ROOT: settings,
      KTSHTTPAGENT_OUTBOX: "",
    };
  }

  remove() {
    rmSync(this.folder, { recursive: true, force: true });
  }

  /** Calls an operation. @return what it prints with --json */
  async call(row, args, port, { outbox = false } = {}) {
    const server = args.some((word) => word.startsWith("--data"))
      ? ["--url", `http://127.0.0.1:${port}/`]
      : ["--server", `127.0.0.1:${port}`];
    const sync = row.sync ? ["--sync"] : [];
    const env = outbox ? { ...this.env, KTSHTTPAGENT_OUTBOX: path.join(this.folder, "outbox") } : this.env;
    const result = await run(this.file, [row.call, ...server, ...sync, ...args, "--json"], env);
    try {
      return JSON.parse(result.stdout);
    } catch {
      throw new Error(`ktsagent ${row.call} printed no JSON: ${result.stdout}${result.stderr}`);
    }
  }

  /** The endpoint paths that are built in. */
  async endpoints() {
    return JSON.parse((await run(this.file, ["endpoints", "--json"], this.env)).stdout);
  }
}

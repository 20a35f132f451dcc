// What comes from npm, in build/contract, and where things are.
import { readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";

export const here = path.dirname(fileURLToPath(import.meta.url));
export const root = path.resolve(here, "../..");
const installed = path.join(root, "build/contract");
const require = createRequire(`${installed}/`);

const YAML = require("yaml");
export const Ajv = require("ajv/dist/2020").default;

/** The path of a program of an installed package. */
export const program = (name) => path.join(installed, "node_modules/.bin", name);

export const readYaml = (file) => YAML.parse(readFileSync(file, "utf8"), { merge: true });

export const writeYaml = (file, value) => writeFileSync(file, YAML.stringify(value));

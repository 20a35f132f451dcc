// docs/api/openapi.yaml, and whether an exchange keeps to it. Ajv judges all values.
import path from "node:path";
import { Ajv, readYaml, root } from "./packages.mjs";

const FILE = path.join(root, "docs/api/openapi.yaml");

const escaped = (name) => name.replaceAll("~", "~0").replaceAll("/", "~1");

/** A body as JSON; undefined, which no schema allows, if it is none. */
function parsed(text) {
  try {
    return JSON.parse(text);
  } catch {
    return undefined;
  }
}

/** A text of a URL as the value that a parameter's schema asks for. */
function valueOf(text, { type, $ref }) {
  if (type === "array") {
    return text.split(",");
  }
  return $ref?.endsWith("/Int32") && /^-?\d+$/.test(text) ? Number(text) : text;
}

function wordsOf({ instancePath, message, params }) {
  return `${instancePath || "the whole"} ${message} ${JSON.stringify(params)}`;
}

export class Contract {
  constructor(file = FILE) {
    this.file = file;
    this.document = readYaml(file);
    // The document's keywords around the schemas are not those of a schema.
    this.ajv = new Ajv({ strict: false, allErrors: true, validateFormats: false });
    this.ajv.addSchema({ $id: "contract", ...this.document });
    this.operations = Object.entries(this.document.paths).flatMap(([path, methods]) =>
      Object.entries(methods).map(([method, operation]) => ({
        ...operation,
        path,
        method: method.toUpperCase(),
        at: `/paths/${escaped(path)}/${method}`,
      })),
    );
  }

  operation(id) {
    return this.operations.find(({ operationId }) => operationId === id);
  }

  /** The operation to which a request belongs, and the values of its path's parameters. */
  match({ method, target }) {
    const [asked] = target.split("?");
    for (const operation of this.operations) {
      const names = [...operation.path.matchAll(/\{(\w+)\}/g)].map(([, name]) => name);
      const pattern = operation.path.replaceAll(".", "\\.").replaceAll(/\{\w+\}/g, "([^/]+)");
      const match = new RegExp(`^${pattern}$`).exec(asked);
      if (match && operation.method === method) {
        return { operation, inPath: Object.fromEntries(names.map((name, i) => [name, match[i + 1]])) };
      }
    }
    return undefined;
  }

  /** Where a part of the document is: where it stands, or where its reference leads. */
  pointer(at) {
    const names = at.slice(1).split("/").map((name) => name.replaceAll("~1", "/").replaceAll("~0", "~"));
    const part = names.reduce((inside, name) => inside?.[name], this.document);
    return part?.$ref ? { at: part.$ref.slice(1), part: this.pointer(part.$ref.slice(1)).part } : { at, part };
  }

  /** @return what Ajv finds wrong with a value, a line each */
  faultsOf(value, at) {
    const validate = this.ajv.compile({ $ref: `contract#${encodeURI(at)}` });
    return validate(value) ? [] : validate.errors.map(wordsOf);
  }

  /** @return what is wrong with a body, described by the media types at a place */
  faultsOfBody(text, at) {
    const { part } = this.pointer(`${at}/content`);
    const type = "application/json" in part ? "application/json" : "*/*";
    const schema = `${at}/content/${escaped(type)}/schema`;
    if (type === "*/*") {
      return [];
    }
    return parsed(text) === undefined ? ["the body is not JSON"] : this.faultsOf(parsed(text), schema);
  }

  faultsOfParameters({ operation, inPath }, { target, headers }) {
    const faults = [];
    const query = new URLSearchParams(target.split("?")[1]);
    const unknown = new Set(query.keys());
    for (const index of (operation.parameters ?? []).keys()) {
      const { at, part } = this.pointer(`${operation.at}/parameters/${index}`);
      const from = { path: inPath[part.name], query: query.get(part.name), header: headers[part.name.toLowerCase()] };
      const text = from[part.in] ?? undefined;
      unknown.delete(part.name);
      if (text !== undefined) {
        const wrong = this.faultsOf(valueOf(text, part.schema), `${at}/schema`);
        faults.push(...wrong.map((fault) => `${part.name}: ${fault}`));
      } else if (part.required) {
        faults.push(`${part.name} is missing`);
      }
    }
    return [...faults, ...[...unknown].map((name) => `${name} is not described`)];
  }

  /** @return what is wrong with a request, a line each */
  faultsOfRequest(exchange) {
    const match = this.match(exchange);
    const { at, part } = this.pointer(`${match.operation.at}/requestBody`);
    const faults = part ? this.faultsOfBody(exchange.body, at) : exchange.body && ["a body is not described"];
    return [...this.faultsOfParameters(match, exchange), ...(faults || [])];
  }

  /** Whether an operation's replies of a status are described by themselves, not with all other failures. */
  hasStatus(id, status) {
    return status in this.operation(id).responses;
  }

  /** @return what is wrong with a reply of an operation, a line each */
  faultsOfReply(id, { status, replyHeaders, replyBody }) {
    const described = this.hasStatus(id, status) ? status : "default";
    const { at } = this.pointer(`${this.operation(id).at}/responses/${described}`);
    const faults = this.faultsOfBody(replyBody, at);
    const isLabelled = /^application\/json\b/.test(replyHeaders["content-type"] ?? "");
    return isLabelled ? faults : [...faults, `is labelled ${replyHeaders["content-type"]}`];
  }

  /** The names of the examples of an operation's reply of status 200. */
  examples(id) {
    const { part } = this.pointer(`${this.operation(id).at}/responses/200`);
    return Object.keys(part?.content["application/json"].examples ?? {});
  }
}

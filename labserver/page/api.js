// Calls of the server's operator paths.
import { text } from "./language.js";

async function replyOf(method, path, body) {
  try {
    const headers = body === undefined ? { Accept: "application/json" } : { "Content-Type": "application/json" };
    const response = await fetch(path, { method, headers, body: body && JSON.stringify(body) });
    return { response, value: await response.json() };
  } catch {
    throw new Error(text("noReply"));
  }
}

/** @return what the server answers, as JSON; an answer that refuses is thrown, with its words */
async function call(method, path, body) {
  const { response, value } = await replyOf(method, path, body);
  if (!response.ok) {
    throw Object.assign(new Error(value.message ?? response.statusText), { status: response.status });
  }
  return value;
}

/** @param {object} query parameters; those without a value are left out */
export function get(path, query = {}) {
  return call("GET", path + queryOf(query));
}

export const post = (path, body) => call("POST", path, body);
export const remove = (path) => call("DELETE", path);

export function queryOf(query) {
  const given = Object.entries(query).filter(([, value]) => value !== "" && value !== undefined);
  return given.length ? `?${new URLSearchParams(given)}` : "";
}

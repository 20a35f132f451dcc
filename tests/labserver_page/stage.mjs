// A lab server, a browser, and what every page in it must keep to.
import assert from "node:assert/strict";
import { createRequire } from "node:module";
import path from "node:path";
import { after, before } from "node:test";
import { fileURLToPath } from "node:url";
import { start } from "../contract/programs.mjs";

export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
const require = createRequire(path.join(root, "build/labserver_page/"));
const { chromium } = require("playwright-core");

export const PARTS = ["traffic", "reports", "channels", "answers", "faults", "repeats"];

/** Starts a lab server. @param port 0 takes a free one */
export async function startLab(port = 0) {
  const program = path.join(process.env.KTS_PROGRAMS, "ktslabserver");
  const lab = await start(program, ["--port", `${port}`, "--end-with-input"], /http:\/\/[^:]+:(\d+)/);
  return { stop: lab.stop, pid: lab.pid, url: `http://127.0.0.1:${lab.match[1]}`, port: Number(lab.match[1]) };
}

export const startBrowser = () => chromium.launch({ executablePath: "/usr/bin/chromium" });

/** A lab server and a browser for all tests of a file. */
export function setStage() {
  const stage = {};
  before(async () => {
    [stage.lab, stage.browser] = await Promise.all([startLab(), startBrowser()]);
  });
  after(async () => {
    await stage.browser?.close();
    await stage.lab?.stop();
  });
  return stage;
}

/** Sends a request as a host does. @return the reply, and its body as text */
export async function send(lab, method, target, value, headers = {}) {
  const body = value === undefined ? undefined : JSON.stringify(value);
  const type = body === undefined ? {} : { "Content-Type": "application/json" };
  const response = await fetch(lab.url + target, { method, body, headers: { ...type, ...headers } });
  return { status: response.status, headers: response.headers, text: await response.text() };
}

/** Whether a request went to somebody else than a lab server; "csp" is said of one that the page's policy stopped. */
const isAbroad = (lab) => (request) =>
  new URL(request.url()).origin !== lab.url && request.failure()?.errorText !== "csp";

/**
 * Opens the page, and uses it. It must ask nobody but its server, and its scripts may not fail.
 * @param options of the browser's context; "part" opens another part than the traffic, "expected" are errors that the
 * browser is to tell
 */
export async function inPage({ lab, browser }, { part = "", expected, ...options }, use) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, locale: "en-GB", ...options });
  const asked = [];
  const flaws = [];
  const seen = []; // what was expected
  context.on("request", (request) => asked.push(request));
  context.on("weberror", (error) => flaws.push(error.error().stack));
  context.on("console", (line) => {
    if (line.type() === "error") {
      (expected?.test(line.text()) ? seen : flaws).push(line.text());
    }
  });
  try {
    const page = await context.newPage();
    page.setDefaultTimeout(20_000);
    await page.goto(`${lab.url}/lab/${part && `#${part}`}`);
    await page.locator("#connection.connected").waitFor();
    await use(page);
  } finally {
    await context.close();
  }
  assert.deepEqual(asked.filter(isAbroad(lab)).map((request) => request.url()), [], "requests to somebody else");
  assert.deepEqual(flaws, [], "errors that the browser tells");
  assert.ok(!expected || seen.length > 0, `the browser did not tell ${expected}`);
}

export const showPart = (page, name) => page.locator(`#tab-${name}`).click();

/** Waits until the shown part has what the server has for it, or says that there is nothing. */
export function filled(page, part) {
  const content = page.locator(`#${part}`).locator("tbody tr, li, [id$=-table] .hint");
  return content.locator("visible=true").first().waitFor();
}

export const textOf = (page, selector) => page.locator(selector).innerText();

/** Waits until a function gives true. */
export async function eventually(is, what, within = 20_000) {
  const end = performance.now() + within;
  while (!(await is())) {
    assert.ok(performance.now() < end, `not within ${within} ms: ${what}`);
    await new Promise((done) => setTimeout(done, 25));
  }
}

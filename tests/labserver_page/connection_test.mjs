// A server that goes away and comes back.
import assert from "node:assert/strict";
import { test } from "node:test";
import { inPage, send, setStage, startLab, textOf } from "./stage.mjs";

const stage = setStage();
const LOST = /net::ERR_/;

test("The page says that the connection is lost, and goes on when the server is back", () =>
  inPage(stage, { expected: LOST }, async (page) => {
    await send(stage.lab, "GET", "/posts/1");
    await page.locator("#exchanges").getByText("/posts/1", { exact: true }).waitFor();
    await stage.lab.stop();
    await page.locator("#connection.lost").waitFor();
    assert.equal(await textOf(page, "#connection"), "Connection lost: what you see may be out of date. Trying again …");
    assert.ok(await page.locator("#exchanges").getByText("/posts/1", { exact: true }).isVisible(), "what was there stays");
    await page.locator("#pause").click();
    await page.locator("#pause").click();
    await page.getByText("That failed: the server does not answer").waitFor();
    stage.lab = await startLab(stage.lab.port);
    await page.locator("#connection.connected").waitFor();
    await send(stage.lab, "GET", "/posts/2");
    await page.locator("#exchanges").getByText("/posts/2", { exact: true }).waitFor();
    assert.equal(await page.locator("#exchanges > li").count(), 1, "the new server knows nothing of the old one");
  }));

test("The page notices a server that keeps its connections but says nothing", () =>
  inPage(stage, {}, async (page) => {
    process.kill(stage.lab.pid, "SIGSTOP");
    try {
      await page.locator("#connection.lost").waitFor();
    } finally {
      process.kill(stage.lab.pid, "SIGCONT");
    }
    await page.locator("#connection.connected").waitFor();
    await send(stage.lab, "GET", "/posts/3");
    await page.locator("#exchanges").getByText("/posts/3", { exact: true }).waitFor();
  }));

test("The scenario of a restart takes the server away and brings it back", () =>
  inPage(stage, { part: "faults", expected: LOST }, async (page) => {
    await page.getByRole("button", { name: "Start: Restart" }).click();
    await page.locator("#connection.lost").waitFor();
    await page.locator("#connection.connected").waitFor(); // ten seconds later
    await page.locator("#scenario-list li.on").waitFor({ state: "detached" });
  }));

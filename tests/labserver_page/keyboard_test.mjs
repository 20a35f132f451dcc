// Everything is reached and used without a mouse.
import assert from "node:assert/strict";
import { test } from "node:test";
import { eventually, filled, inPage, PARTS, send, setStage, textOf } from "./stage.mjs";

const stage = setStage();

/** Marks what can be used in the page as it is now. @return how many there are */
const markUsable = (page) =>
  page.evaluate(() => {
    const all = [...document.querySelectorAll("a[href], button, input, select, textarea, summary, [tabindex]")];
    const usable = all.filter((element) => element.checkVisibility() && !element.disabled && element.tabIndex >= 0);
    usable.forEach((element, at) => { element.dataset.usable = at; });
    return usable.length;
  });

/** What has the focus, and whether it can be seen that it has. */
const focused = (page) =>
  page.evaluate(() => {
    const { outlineStyle, outlineWidth } = getComputedStyle(document.activeElement);
    const { bottom, top } = document.activeElement.getBoundingClientRect();
    return {
      mark: document.activeElement.dataset.usable,
      name: document.activeElement.outerHTML.slice(0, 120),
      isSeen: outlineStyle !== "none" && parseFloat(outlineWidth) >= 2 && bottom > 0 && top < innerHeight,
    };
  });

async function expectAllReached(page, part) {
  const usable = await markUsable(page);
  const reached = new Set();
  await page.evaluate(() => { document.activeElement.blur(); window.scrollTo(0, 0); });
  for (let step = 0; step < usable + 10 && reached.size < usable; ++step) {
    await page.keyboard.press("Tab");
    const { mark, name, isSeen } = await focused(page);
    if (mark !== undefined) {
      reached.add(mark);
      assert.ok(isSeen, `the focus can be seen on ${name} in ${part}`);
    }
  }
  assert.equal(reached.size, usable, `everything in ${part} is reached`);
}

test("Everything in every part is reached with the Tab key, and it can be seen where one is", async () => {
  await send(stage.lab, "GET", "/posts/1");
  await send(stage.lab, "GET", "/posts/2");
  await send(stage.lab, "POST", "/vomd/system/incubatorStatus.action", { name: "I", status: "S", temperature: 1 });
  await send(stage.lab, "POST", "/lab/faults", { path: "posts", status: 500 });
  await inPage(stage, {}, async (page) => {
    await page.locator("#tab-traffic").focus();
    for (const part of PARTS) {
      await page.locator(`#${part}`).waitFor();
      assert.equal(await page.locator("[role=tab][aria-selected=true]").getAttribute("aria-controls"), part);
      await filled(page, part);
      await expectAllReached(page, part);
      await page.locator(`#tab-${part}`).focus();
      await page.keyboard.press("ArrowRight");
    }
    assert.ok(await page.locator("#traffic").isVisible(), "after the last part comes the first");
    await page.keyboard.press("End");
    assert.ok(await page.locator("#repeats").isVisible());
    await page.keyboard.press("Home");
    assert.ok(await page.locator("#traffic").isVisible());
  });
});

test("An exchange is opened, and a fault switched on and off, with keys alone", () =>
  inPage(stage, {}, async (page) => {
    await send(stage.lab, "DELETE", "/lab/faults");
    await send(stage.lab, "GET", "/posts/7");
    const tabTo = async (selector) => {
      await eventually(async () => {
        await page.keyboard.press("Tab");
        return page.locator(selector).first().evaluate((element) => element === document.activeElement);
      }, `the focus on ${selector}`);
    };
    await page.locator("#exchanges summary").first().waitFor();
    await tabTo("#exchanges summary");
    await page.keyboard.press("Enter");
    await page.locator(".whole button").waitFor();
    await tabTo(".whole button");
    await page.keyboard.press("Enter");
    await page.keyboard.press("Shift+Tab");
    await page.keyboard.press("End");
    await page.keyboard.type("x"); // the path is filled in, and can be changed
    await page.keyboard.press("Backspace");
    await tabTo("#fault-form button");
    await page.keyboard.press("Enter");
    await page.locator("#fault-table tbody tr").waitFor();
    assert.equal((await send(stage.lab, "GET", "/posts/7")).status, 502);
    await send(stage.lab, "POST", "/lab/faults", { path: "posts/8", status: 500 });
    await page.locator("#fault-table tbody").getByText("posts/8").waitFor();
    await tabTo("#fault-table button");
    await page.keyboard.press("Enter");
    await eventually(async () => (await page.locator("#fault-table tbody tr").count()) === 0, "the fault is off");
    assert.match(await textOf(page, "#message"), /^Fault switched off for/);
    const place = await page.evaluate(() => document.activeElement.id);
    assert.equal(place, "fault-table", "the focus stays where the fault was");
  }));

// Languages, light and dark, zoom and narrow windows, and what axe finds.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import path from "node:path";
import { test } from "node:test";
import { filled, inPage, PARTS, root, send, setStage, showPart, textOf } from "./stage.mjs";

const stage = setStage();
const { texts } = await import(path.join(root, "labserver/page/texts.js"));
const axe = readFileSync(path.join(root, "build/labserver_page/node_modules/axe-core/axe.min.js"), "utf8");

/** Something in each part. */
async function fillLab() {
  await send(stage.lab, "DELETE", "/lab/faults");
  await send(stage.lab, "POST", "/lab/faults", { path: "vomd/system/GetSyxm.action", status: 502, count: 3 });
  const long = { name: "a-name-without-any-blank-".repeat(8), status: "running", temperature: 25 };
  const key = { "Idempotency-Key": '"again"' };
  for (const headers of [key, key, {}]) {
    await send(stage.lab, "POST", "/vomd/system/incubatorStatus.action", long, headers);
  }
  await send(stage.lab, "GET", "/posts/1");
  await send(stage.lab, "GET", `/no/${"such-path".repeat(30)}`);
}

/** Shows each part, with an exchange open in the traffic. */
async function inEachPart(page, look) {
  for (const part of PARTS) {
    await showPart(page, part);
    if (part === "traffic") {
      await page.locator("#exchanges summary").first().click();
      await page.locator(".whole h3").first().waitFor();
    } else if (part === "reports") {
      await page.locator("#report-kind").selectOption("incubator-status");
      await page.locator("#report-table tbody tr").first().waitFor();
    }
    await filled(page, part);
    await look(part);
  }
}

test("Each text is there in both languages", () => {
  for (const [name, both] of Object.entries(texts)) {
    assert.equal(both.length, 2, name);
    assert.match(both[1], /\p{Script=Han}|^ORN|^\{/u, `${name} in Chinese`);
    assert.doesNotMatch(both[0], /\p{Script=Han}/u, `${name} in English`);
    assert.deepEqual(both[0].match(/\{\d\}/g)?.sort(), both[1].match(/\{\d\}/g)?.sort(), `values of ${name}`);
  }
});

test("The browser's language is the first choice, a switch changes it, and it is remembered", async () => {
  await fillLab();
  await inPage(stage, { locale: "zh-CN" }, async (page) => {
    const language = () => page.locator("html").getAttribute("lang");
    assert.equal(await language(), "zh-CN");
    assert.equal(await textOf(page, "h1"), "实验室服务器");
    await inEachPart(page, async (part) => {
      const shown = await page.locator("[data-text]").evaluateAll((elements) => elements.map((one) => [one.dataset.text, one.textContent]));
      for (const [name, text] of shown) {
        const words = texts[name][0].replace(/\{\d\}/g, "").trim();
        assert.ok(words === "" || words === texts[name][1] || !text.includes(words), `${name} in ${part}: ${text}`);
      }
    });
    await page.locator("#language").selectOption("en");
    assert.equal(await textOf(page, "h1"), "Lab server");
    assert.equal(await textOf(page, "#tab-faults"), "Faults");
    assert.equal(await page.locator("#report-table [role=region]").getAttribute("aria-label"), "Table: Stored reports");
    await page.reload();
    assert.equal(await language(), "en");
    assert.equal(await textOf(page, "h1"), "Lab server");
  });
  await inPage(stage, { locale: "de-DE" }, async (page) => assert.equal(await textOf(page, "h1"), "Lab server"));
});

for (const colorScheme of ["light", "dark"]) {
  for (const locale of ["en-GB", "zh-CN"]) {
    test(`axe finds nothing: ${colorScheme}, ${locale}`, async () => {
      await fillLab();
      await inPage(stage, { colorScheme, locale }, async (page) => {
        const [, ground] = await page.evaluate(() => /(\d+)/.exec(getComputedStyle(document.body).backgroundColor));
        assert.equal(Number(ground) < 64, colorScheme === "dark", "the background fits");
        await page.evaluate(axe);
        await inEachPart(page, async (part) => {
          const { violations, passes } = await page.evaluate(() =>
            window.axe.run(document, { runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa"] }));
          const found = violations.map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html).join("\n")}`);
          assert.deepEqual(found, [], part);
          assert.ok(passes.some(({ id }) => id === "color-contrast"), "contrasts were looked at");
        });
      });
    });
  }
}

/** What does not fit: a page that scrolls sideways, a control beyond the edge, a text that its element cuts off. */
const misfits = (page) =>
  page.evaluate(() => {
    const found = [];
    const { scrollWidth } = document.documentElement;
    if (scrollWidth > innerWidth) {
      found.push(`the page is ${scrollWidth} wide in ${innerWidth}`);
    }
    for (const element of document.querySelectorAll("body *")) {
      const { left, right, width } = element.getBoundingClientRect();
      const isInTable = element.closest(".scroll table");
      if (width > 0 && element.checkVisibility() && !isInTable && !element.matches(".skip") && (left < -1 || right > innerWidth + 1)) {
        found.push(`${element.outerHTML.slice(0, 100)}: ${left} to ${right}`);
      }
      const { overflowX } = getComputedStyle(element);
      if (["hidden", "clip"].includes(overflowX) && element.scrollWidth > element.clientWidth && !(element instanceof SVGElement)) {
        found.push(`cut off: ${element.outerHTML.slice(0, 100)}`);
      }
    }
    return found;
  });

// A window of 1280 x 800 at 200 % has room for 640 x 400.
const WINDOWS = { "at 200 %": { width: 640, height: 400 }, "400 px wide": { width: 400, height: 800 }, "320 px wide": { width: 320, height: 640 } };
for (const [name, viewport] of Object.entries(WINDOWS)) {
  test(`Nothing is lost ${name}`, async () => {
    await fillLab();
    for (const locale of ["en-GB", "zh-CN"]) {
      await inPage(stage, { viewport, deviceScaleFactor: 2, locale }, async (page) => {
        await inEachPart(page, async (part) => assert.deepEqual(await misfits(page), [], part));
      });
    }
  });
}

test("Nothing is lost when only the text is twice as large", async () => {
  await fillLab();
  await inPage(stage, {}, async (page) => {
    await page.evaluate(() => { document.documentElement.style.fontSize = "200%"; });
    await inEachPart(page, async (part) => assert.deepEqual(await misfits(page), [], part));
  });
});

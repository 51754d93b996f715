// The page in Chromium, beside a blade that is up: `node --test tests/browser/page.test.mjs` with
//   PAGE_URL       where bmhost-web serves, on a plain loopback address
//   PAGE_ACCOUNT, PAGE_PASSWORD   of an operator
//   CHROMIUM       its program; /usr/bin/chromium unless given
// What the test changes it changes back.
import assert from "node:assert/strict";
import test, {after, before} from "node:test";

import {chromium} from "playwright-core";

const URL_OF_PAGE = process.env.PAGE_URL ?? "http://127.0.0.1:18080/";
let browser;

before(async () => {
  browser = await chromium.launch({executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", args: ["--no-sandbox"]});
});
after(async () => browser?.close());

/** A page that has heard the blade; anything that it complains of, or asks elsewhere, is a failure. */
async function opened(t, options = {}) {
  const context = await browser.newContext({viewport: {width: 1280, height: 900}, ...options});
  t.after(() => context.close());
  const page = await context.newPage();
  page.complaints = [];
  page.on("pageerror", (error) => page.complaints.push(String(error)));
  page.on("console", (message) => { if (message.type() === "error") page.complaints.push(message.text()); });
  page.on("request", (request) => {
    if (new URL(request.url()).origin !== new URL(URL_OF_PAGE).origin) page.complaints.push(`asks elsewhere: ${request.url()}`);
  });
  await page.goto(URL_OF_PAGE);
  await page.locator("#link-text", {hasText: /^live$/}).waitFor();
  return page;
}

const pictureOf = (page) => page.evaluate(async () => (await fetch("/v1/blade")).json());

async function logIn(page) {
  await page.fill("#login-name", process.env.PAGE_ACCOUNT ?? "operator");
  await page.fill("#login-password", process.env.PAGE_PASSWORD ?? "operator");
  await page.press("#login-password", "Enter");
  await page.locator("#orders").waitFor({state: "visible"});
}

test("the panel shows what the picture tells", async (t) => {
  const page = await opened(t);
  const picture = await pictureOf(page);
  assert.equal(await page.locator("#panel .face").count(), 10);
  for (const module of picture.inventory.modules) {
    const face = page.locator(`.face[data-bay="${module.bay}"]`);
    assert.match(await face.innerText(), new RegExp(`\\(${module.run_status}\\)`), module.place);
  }
  for (const led of picture.leds.filter((each) => each.result === 1)) {
    const shown = page.locator(`.face[data-bay="${led.bay}"] .led[data-led="${led.led}"]`);
    assert.equal(await shown.getAttribute("data-state"), led.state, `${led.place} ${led.led_name}`);
    assert.match(await shown.innerText(), new RegExp(led.state), "in words, too");
  }
  assert.deepEqual(page.complaints, []);
});

test("ages tick", async (t) => {
  const page = await opened(t);
  const age = page.locator("#place .age").first();
  const first = await age.innerText();
  await page.waitForFunction((was) => document.querySelector("#place .age").innerText !== was, first);
  assert.match(await age.innerText(), /read (just now|\d+ s ago|\d+ min \d+ s ago)/);
});

test("a blinking LED blinks in its row's times, unless nothing may move", async (t) => {
  const page = await opened(t);
  await logIn(page);
  const led = page.locator("#order-led");
  const form = async (action) => {
    await led.locator('[name="bay"]').selectOption("0");
    await led.locator('[name="led"]').selectOption("3");
    await led.locator('[name="action"]').selectOption(action);
    if (action === "blink") {
      await led.locator('[name="on"]').fill("300");
      await led.locator('[name="off"]').fill("700");
    }
    await led.locator("button").click();
    await led.locator(".outcome", {hasText: /done/}).waitFor();
  };
  await form("blink");
  const lamp = page.locator('.face[data-bay="0"] .led[data-led="3"][data-state="blink"] .light');
  await lamp.waitFor();
  const times = await lamp.evaluate((light) => light.getAnimations().map((each) => [
    each.effect.getTiming().duration, each.effect.getKeyframes()[1].offset]));
  assert.deepEqual(times, [[1000, 0.3]]);
  const still = await opened(t, {reducedMotion: "reduce"});
  await still.locator('.face[data-bay="0"] .led[data-led="3"][data-state="blink"]').waitFor();
  assert.equal(await still.evaluate(() => document.getAnimations().length), 0);
  await form("local");
});

test("nobody without an account is offered an order, and a wrong password is told", async (t) => {
  const page = await opened(t);
  assert.equal(await page.locator("#orders").isVisible(), false);
  await page.fill("#login-name", "nobody");
  await page.fill("#login-password", "wrong");
  await page.press("#login-password", "Enter");
  await page.locator("#login-outcome", {hasText: "✕"}).waitFor();
  assert.equal(await page.locator("#orders").isVisible(), false);
  assert.equal(await page.evaluate(() => localStorage.length + sessionStorage.length + document.cookie.length), 0);
});

test("what is not heard is not claimed", async (t) => {
  const context = await browser.newContext();
  t.after(() => context.close());
  const deaf = await context.newPage();
  await deaf.route("**/v1/**", (route) => route.abort());
  await deaf.goto(URL_OF_PAGE);
  await deaf.locator("#lost").waitFor({state: "visible"});
  assert.equal(await deaf.locator("body.unheard").count(), 1);
  assert.match(await deaf.locator("#lost").innerText(), /no connection to the blade/);
  assert.equal(await deaf.locator(".lamp.on, .lamp.blink").count(), 0);
  assert.doesNotMatch(await deaf.locator("#faults").innerText(), /Nothing is wrong/);
  await deaf.unroute("**/v1/**");
  await deaf.locator("#link-text", {hasText: /^live$/}).waitFor();
  assert.equal(await deaf.locator("#lost").isVisible(), false);
});

test("texts of the hardware are texts", async (t) => {
  const context = await browser.newContext();
  t.after(() => context.close());
  const page = await context.newPage();
  const evil = '<img src=x onerror="window.evil=1"><b>bold</b>\u0000\u202e';
  await page.route("**/v1/blade", async (route) => {
    const answer = await route.fetch();
    if (answer.status() !== 200) return route.fulfill({response: answer});
    const picture = await answer.json();
    picture.inventory.board[0].product_name = evil;
    for (const module of picture.inventory.modules) module.product_name = evil;
    picture.faults = [{place: evil, what: evil, cause: evil, evidence: [evil], cure: evil}];
    return route.fulfill({response: answer, json: picture});
  });
  await page.goto(URL_OF_PAGE);
  await page.locator("#faults .fault").waitFor();
  assert.equal(await page.evaluate(() => window.evil), undefined);
  assert.equal(await page.locator("main b, main img").count(), 0);
  assert.match(await page.locator("#title").innerText(), /^<img src=x onerror="window\.evil=1"><b>bold<\/b>\?\?$/);
});

test("every place is reached and chosen by keyboard", async (t) => {
  const page = await opened(t);
  await page.locator('.face[data-bay="0"]').focus();
  for (const [key, bay] of [["ArrowRight", 1], ["ArrowRight", 2], ["ArrowLeft", 1], ["ArrowUp", 0], ["ArrowUp", 9]]) {
    await page.keyboard.press(key);
    assert.equal(await page.evaluate(() => document.activeElement.dataset.bay), String(bay));
  }
  await page.keyboard.press("Enter");
  assert.match(await page.locator("#place-title").innerText(), /^RTM/);
  assert.equal(await page.locator('.face[data-bay="9"]').getAttribute("aria-pressed"), "true");
});

for (const width of [360, 768, 1280, 2560]) {
  test(`nothing is cut at ${width} pixels`, async (t) => {
    const page = await opened(t, {viewport: {width, height: 800}});
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
  });
}

for (const colorScheme of ["light", "dark"]) {
  test(`axe finds nothing, ${colorScheme}`, async (t) => {
    const {AxeBuilder} = await import("@axe-core/playwright");
    const page = await opened(t, {colorScheme});
    const results = await new AxeBuilder({page}).analyze();
    assert.deepEqual(results.violations.map((each) => [each.id, each.nodes.map((node) => node.html)]), []);
    await logIn(page);
    const inside = await new AxeBuilder({page}).analyze();
    assert.deepEqual(inside.violations.map((each) => [each.id, each.nodes.map((node) => node.html)]), []);
  });
}

test("times are in the reader's zone", async (t) => {
  const page = await opened(t, {timezoneId: "Asia/Tokyo"});
  assert.equal(await page.locator("#zone").innerText(), "Times are of Asia/Tokyo.");
  assert.match(await page.locator("#host").innerText(), /GMT\+9|JST/);
});

test("events are filtered", async (t) => {
  const page = await opened(t);
  await page.locator("#events .event").first().waitFor();
  const all = await page.locator("#events .event").count();
  await page.fill("#filter-words", "no event has these words");
  assert.equal(await page.locator("#events .event").count(), 0);
  await page.fill("#filter-words", "");
  assert.ok(await page.locator("#events .event").count() >= all);
});

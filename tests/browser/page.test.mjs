// The page beside any blade, whatever that has: each of these tests runs on every blade of `./dev browser`, and changes nothing there.
import assert from "node:assert/strict";
import test, {after, before} from "node:test";

import {Blade, until} from "./blade.mjs";
import {face, findings, launch, live, logIn, opened as openedAt, visit} from "./page.mjs";

const MOST_BYTES = 150 * 1024;

const blade = new Blade();
let browser;
before(async () => {
  await blade.up();
  browser = await launch();
});
after(async () => {
  await browser?.close();
  await blade.end();
});

const opened = (t, options) => openedAt(t, browser, blade.url, options);

/** A text of the hardware as a reader has to see it. */
const readable = (text) => text.replace(/[\r\n\t]+/g, " ").replace(/[\u0000-\u001f\u007f-\u009f]/g, "?").replace(/ +/g, " ").trim();

test("the panel shows what the picture tells", async (t) => {
  const page = await opened(t);
  const picture = await blade.picture();
  assert.equal(await page.locator("#panel .face").count(), 10);
  assert.ok(picture.inventory.modules.length > 0);
  for (const module of picture.inventory.modules) {
    assert.match(await face(page, module.bay).innerText(), new RegExp(`\\(${module.run_status}\\)`), module.place);
    assert.equal(await face(page, module.bay).locator(".face-name").innerText(), readable(module.product_name));
  }
  const leds = picture.leds.filter((each) => each.result === 1);
  assert.equal(await page.locator("#panel .led").count(), leds.length);
  for (const led of leds) {
    const shown = face(page, led.bay).locator(`.led[data-led="${led.led}"]`);
    assert.equal(await shown.getAttribute("data-state"), led.state, `${led.place} ${led.led_name}`);
    assert.match(await shown.innerText(), new RegExp(led.state === "off" ? "off" : `${led.state} ${led.color}`), "in words, too");
  }
  const present = new Set(picture.status.modules.map((each) => each.bay));
  for (let bay = 0; bay <= 9; ++bay) {
    const text = await face(page, bay).innerText();
    assert.equal(/\bempty\b/.test(text), !present.has(bay), `place ${bay}: ${text}`);
    assert.equal(/no LEDs/.test(text), present.has(bay) && !leds.some((each) => each.bay === bay), `place ${bay}: ${text}`);
  }
  assert.deepEqual(page.complaints, []);
});

test("ports with link, DSPs with addresses, and what a place holds", async (t) => {
  const page = await opened(t);
  const picture = await blade.picture();
  const ports = page.locator("#ports tbody tr");
  assert.equal(await ports.count(), picture.ports.length);
  for (const [i, port] of picture.ports.entries()) {
    const text = await ports.nth(i).innerText();
    for (const each of [port.name, port.leads_to, port.enabled ? "enabled" : "disabled", port.link]) assert.ok(text.includes(each), text);
  }
  const dsps = page.locator("#dsps tbody tr");
  assert.ok(picture.dsps.length > 0);
  assert.equal(await dsps.count(), picture.dsps.length);
  for (const [i, dsp] of picture.dsps.entries()) {
    const text = await dsps.nth(i).innerText();
    for (const each of [dsp.place, dsp.mac, dsp.ip]) assert.ok(text.includes(each), `${each}: ${text}`);
  }
  for (const module of picture.inventory.modules) {
    await face(page, module.bay).click();
    const text = await page.locator("#place").innerText();
    for (const each of [module.manufacturer, module.serial, module.part_number]) assert.ok(text.includes(readable(each)), `${each}: ${text}`);
  }
  assert.match(await page.locator("#host").innerText(), /read from the hardware/);
  assert.equal(await page.locator("#simulated").isVisible(), false);
});

test("texts of the hardware are texts", async (t) => {
  const page = await visit(t, browser, blade.url);
  const evil = '<img src=x onerror="window.evil=1"><script>window.evil=1</script><b>bold</b>&quot;\u0000\u202e';
  const seen = '<img src=x onerror="window.evil=1"><script>window.evil=1</script><b>bold</b>&quot;??';
  await page.route("**/v1/blade", async (route) => {
    const answer = await route.fetch();
    if (answer.status() !== 200) return route.fulfill({response: answer});
    const picture = await answer.json();
    picture.inventory.board[0].product_name = evil;
    for (const module of picture.inventory.modules) module.product_name = evil;
    picture.faults = [{place: evil, what: evil, cause: evil, evidence: [evil], cure: evil}];
    return route.fulfill({response: answer, json: picture});
  });
  await page.goto(blade.url);
  await page.locator("#faults .fault").waitFor();
  assert.equal(await page.locator("main :is(b, img, script, a, h1)").count(), 0);
  assert.equal(await page.locator("#title").innerText(), seen);
  assert.equal(await page.title(), `✕ ${seen}`);
  assert.equal(await page.locator("#faults dd").first().innerText(), seen);
  await page.unroute("**/v1/blade");
  const real = await opened(t);
  for (const bay of [0, 3, 6, 9]) await face(real, bay).click();
  for (const each of [page, real]) {
    assert.equal(await each.evaluate(() => window.evil), undefined);
    assert.equal(await each.locator("main :is(b, img, script, a, h1)").count(), 0);
    assert.deepEqual(each.complaints, []);
  }
});

test("ages tick", async (t) => {
  const page = await opened(t);
  const age = page.locator("#heard");
  const first = await age.innerText();
  await page.waitForFunction((was) => document.querySelector("#heard").innerText !== was, first);
  assert.match(await age.innerText(), /^heard (just now|\d+ s ago|\d+ min \d+ s ago), at /);
  const leds = (await blade.picture()).leds.filter((each) => each.bay === 0);
  const ages = await page.locator("#place .age").allInnerTexts();
  assert.equal(ages.length, leds.length);
  for (const text of ages) assert.match(text, /^read (just now|\d+ s ago|\d+ min \d+ s ago)$/);
});

test("what is not heard is not claimed", async (t) => {
  const deaf = await visit(t, browser, blade.url);
  await deaf.route("**/v1/**", (route) => route.abort());
  await deaf.goto(blade.url);
  await deaf.locator("#lost").waitFor({state: "visible"});
  assert.equal(await deaf.locator("body.unheard").count(), 1);
  assert.match(await deaf.locator("#lost").innerText(), /no connection to the blade/);
  assert.equal(await deaf.locator(".lamp.on, .lamp.blink").count(), 0);
  assert.doesNotMatch(await deaf.locator("#faults").innerText(), /Nothing is wrong/);
  await deaf.unroute("**/v1/**");
  await live(deaf);
  assert.equal(await deaf.locator("#lost").isVisible(), false);
});

test("nobody without an account is offered an order, nor who may only look", async (t) => {
  const page = await opened(t);
  assert.equal(await page.locator("#orders").isVisible(), false);
  await page.fill("#login-name", "nobody");
  await page.fill("#login-password", "wrong");
  await page.press("#login-password", "Enter");
  await page.locator("#login-outcome", {hasText: "✕"}).waitFor();
  assert.equal(await page.locator("#orders").isVisible(), false);
  await logIn(page, "reader");
  await page.locator("#login-outcome", {hasText: "no orders"}).waitFor();
  assert.equal(await page.locator("#orders").isVisible(), false);
  assert.equal(await page.evaluate(() => localStorage.length + sessionStorage.length + document.cookie.length), 0);
});

test("by keyboard alone: every place, and everything else that can be used", async (t) => {
  const page = await opened(t);
  await face(page, 0).focus();
  for (const [key, bay] of [["ArrowRight", 1], ["ArrowRight", 2], ["ArrowLeft", 1], ["ArrowUp", 0], ["ArrowUp", 9]]) {
    await page.keyboard.press(key);
    assert.equal(await page.evaluate(() => document.activeElement.dataset.bay), String(bay));
  }
  await page.keyboard.press("Enter");
  assert.match(await page.locator("#place-title").innerText(), /^RTM/);
  assert.equal(await face(page, 9).getAttribute("aria-pressed"), "true");

  await logIn(page);
  const wanted = await page.evaluate(() => [...document.querySelectorAll("a, button, input, select, [tabindex]")]
    .filter((each) => each.tabIndex >= 0 && !each.matches(":disabled") && each.checkVisibility()).map((each, i) => each.dataset.stop = i));
  const reached = new Set();
  await page.evaluate(() => document.activeElement.blur());
  for (let i = 0; i < wanted.length + 2; ++i) {
    await page.keyboard.press("Tab");
    const [stop, outlined] = await page.evaluate(() => {
      const style = getComputedStyle(document.activeElement);
      return [document.activeElement.dataset.stop, style.outlineStyle !== "none" && parseFloat(style.outlineWidth) > 0];
    });
    if (stop === undefined) continue;
    reached.add(Number(stop));
    assert.ok(outlined, `stop ${stop} is not seen to have the focus`);
  }
  assert.deepEqual([...reached].sort((a, b) => a - b), wanted.map(Number));
});

for (const width of [360, 768, 1280, 2560]) {
  test(`nothing is cut at ${width} pixels`, async (t) => {
    const page = await opened(t, {viewport: {width, height: 800}});
    await logIn(page);
    await page.locator("#orders").waitFor({state: "visible"});
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
    const cut = await page.evaluate(() => [...document.querySelectorAll("main *, header *")]
      .filter((each) => each.checkVisibility() && !each.closest(".scroll, .hidden, .skip, svg, select"))
      .filter((each) => each.getBoundingClientRect().right > window.innerWidth + 0.5).map((each) => each.outerHTML.slice(0, 200)));
    assert.deepEqual(cut, []);
  });
}

for (const colorScheme of ["light", "dark"]) {
  test(`axe finds nothing, ${colorScheme}`, async (t) => {
    const page = await opened(t, {colorScheme});
    const back = await page.evaluate(() => getComputedStyle(document.body).backgroundColor.match(/\d+/g).map(Number));
    assert.equal(back.every((each) => each > 128), colorScheme === "light", `background ${back}`);
    if (colorScheme === "light") assert.deepEqual(await findings(page), []);
    await logIn(page);
    await page.locator("#orders").waitFor({state: "visible"});
    assert.deepEqual(await findings(page), []);
  });
}

test("a screen reader is told what the lamps show, and of changes", async (t) => {
  const page = await opened(t);
  for (const id of ["link", "filter-count", "login-outcome"]) assert.equal(await page.locator(`#${id}`).getAttribute("role"), "status");
  assert.equal(await page.locator("#said").getAttribute("aria-live"), "polite");
  for (const module of (await blade.picture()).inventory.modules) {
    await page.getByRole("button", {name: new RegExp(`${module.bay === 9 ? "RTM" : `Bay ${module.bay}`} .*running \\(4\\)`)}).waitFor();
  }
});

test("times are in the reader's zone", async (t) => {
  const heard = async (timezoneId) => {
    const page = await opened(t, {timezoneId, locale: "en-GB"});
    assert.equal(await page.locator("#zone").innerText(), `Times are of ${timezoneId}.`);
    return page.locator("#host").innerText();
  };
  const started = new Date((await blade.picture()).host.started);
  const hours = (zone) => new Intl.DateTimeFormat("en-GB", {timeZone: zone, hour: "2-digit", minute: "2-digit", second: "2-digit", hourCycle: "h23"}).format(started);
  for (const zone of ["Asia/Tokyo", "America/St_Johns"]) assert.ok((await heard(zone)).includes(hours(zone)), zone);
});

test("events are filtered by kind and words", async (t) => {
  const page = await opened(t);
  const shown = page.locator("#events .event");
  await shown.filter({hasText: "health: monitored"}).waitFor();
  const all = await shown.count();
  await page.selectOption("#filter-kind", "health");
  await until("only those of health", async () => (await shown.count()) === (await page.locator("#events .event.health").count()));
  assert.ok(await shown.count() < all);
  await page.selectOption("#filter-kind", "");
  await page.fill("#filter-words", "MONITORED health");
  assert.deepEqual(await shown.locator(".kind").allInnerTexts(), ["health"]);
  assert.match(await page.locator("#filter-count").innerText(), new RegExp(`^1 of ${all}$`));
  await page.fill("#filter-words", "no event has these words");
  assert.equal(await shown.count(), 0);
  await page.fill("#filter-words", "");
  assert.equal(await shown.count(), all);
});

test("the chart shows the requests to the controller", async (t) => {
  const page = await opened(t);
  await page.waitForFunction(() => /^M/.test(document.querySelector("#chart-all").getAttribute("d") ?? ""));
  assert.match(await page.locator("#chart-text").innerText(), /\d.* a second/);
});

test("under 150 KiB in all, from nowhere else, with a strict policy", async (t) => {
  const page = await visit(t, browser, blade.url);
  const files = new Map();
  page.on("response", (answer) => {
    const path = new URL(answer.url()).pathname;
    if (path === "/" || path.startsWith("/page/")) files.set(path, answer);
  });
  await page.goto(blade.url);
  await live(page);
  let bytes = 0;
  for (const answer of files.values()) bytes += (await answer.body()).length;
  assert.ok(files.size > 5 && bytes < MOST_BYTES, `${files.size} files, ${bytes} bytes`);
  const policy = await files.get("/").headerValue("content-security-policy");
  assert.match(policy, /default-src 'none'/);
  assert.doesNotMatch(policy, /unsafe|\*|http|data:/);
  assert.deepEqual(page.complaints, []);
  // The policy is in force: no text can become a script or markup, not even the page's own.
  await assert.rejects(page.evaluate(() => {
    const script = document.createElement("script");
    script.textContent = "window.evil = 1";
    document.body.append(script);
  }), /TrustedScript/);
  await assert.rejects(page.evaluate(() => { document.body.innerHTML = "<b>bold</b>"; }), /TrustedHTML/);
  assert.equal(await page.evaluate(() => window.evil), undefined);
});

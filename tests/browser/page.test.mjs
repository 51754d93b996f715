// The page beside any blade, whatever that has: each of these tests runs on every blade of `./dev browser`, and changes nothing there.
import assert from "node:assert/strict";
import test from "node:test";

import {until} from "./blade.mjs";
import {face, findings, live, logIn, opened as openedAt, sharedBlade, visit} from "./page.mjs";

const MOST_BYTES = 150 * 1024;

let reader; // a page that is open all the time, for tests that only look; who does something there undoes it
const shared = sharedBlade(async ({browser, blade}) => {
  reader = await openedAt({after() {}}, browser, blade.url, {locale: "en-GB"});
});
const {blade} = shared;

const opened = (t, options) => openedAt(t, shared.browser, blade.url, options);

/** A text of the hardware as a reader has to see it. */
const readable = (text) => text.replace(/[\r\n\t]+/g, " ").replace(/[\u0000-\u001f\u007f-\u009f]/g, "?").replace(/ +/g, " ").trim();

test("the panel shows what the picture tells", async () => {
  const page = reader;
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

test("ports with link, DSPs with addresses, and what a place holds", async () => {
  const page = reader;
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
  await face(page, 0).click();
  assert.match(await page.locator("#host").innerText(), /read from the hardware/);
  assert.equal(await page.locator("#simulated").isVisible(), false);
});

test("texts of the hardware are texts", async (t) => {
  const page = await visit(t, shared.browser, blade.url);
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
  assert.equal(await page.locator("#verdict").innerText(), `✕ ${seen}: ${seen}`);
  await page.unrouteAll({behavior: "wait"});
  const real = await opened(t);
  for (const bay of [0, 3, 6, 9]) await face(real, bay).click();
  for (const each of [page, real]) {
    assert.equal(await each.evaluate(() => window.evil), undefined);
    assert.equal(await each.locator("main :is(b, img, script, a, h1)").count(), 0);
    assert.deepEqual(each.complaints, []);
  }
});

test("ages tick", async () => {
  const page = reader;
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
  const deaf = await visit(t, shared.browser, blade.url);
  await deaf.route("**/v1/**", (route) => route.abort());
  await deaf.goto(blade.url);
  await deaf.locator("#lost").waitFor({state: "visible"});
  assert.equal(await deaf.locator("body.unheard").count(), 1);
  assert.match(await deaf.locator("#lost").innerText(), /no connection to the blade/);
  assert.equal(await deaf.locator(".lamp.on, .lamp.blink").count(), 0);
  assert.doesNotMatch(await deaf.locator("body").innerText(), /Nothing is wrong/);
  assert.doesNotMatch(await deaf.locator("#chart").evaluate((chart) => chart.textContent), /a second/);
  assert.equal(await deaf.locator("#chart .axis").first().evaluate((each) => getComputedStyle(each).visibility), "hidden", "no scale of nothing");
  await deaf.unrouteAll({behavior: "wait"});
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

/** What of the page's cards has a hole below it, wider than the gap between cards, or ends elsewhere than its neighbours. */
const holes = (page) => page.evaluate(() => {
  const cards = [...document.querySelectorAll("main section")].filter((each) => each.checkVisibility());
  const boxes = cards.map((each) => each.getBoundingClientRect());
  const last = Math.max(...boxes.map((box) => box.bottom));
  return boxes.flatMap((box, i) => {
    if (box.bottom === last) return [];
    const below = boxes.filter((each) => each.top >= box.bottom && each.left < box.right && each.right > box.left);
    const gap = Math.min(...below.map((each) => each.top)) - box.bottom;
    return gap > 0 && gap < 20 ? [] : [`${cards[i].querySelector("h2").textContent}: ${gap} pixels`];
  });
});

test("nothing is cut, no hole is between cards, and no table is pushed sideways, at 360 to 2560 pixels", async (t) => {
  const page = await opened(t);
  await logIn(page);
  await page.locator("#orders").waitFor({state: "visible"});
  for (const width of [360, 768, 1280, 2560]) {
    await page.setViewportSize({width, height: 800});
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth), `${width}`);
    const cut = await page.evaluate(() => [...document.querySelectorAll("main *, header *")]
      .filter((each) => each.checkVisibility() && !each.closest(".log, .hidden, .skip, svg, select, thead"))
      .filter((each) => each.getBoundingClientRect().right > window.innerWidth + 0.5).map((each) => each.outerHTML.slice(0, 200)));
    assert.deepEqual(cut, [], `${width}`);
    assert.deepEqual(await holes(page), [], `${width}`);
    const wide = await page.locator(".scroll").evaluateAll((all) => all
      .filter((each) => each.scrollWidth > each.clientWidth).map((each) => each.ariaLabel ?? each.className));
    assert.deepEqual(wide, [], `${width}`);
  }
});

test("at 360 pixels a row is lines, each a label and a value, and still a row of a table; empty bays stand in pairs", async (t) => {
  const page = await opened(t, {viewport: {width: 360, height: 800}});
  for (const id of ["ports", "dsps"]) {
    const table = page.locator(`#${id}`).getByRole("table");
    const heads = await table.getByRole("columnheader").allInnerTexts();
    const cells = table.getByRole("row").nth(1).locator("th, td");
    assert.equal(await cells.count(), heads.length);
    const seen = await cells.evaluateAll((all) => all.map((each) => ({
      label: getComputedStyle(each, "::before").content, top: each.getBoundingClientRect().top, value: each.textContent,
    })));
    for (const [i, {label, top}] of seen.entries()) {
      assert.ok(label.startsWith(`"${heads[i]}"`), `${label}: ${heads[i]}`);
      assert.ok(i === 0 || top > seen[i - 1].top, `${id}: ${heads[i]} begins a line`);
    }
  }
  const boxes = await page.locator(".face").evaluateAll((all) => all.map((each) => ({
    empty: each.classList.contains("empty"), top: each.getBoundingClientRect().top, width: each.getBoundingClientRect().width})));
  const whole = boxes[0].width;
  for (const [i, {empty, top, width}] of boxes.entries()) {
    const paired = empty && [boxes[i - 1], boxes[i + 1]].some((each) => each?.empty && each.top === top);
    assert.ok(paired ? width < whole * 0.55 : width === whole, `place ${i}: ${width} of ${whole}`);
    if (empty && !paired) assert.ok(!boxes[i + 1]?.empty, `place ${i} has a neighbour`);
  }
});

test("notes have a column only when there are some", async (t) => {
  const heads = (page, id) => page.locator(`#${id}`).getByRole("columnheader").allInnerTexts();
  const {dsps, ports} = await blade.picture();
  for (const [id, rows] of [["ports", ports], ["dsps", dsps]]) {
    assert.equal((await heads(reader, id)).includes("note"), rows.some((each) => each.note || each.stored), id);
  }
  const page = await visit(t, shared.browser, blade.url);
  await page.route("**/v1/blade", async (route) => {
    const answer = await route.fetch();
    if (answer.status() !== 200) return route.fulfill({response: answer});
    const picture = await answer.json();
    for (const [i, each] of [...picture.ports, ...picture.dsps].entries()) Object.assign(each, {note: "", stored: false, ...(i === 1 ? {note: "odd"} : {})});
    return route.fulfill({response: answer, json: picture});
  });
  await page.goto(blade.url);
  await live(page);
  assert.equal((await heads(page, "ports")).at(-1), "note");
  assert.deepEqual(await page.locator("#ports tbody td:nth-child(6)").allInnerTexts(), ports.map((_each, i) => (i === 1 ? "odd" : "")));
  assert.ok(!(await heads(page, "dsps")).includes("note"));
});

test("events stand in columns; a time is short, with the whole of it behind", async () => {
  const rows = reader.locator("#events .event");
  await rows.filter({hasText: "health: monitored"}).waitFor();
  const places = await rows.evaluateAll((all) => all.map((each) => [...each.children].map((part) => Math.round(part.getBoundingClientRect().left)).join()));
  assert.ok(places.length > 1);
  assert.equal(new Set(places).size, 1, `${[...new Set(places)]}`);
  const time = rows.filter({hasText: "health: monitored"}).locator("time");
  assert.match(await time.innerText(), /^\d\d:\d\d:\d\d$/);
  assert.ok(!Number.isNaN(Date.parse(await time.getAttribute("datetime"))));
  assert.match(await time.getAttribute("title"), /\d{4}/);
});

test("labels, fields and buttons of the orders stand on one grid", async (t) => {
  const page = await opened(t);
  await logIn(page);
  await page.locator("#orders").waitFor({state: "visible"});
  const rows = await page.locator("#orders fieldset").evaluateAll((all) => all.map((set) => {
    const left = (each) => Math.round(each.getBoundingClientRect().left - set.getBoundingClientRect().left);
    return {labels: [...set.querySelectorAll("label > span")].map(left),
      fields: [...set.querySelectorAll("label > span + *, .check, button")].map(left)};
  }));
  assert.equal(rows.length, 4);
  assert.equal(new Set(rows.flatMap((each) => each.labels)).size, 1, JSON.stringify(rows));
  assert.equal(new Set(rows.flatMap((each) => each.fields)).size, 1, JSON.stringify(rows));
});

test("a lamp that is off looks like another one than one that is on, and both like lenses", async (t) => {
  for (const colorScheme of ["light", "dark"]) {
    const page = await opened(t, {colorScheme});
    const looks = await page.locator("#panel .lamp:not(.unknown, .test)").evaluateAll((all) => all.map((lamp) => {
      const style = (part) => getComputedStyle(lamp.querySelector(part));
      return {lit: lamp.matches(".on, .blink"), light: style(".light").fill, shine: Number(style(".shine").opacity), shown: style(".glass").display};
    }));
    for (const {lit, light, shine, shown} of looks) {
      assert.equal(light === "none", !lit);
      assert.equal(shine > 0.5, lit);
      assert.notEqual(shown, "none");
    }
  }
});

test("axe finds nothing, light and dark", async (t) => {
  const page = await opened(t);
  for (const colorScheme of ["light", "dark"]) {
    await page.emulateMedia({colorScheme});
    const back = await page.evaluate(() => getComputedStyle(document.body).backgroundColor.match(/\d+/g).map(Number));
    assert.equal(back.every((each) => each > 128), colorScheme === "light", `background ${back}`);
    if (colorScheme === "dark") await page.setViewportSize({width: 360, height: 800});
    assert.deepEqual(await findings(page), []);
    if (colorScheme === "dark") continue;
    await logIn(page);
    await page.locator("#orders").waitFor({state: "visible"});
    assert.deepEqual(await findings(page), []);
  }
});

test("a screen reader is told what the lamps show, and of changes", async () => {
  const page = reader;
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

test("events are filtered by kind and words", async () => {
  const page = reader;
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

test("the chart shows the requests to the controller", async () => {
  const page = reader;
  await page.waitForFunction(() => /^M/.test(document.querySelector("#chart-all").getAttribute("d") ?? ""));
  assert.match(await page.locator("#chart-text").innerText(), /\d.* a second/);
});

test("under 150 KiB in all, from nowhere else, with a strict policy", async (t) => {
  const page = await visit(t, shared.browser, blade.url);
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

// Orders given on the page, on a blade with LEDs: what they do, what they ask before, and what they refuse.
import assert from "node:assert/strict";
import test from "node:test";

import {bladesim, run, until} from "./blade.mjs";
import {face, logIn, opened, order, sharedBlade} from "./page.mjs";

const shared = sharedBlade();
const {blade} = shared;

async function operator(t, options) {
  const page = await opened(t, shared.browser, blade.url, options);
  await logIn(page);
  await page.locator("#orders").waitFor({state: "visible"});
  return page;
}

const says = (outcome, text) => outcome.filter({hasText: text}).waitFor();

/** The first of the blade's AMCs, and its last one. */
async function amcs() {
  const bays = (await blade.picture()).inventory.modules.map((each) => each.bay).filter((bay) => bay < 9).sort((a, b) => a - b);
  assert.ok(bays.length > 1);
  return [bays[0], bays.at(-1)];
}

/** What ipmitool reads of the baseboard's LED, which the controller counts from 0. */
const ipmitoolReads = (led) => run("ipmitool", "-I", "open", "picmg", "led", "get", "0", String(led - 1));

test("an LED set on the page is what ipmitool reads, and the panel shows it", async (t) => {
  const page = await operator(t);
  const led = face(page, 0).locator('.led[data-led="2"]');
  for (const [action, color] of [["on", "green"], ["off", ""], ["on", "amber"]]) {
    await says(await order(page, "order-led", {bay: "0", led: "2", action, ...(color ? {color} : {})}), "✓ done");
    await until(`${action} ${color} on the panel`, async () =>
      await led.getAttribute("data-state") === action && (!color || await led.getAttribute("data-color") === color));
    const read = await ipmitoolReads(2);
    assert.match(read, action === "on" ? /Override function: +ff / : /Override function: +0 /);
    if (color) assert.match(read, new RegExp(`Override Color: .*\\[${color}\\]`, "i"));
  }
  await says(await order(page, "order-led", {bay: "0", led: "2", action: "local"}), "✓ done");
  assert.doesNotMatch(await ipmitoolReads(2), /Override function/);
  assert.deepEqual(page.complaints, []);
});

test("a blinking LED blinks in its row's times, unless nothing may move", async (t) => {
  const page = await operator(t);
  await says(await order(page, "order-led", {bay: "0", led: "3", action: "blink", on: "300", off: "700"}), "✓ done");
  const lamp = '.face[data-bay="0"] .led[data-led="3"][data-state="blink"] .light';
  await page.locator(lamp).waitFor();
  const times = await page.locator(lamp).evaluate((light) => light.getAnimations().map((each) => [
    each.effect.getTiming().duration, each.effect.getKeyframes()[1].offset]));
  assert.deepEqual(times, [[1000, 0.3]]);
  const still = await opened(t, shared.browser, blade.url, {reducedMotion: "reduce"});
  await still.locator(lamp).waitFor();
  assert.equal(await still.evaluate(() => document.getAnimations().length), 0);
  await says(await order(page, "order-led", {bay: "0", led: "3", action: "local"}), "✓ done");
});

test("the LED of another AMC is asked about, and who says no changes nothing", async (t) => {
  const page = await operator(t);
  const [first, last] = await amcs();
  await bladesim("show", "clear");
  const outcome = await order(page, "order-led", {bay: String(last), led: "2", action: "on"});
  await page.locator("#ask").waitFor({state: "visible"});
  assert.match(await page.locator("#ask-text").innerText(), new RegExp(`^AMC bay ${last}: .* Set the LED of AMC bay ${first} instead\\?$`));
  assert.equal(await page.evaluate(() => document.activeElement.id), "ask-no");
  await page.keyboard.press("Enter");
  await says(outcome, "nothing was done");
  const isSet = (each) => each.request.startsWith("2c 07");
  assert.equal(JSON.parse(await bladesim("show", "log", "--json")).filter(isSet).length, 0);
  await order(page, "order-led", {});
  await page.locator("#ask-yes").click();
  await says(outcome, "✓ done");
  assert.ok(JSON.parse(await bladesim("show", "log", "--json")).some(isSet));
  await says(await order(page, "order-led", {bay: String(first), led: "2", action: "local"}), "✓ done");
});

test("a port, and a DSP's address, as the commands refuse and take them", async (t) => {
  const page = await operator(t);
  const port = async () => JSON.parse(await bladesim("switch", "show", "--json")).ports.find((each) => each.port === 4).enabled;
  for (const enabled of ["false", "true"]) {
    await says(await order(page, "order-port", {port: "2", enabled}), "✓ done");
    assert.equal(await port(), enabled === "true");
    await page.locator("#ports tbody tr").nth(1).filter({hasText: enabled === "true" ? "enabled" : "disabled"}).waitFor();
  }
  const {dsps} = await blade.picture();
  assert.ok(dsps.length > 1);
  const give = (address, force = false) => order(page, "order-address", {dsp: String(dsps[0].dsp), address, force});
  await says(await give("192.168.0.999"), /✕ address '192\.168\.0\.999': expected four numbers/);
  await says(await give(dsps[1].ip), new RegExp(`✕ address .*: DSP ${dsps[1].dsp} has this address`));
  await says(await give("10.0.0.1"), /✕ .*not in the network of eth6/);
  assert.equal((await blade.picture()).dsps[0].ip, dsps[0].ip);
  await says(await give("192.168.0.201"), "✓ done");
  await page.locator("#dsps tbody tr").first().filter({hasText: "192.168.0.201"}).waitFor();
  await says(await give(dsps[0].ip), "✓ done");
});

test("firmware: asked about, sent with progress, followed to its end", async (t) => {
  const page = await operator(t);
  const [bay] = await amcs();
  const image = ["amc.img", Buffer.alloc(300000, 7)];
  const upgrades = async () => (await blade.picture()).upgrades;
  const before = (await upgrades()).length;
  await says(await order(page, "order-firmware", {place: String(bay)}), "✕ choose the image's file first");

  const outcome = await order(page, "order-firmware", {place: String(bay), image});
  assert.match(await page.locator("#ask-text").innerText(),
    new RegExp(`^Upgrade the firmware of AMC bay ${bay} with amc\\.img \\(300000 bytes\\)\\? The module is out of service meanwhile\\.$`));
  await page.keyboard.press("Escape");
  await says(outcome, "nothing was done");
  assert.equal((await upgrades()).length, before);

  await page.evaluate(() => {
    window.progress = [];
    new MutationObserver(() => window.progress.push(document.querySelector("#upload-text").textContent))
      .observe(document.querySelector("#upload-text"), {childList: true, characterData: true, subtree: true});
  });
  for (const [exit, end, state] of [["0", new RegExp(`✓ AMC bay ${bay}: upgraded`), "done"], ["3", new RegExp(`✕ AMC bay ${bay}: the upgrade has failed`), "failed"]]) {
    await bladesim("tool", "set", "fwburn", "--exit", exit, "--delay", "1500", "--times", "1");
    await order(page, "order-firmware", {});
    await page.locator("#ask-yes").click();
    await says(outcome, new RegExp(`AMC bay ${bay}: upgrade in progress, \\d+ s so far`));
    await says(page.locator("#upgrades tbody tr").first(), "in progress");
    await says(await order(page, "order-firmware", {}), "is under way");
    await says(outcome, end);
    await says(page.locator("#upgrades tbody tr").first(), state);
    assert.equal((await upgrades()).at(-1).state_name, state);
  }
  assert.ok((await page.evaluate(() => window.progress)).includes("300000 of 300000 bytes"));
  assert.equal(await page.locator("#upload-line").isVisible(), false);
  await page.locator("#events .event").filter({hasText: "asked by carla"}).first().waitFor();
});

test("who logs out, or whose session ends, gives no more orders", async (t) => {
  const page = await operator(t);
  await page.click("#logout");
  await says(page.locator("#login-outcome"), "Logged out.");
  assert.equal(await page.locator("#orders").isVisible(), false);
  await logIn(page);
  await page.locator("#orders").waitFor({state: "visible"});
  await blade.door.end();
  await blade.startDoor();
  await page.locator("#link-text", {hasText: /^live$/}).waitFor();
  const outcome = await order(page, "order-port", {port: "2", enabled: "false"});
  await page.locator("#orders").waitFor({state: "hidden"});
  assert.match(await outcome.textContent(), /the session has ended: log in again/);
});

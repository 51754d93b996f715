// What the page tells when something breaks, or when it hears no more: of a module, the resident host, the web door.
import assert from "node:assert/strict";
import {connect, createServer} from "node:net";
import test from "node:test";

import {bladesim, bmhost, until} from "./blade.mjs";
import {face, findings, live, opened as openedAt, sharedBlade} from "./page.mjs";

const shared = sharedBlade();
const {blade} = shared;
const opened = (t, url = blade.url) => openedAt(t, shared.browser, url);

const present = async () => (await blade.picture()).inventory.modules.map((each) => each.bay);

for (const [exit, what, reason, badge, broken] of [
  ["32", "RTM: health: fault", "RTM failed", "✕ wrong", (bay) => bay === 9],
  ["16", "AMCs: health: fault", "AMC failed", "✕ one of these", (bay) => bay >= 1 && bay <= 8],
]) {
  test(`a module that breaks turns red after the monitor's next round: ${reason}`, async (t) => {
    t.after(() => blade.mend());
    const page = await opened(t);
    const bays = await present();
    assert.ok(bays.some(broken));
    assert.equal(await page.locator("#faults").innerText(), "✓ Nothing is wrong.");
    assert.equal(await page.locator("#verdict").innerText(), "✓ Nothing is wrong");
    assert.equal(await page.locator("#wrong").isVisible(), false, "the header says it");
    assert.equal(await page.locator(".face.wrong").count(), 0);
    await bladesim("tool", "set", "mavk_diag", "--exit", exit);
    const fault = page.locator("#faults .fault");
    await fault.waitFor();
    assert.equal(await fault.locator("h3").innerText(), what);
    assert.equal(await page.locator("#verdict").innerText(), `✕ ${what}`);
    const above = await Promise.all(["#faults", "#panel", "#place"].map((each) => page.locator(each).boundingBox()));
    assert.ok(above[0].y < above[1].y && above[0].y < above[2].y, "it stands before panel and place");
    const [{cause, cure}] = (await blade.picture()).faults;
    const lines = await fault.locator("dd").allInnerTexts();
    assert.deepEqual([lines[0], lines[1], lines.at(-1)], [cause, reason, cure]);
    assert.match(cause, new RegExp(`mavk_diag.* ended with ${exit}`));
    for (const bay of bays) {
      assert.equal(await face(page, bay).evaluate((each) => each.classList.contains("wrong")), broken(bay), `bay ${bay}`);
      assert.equal(await face(page, bay).locator(".badge").count(), broken(bay) ? 1 : 0);
    }
    assert.equal(await page.locator(".face.wrong").count(), bays.filter(broken).length);
    const red = page.locator(".face.wrong").first();
    assert.equal(await red.locator(".badge").innerText(), badge, "not by colour alone");
    const [r, g, b] = await red.evaluate((each) => getComputedStyle(each).borderTopColor.match(/\d+/g).map(Number));
    assert.ok(r > 2 * g && r > 2 * b, `red: ${r} ${g} ${b}`);
    assert.match(await page.title(), /^✕ /);
    assert.match(await page.locator("#said").innerText(), /health: fault/);
    await page.locator("#events .event.health").filter({hasText: reason}).first().waitFor();
    assert.deepEqual(await findings(page), []);
    assert.deepEqual(page.complaints, []);
  });
}

test("without the resident host nothing is claimed; when it is back, all is live again", async (t) => {
  t.after(() => blade.mend());
  const page = await opened(t);
  const lit = await page.locator("#panel .lamp.on, #panel .lamp.blink").count();
  const lamps = await page.locator("#panel .lamp").count();
  assert.equal(lit > 0, (await blade.picture()).leds.some((each) => each.state === "on" || each.state === "blink"));
  await blade.host.end("SIGKILL");
  await page.locator("#lost").waitFor({state: "visible"});
  assert.match(await page.locator("#lost").innerText(), /the resident host does not answer: .*may be untrue now/);
  await page.locator("#events .event.host").filter({hasText: "does not answer"}).first().waitFor();
  assert.equal(await page.locator("#link-text").innerText(), "lost");
  assert.match(await page.title(), /^\? /);
  assert.equal(await page.locator("#panel .lamp.unknown").count(), lamps);
  assert.match(await page.locator("#faults").innerText(), /^unknown/);
  assert.equal(await page.locator("#verdict").innerText(), "? unknown (nothing was wrong)");
  assert.match(await page.locator("#host").innerText(), /unknown \(was monitored/);
  for (const status of await page.locator(".face-status").allInnerTexts()) assert.match(status, /^unknown \(was /);
  for (const state of await page.locator("#ports tbody td:nth-child(4), #dsps tbody td:nth-child(4)").allInnerTexts()) assert.match(state, /^unknown \(was /);
  for (const age of await page.locator("#place .age").allInnerTexts()) assert.match(age, /^read before the connection went/);
  assert.deepEqual(await findings(page), []);
  blade.startHost();
  await live(page);
  await page.locator("#events .event.host").filter({hasText: "the resident host answers"}).first().waitFor();
  await until("what is read again", async () => await page.locator("#panel .lamp.unknown").count() === 0
    && await page.locator("#panel .lamp").count() === lamps);
});

test("when the door ends and is back, the page connects again and goes on after the last event", async (t) => {
  t.after(() => blade.mend());
  const page = await opened(t);
  await page.locator("#events .event.health").filter({hasText: "monitored"}).first().waitFor();
  const asked = [];
  page.on("request", (request) => {
    if (new URL(request.url()).pathname === "/v1/events") asked.push([request.url(), request.headers()["last-event-id"]]);
  });
  const before = await page.locator("#events .event").count();
  await blade.door.end();
  await page.locator("#lost", {hasText: "no connection to the blade"}).waitFor();
  assert.equal(await page.locator("body.unheard").count(), 1);
  assert.equal(await page.locator(".lamp.on, .lamp.blink").count(), 0);
  await page.locator("#events .event.gap").filter({hasText: "the connection was lost"}).waitFor();
  await blade.startDoor();
  await live(page);
  assert.equal(await page.locator("#lost").isVisible(), false);
  const [url, after] = asked.at(-1);
  assert.match(after ?? "", /./, "it tells which event it has heard last");
  assert.doesNotMatch(url, /after=/);
  assert.ok(await page.locator("#events .event").count() > before);
});

/** A line to the door that can be cut. */
async function newLine(t) {
  const ends = new Set();
  const cut = () => ends.forEach((each) => each.destroy());
  const server = createServer((near) => {
    const far = connect(blade.port, "127.0.0.1");
    for (const [each, other] of [[near, far], [far, near]]) {
      ends.add(each);
      each.on("error", () => {}).on("close", () => { ends.delete(each); other.destroy(); }).pipe(other);
    }
  });
  const open = (port) => new Promise((done) => server.listen(port, "127.0.0.1", () => done(server.address().port)));
  const close = () => new Promise((done) => {
    server.close(done);
    cut();
  });
  t.after(close);
  const port = await open(0);
  return {url: `http://127.0.0.1:${port}/`, close, open: () => open(port)};
}

test("what came while the line was cut stands there when it is back, once, and nothing else twice", async (t) => {
  const line = await newLine(t);
  const page = await opened(t, line.url);
  await page.locator("#events .event.health").filter({hasText: "monitored"}).first().waitFor();
  const texts = () => page.locator("#events .event:not(.gap)").allInnerTexts();
  const heard = await texts();
  await line.close();
  await page.locator("#lost", {hasText: "no connection to the blade"}).waitFor();
  await bmhost("switch", "disable", "2");
  await line.open();
  await live(page);
  await page.locator("#ports tbody tr").nth(1).filter({hasText: "disabled"}).waitFor();
  await page.locator("#events .event.call").filter({hasText: "switch"}).first().waitFor();
  const now = await texts();
  const news = now.slice(0, now.length - heard.length);
  assert.deepEqual(now.slice(news.length), heard);
  assert.equal(news.filter((each) => /order switch-set/.test(each)).length, 1, news.join("\n"));
  assert.equal(await page.locator("#events .event.gap").count(), 1);
  assert.equal(await page.locator("#events .event.lost").count(), 0);
  await bmhost("switch", "enable", "2");
});

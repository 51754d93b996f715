// Orders have the guards of the command line.
import assert from "node:assert/strict";
import test from "node:test";

import {
  COLORS, addressOrder, colorsOf, firmwareOrder, isIpv4, ledOrder, nameInBytes, newSession, outcomeLines, portOrder, upgradeLine,
} from "../../../host/web/page/files/orders.js";
import {picture} from "./picture.mjs";

const led = {bay: "3", led: "3", action: "on", color: "green", on: "500", off: "500", simulated: false};
const simulated = () => picture({source: {kind: "missing", simulated: true, reason: "/dev/ipmi0: No such file or directory"}});

test("an LED of the baseboard or of the first AMC is set without a question", () => {
  assert.deepEqual(ledOrder(picture(), led), {
    path: "/v1/orders/led-set", body: {bay: 3, led: 3, action: "on", color: "green"}, question: "", complaint: ""});
  assert.equal(ledOrder(picture(), {...led, bay: "0"}).question, "");
});

test("another bay gets the first AMC's LED only when its reader says so", () => {
  const order = ledOrder(picture(), {...led, bay: "6"});
  assert.equal(order.body.first_amc, true);
  assert.match(order.question, /^AMC bay 6: the adaptor sets LEDs of the baseboard and of the first AMC only, which is AMC bay 3/);
  const none = ledOrder(picture({modules: [], leds: []}), {...led, bay: "9"});
  assert.match(none.complaint, /there is no AMC$/);
});

test("a blade without LEDs has none to set", () => {
  assert.equal(ledOrder(picture(), {...led, bay: "", led: ""}).complaint, "there is no LED to set");
});

test("an LED's values go with its action", () => {
  assert.deepEqual(ledOrder(picture(), {...led, action: "off"}).body, {bay: 3, led: 3, action: "off"});
  assert.deepEqual(ledOrder(picture(), {...led, action: "local"}).body, {bay: 3, led: 3, action: "local"});
  assert.deepEqual(ledOrder(picture(), {...led, action: "on", color: ""}).body, {bay: 3, led: 3, action: "on"});
  assert.deepEqual(ledOrder(picture(), {...led, action: "blink", on: "100", off: "2500"}).body,
    {bay: 3, led: 3, action: "blink", color: "green", on: 100, off: 2500});
  for (const on of ["", "0", "1.5", "-1", "x", "1e3"])
    assert.notEqual(ledOrder(picture(), {...led, action: "blink", on}).complaint, "", on);
});

test("the colours are those that the row names, or all", () => {
  assert.deepEqual(colorsOf(picture().leds[1]), ["red", "green"]);
  assert.deepEqual(colorsOf(picture().leds[0]), COLORS);
  assert.deepEqual(colorsOf(undefined), COLORS);
});

test("simulated data take no orders unless they are asked for", () => {
  const orders = {
    led: (form) => ledOrder(simulated(), {...led, ...form}),
    port: (form) => portOrder(simulated(), {port: "1", enabled: "true", ...form}),
    address: (form) => addressOrder(simulated(), {dsp: "1", address: "192.168.0.9", ...form}),
    firmware: (form) => firmwareOrder(simulated(), {place: "3", name: "x", size: 1, ...form}),
  };
  for (const [name, order] of Object.entries(orders)) {
    assert.match(order({simulated: false}).complaint, /simulated/, name);
    const asked = order({simulated: true});
    assert.equal(asked.complaint, "", name);
    assert.ok(asked.body?.simulated === true || asked.path.includes("simulated=true"), name);
  }
  assert.equal(ledOrder(picture(), {...led, simulated: true}).body.simulated, undefined, "of real data nobody says so");
});

test("ports", () => {
  assert.deepEqual(portOrder(picture(), {port: "2", enabled: "false"}).body, {port: 2, enabled: false});
});

test("addresses", () => {
  for (const good of ["0.0.0.0", "192.168.0.25", "255.255.255.255"]) assert.ok(isIpv4(good), good);
  for (const bad of ["", "1.2.3", "1.2.3.4.5", "256.1.1.1", "01.2.3.4", "1.2.3.x", "1..2.3", " 1.2.3.4"]) assert.ok(!isIpv4(bad), bad);
  assert.deepEqual(addressOrder(picture(), {dsp: "1", address: "192.168.0.9"}).body, {dsp: 1, address: "192.168.0.9"});
  assert.match(addressOrder(picture(), {dsp: "1", address: "192.168.0.22"}).complaint, /DSP 2 has this address/);
  assert.equal(addressOrder(picture(), {dsp: "2", address: "192.168.0.22"}).complaint, "", "its own");
  assert.equal(addressOrder(picture(), {dsp: "1", address: "192.168.0.22", force: true}).body.force, true);
});

test("an upgrade is asked about, needs a module and a file, and is alone", () => {
  const form = {place: "3", name: "a&b.bin", size: 10};
  const order = firmwareOrder(picture(), form);
  assert.equal(order.path, "/v1/firmware?target=amc&bay=3&name=a%26b.bin");
  assert.match(order.question, /^Upgrade the firmware of AMC bay 3 with a&b\.bin \(10 bytes\)\?/);
  assert.equal(firmwareOrder(picture(), {...form, place: "0"}).path, "/v1/firmware?target=board&name=a%26b.bin");
  assert.equal(firmwareOrder(picture(), {...form, place: "9"}).path, "/v1/firmware?target=rtm&name=a%26b.bin");
  const dry = firmwareOrder(picture(), {...form, dryRun: true});
  assert.match(dry.path, /dry_run=true$/);
  assert.equal(dry.question, "");
  assert.match(firmwareOrder(picture(), {...form, place: "4"}).complaint, /there is no module$/);
  assert.match(firmwareOrder(picture(), {...form, size: 0}).complaint, /empty/);
  assert.match(firmwareOrder(picture(), {...form, name: ""}).complaint, /choose/);
  const busy = {...picture(), upgrades: [{place: "RTM", state_name: "in progress"}]};
  assert.match(firmwareOrder(busy, form).complaint, /^an upgrade of RTM is under way$/);
  assert.equal(nameInBytes("ä".repeat(200), 255), "ä".repeat(127));
});

test("an outcome is shown with the adaptor's own reasons", () => {
  const lines = outcomeLines({
    order: "led-set", result: 204, good: false, changed: false, text: "", supported_colors: ["blue"],
    remarks: ["the controller refused it"], reasons: ["log <b>"], cure: "ask"});
  assert.deepEqual(lines.map((line) => line.text),
    ["✕ not done (result 204)", "the controller refused it", "colours that it supports: blue", "log <b>", "cure: ask"]);
  assert.equal(outcomeLines({good: true, changed: false, text: "a\n\nb\n"})[0].text, "✓ done, nothing changed");
});

test("an upgrade is followed to its end", () => {
  const upgrade = {place: "AMC bay 3", state_name: "in progress", begun: "2026-11-22T10:00:00.000Z", version_after: null};
  assert.equal(upgradeLine(picture(), "AMC bay 3", null), null);
  assert.equal(upgradeLine({upgrades: [upgrade]}, "AMC bay 3", upgrade.begun), null, "that was an earlier one");
  assert.equal(upgradeLine({upgrades: [upgrade]}, "AMC bay 3", null).ended, false);
  assert.match(upgradeLine({upgrades: [{...upgrade, state_name: "done", version_after: "2.8"}]}, "AMC bay 3", null).text, /upgraded; firmware 2\.8/);
  assert.equal(upgradeLine({upgrades: [{...upgrade, state_name: "failed"}]}, "AMC bay 3", null).mood, "bad");
});

const answered = (status, body, headers = {}) => new Response(body === null ? null : JSON.stringify(body), {status, headers});

test("the token goes along, and goes away with its session", async () => {
  const asked = [];
  const answers = [
    answered(201, {}, {"X-Auth-Token": "t0k", Location: "/redfish/v1/SessionService/Sessions/1"}),
    answered(200, {RoleId: "Operator"}),
    answered(200, {good: true}),
    answered(401, {error: {reason: "this needs an account"}}),
  ];
  const session = newSession(async (path, options) => {
    asked.push([options.method ?? "GET", path, options.headers["X-Auth-Token"], options.credentials]);
    return answers[asked.length - 1];
  });
  assert.equal(session.mayOrder, false);
  await session.logIn("carla", "secret");
  assert.equal(session.mayOrder, true);
  await session.order("/v1/orders/led-set", {});
  await assert.rejects(session.order("/v1/orders/led-set", {}), /the session has ended: log in again/);
  assert.equal(session.open, false);
  assert.deepEqual(asked, [
    ["POST", "/redfish/v1/SessionService/Sessions", undefined, "omit"],
    ["GET", "/redfish/v1/AccountService/Accounts/carla", "t0k", "omit"],
    ["POST", "/v1/orders/led-set", "t0k", "omit"], ["POST", "/v1/orders/led-set", "t0k", "omit"]]);
});

test("who may only look gives no orders; a wrong password is told with the time to wait", async () => {
  const reader = newSession(async (path) => (path.includes("Sessions")
    ? answered(201, {}, {"X-Auth-Token": "t"}) : answered(200, {RoleId: "ReadOnly"})));
  await reader.logIn("rita", "x");
  assert.equal(reader.mayOrder, false);
  const wrong = newSession(async () => answered(429, {error: {"@Message.ExtendedInfo": [{Message: "too often"}]}}, {"Retry-After": "4"}));
  await assert.rejects(wrong.logIn("rita", "y"), /^Error: too often; try again in 4 s$/);
  assert.equal(wrong.open, false);
});

// What the page claims, and when it stops claiming it.
import assert from "node:assert/strict";
import test from "node:test";

import {
  ageOf, changesBetween, clockOf, firstAmc, hostBack, hostLost, isHeard, newState, pictureHeard, placesOf, streamLost,
  streamOpened,
} from "../../../host/web/page/files/state.js";
import {picture} from "./picture.mjs";

const clock = clockOf("Sun, 22 Nov 2026 10:00:10 GMT", null, 5000);
const live = pictureHeard(streamOpened(newState()), picture(), '"1"', clock);

test("nothing is claimed before stream and picture are there", () => {
  assert.equal(isHeard(newState()), false);
  assert.equal(isHeard(streamOpened(newState())), false);
  assert.equal(isHeard(pictureHeard(newState(), picture(), '"1"', clock)), false, "no stream tells of changes");
  assert.equal(isHeard(live), true);
});

test("a stream that breaks takes every claim with it, until a picture comes after it is back", () => {
  const lost = streamLost(live, "refused");
  assert.equal(isHeard(lost), false);
  assert.deepEqual(lost.link, {state: "lost", reason: "refused"});
  assert.notEqual(lost.picture, null, "what was is still shown, as such");
  const back = streamOpened(lost);
  assert.equal(isHeard(back), false);
  assert.equal(isHeard(pictureHeard(back, null, "", clock)), true, "304: it still holds");
});

test("a host that does not answer does as well", () => {
  const lost = hostLost(live, "no resident host");
  assert.deepEqual(lost.link, {state: "host-lost", reason: "no resident host"});
  assert.equal(isHeard(hostBack(lost)), false);
  assert.equal(isHeard(pictureHeard(hostBack(lost), picture(), '"2"', clock)), true);
});

test("ages go by the server's clock, whatever the reader's says", () => {
  assert.equal(ageOf("2026-11-22T10:00:08.000Z", clock, 5000), 2000);
  assert.equal(ageOf("2026-11-22T10:00:08.000Z", clock, 8000), 5000);
  assert.equal(ageOf("2026-11-22T10:00:30.000Z", clock, 5000), 0);
  assert.equal(ageOf(null, clock, 5000), null);
  assert.equal(ageOf("2026-11-22T10:00:08.000Z", null, 5000), null);
  assert.equal(clockOf(null, null, 0), null);
  assert.equal(clockOf(null, "2026-11-22T10:00:08.000Z", 0).server, Date.parse("2026-11-22T10:00:08.000Z"));
});

test("the panel has ten places, the empty ones too", () => {
  const places = placesOf(picture());
  assert.deepEqual(places.map((each) => each.place), ["baseboard", ...[1, 2, 3, 4, 5, 6, 7, 8].map((n) => `AMC bay ${n}`), "RTM"]);
  assert.deepEqual(places.filter((each) => each.present).map((each) => each.bay), [0, 3, 9]);
  assert.equal(places[3].leds.length, 1);
  assert.equal(places[3].faults.length, 1);
  assert.equal(places[0].name, "FB-7200 Carrier");
  assert.equal(placesOf(null).length, 10);
});

test("when one of the AMCs is broken, each of them may be it", () => {
  const broken = picture();
  assert.ok(placesOf(broken).every((each) => !each.suspect));
  broken.faults = [{place: "AMCs", what: "health: fault", cause: "c", evidence: ["AMC failed"], cure: "d"}];
  assert.deepEqual(placesOf(broken).filter((each) => each.suspect).map((each) => each.bay), [3]);
});

test("the first AMC", () => {
  assert.equal(firstAmc(picture()), 3);
  assert.equal(firstAmc(picture({modules: [], leds: []})), null);
});

test("changes are said, and only changes", () => {
  const before = picture();
  assert.deepEqual(changesBetween(before, picture()), []);
  assert.deepEqual(changesBetween(null, picture()), []);
  const after = picture();
  after.status.modules[1].run_status = 5;
  after.status.modules[1].run_status_name = "failed";
  after.health.state = "fault";
  after.faults = [];
  assert.deepEqual(changesBetween(before, after), ["AMC bay 3: run status failed", "health: fault", "nothing is wrong any more"]);
});

// What the page has heard, and how much of it still holds. Pure functions: each gives a new state.

export function newState() {
  return {
    picture: null,
    etag: "",
    heardAt: null, // by the server's clock, milliseconds: when the page last knew that the picture holds
    link: {state: "connecting", reason: ""},
    streamOpen: false,
    hostReachable: true,
    clock: null, // {server, local}: both in milliseconds at one moment
  };
}

/** Whether the picture is the blade's state of now. */
export function isHeard(state) {
  return state.link.state === "live" && state.picture !== null;
}

function withLink(state) {
  let link = state.link;
  if (!state.streamOpen) link = {state: "lost", reason: link.reason};
  else if (!state.hostReachable) link = {state: "host-lost", reason: link.reason};
  else link = state.fresh ? {state: "live", reason: ""} : {state: "connecting", reason: ""};
  return {...state, link};
}

/** The stream of events is there. Nothing is claimed yet: a picture has to come first. */
export function streamOpened(state) {
  return withLink({...state, streamOpen: true, hostReachable: true, fresh: false});
}

export function streamLost(state, reason) {
  return withLink({...state, streamOpen: false, fresh: false, link: {state: "lost", reason}});
}

export function hostLost(state, reason) {
  return withLink({...state, hostReachable: false, fresh: false, link: {state: "host-lost", reason}});
}

export function hostBack(state) {
  return withLink({...state, hostReachable: true, fresh: false});
}

/** A picture has come, or is the same as before: then it is null. */
export function pictureHeard(state, picture, etag, clock) {
  const next = {
    ...state,
    picture: picture ?? state.picture,
    etag: picture ? etag : state.etag,
    clock: clock ?? state.clock,
    fresh: true,
    hostReachable: true,
  };
  next.heardAt = clock ? clock.server : state.heardAt;
  return withLink(next);
}

/** The server's clock, from its header Date and the page's own steady one. Without a date, the picture's time. */
export function clockOf(date, pictureTime, local) {
  let server = Date.parse(date ?? "");
  if (Number.isNaN(server)) server = Date.parse(pictureTime ?? "");
  return Number.isNaN(server) ? null : {server, local};
}

export function serverNow(clock, local) {
  return clock === null ? null : clock.server + (local - clock.local);
}

/** How old a reading is; null: nobody knows. */
export function ageOf(readAt, clock, local) {
  const read = Date.parse(readAt ?? "");
  const now = serverNow(clock, local);
  return Number.isNaN(read) || now === null ? null : Math.max(0, now - read);
}

export const BASEBOARD = 0;
export const RTM = 9;

export function placeName(bay) {
  if (bay === BASEBOARD) return "baseboard";
  return bay === RTM ? "RTM" : `AMC bay ${bay}`;
}

/** The front panel's places, the empty ones too: [{bay, place, present, name, runStatus, leds, dsps, faults, row}]. */
export function placesOf(picture) {
  const places = [];
  for (let bay = BASEBOARD; bay <= RTM; ++bay) {
    const modules = picture?.inventory?.modules ?? [];
    const status = (picture?.status?.modules ?? []).find((each) => each.bay === bay);
    const row = bay === BASEBOARD ? picture?.inventory?.board?.[0] : modules.find((each) => each.bay === bay);
    const leds = (picture?.leds ?? []).filter((each) => each.bay === bay);
    const place = placeName(bay);
    const isAmc = bay > BASEBOARD && bay < RTM;
    places.push({
      bay,
      place,
      row: row ?? null,
      present: row !== undefined || status !== undefined,
      name: row?.product_name ?? status?.name ?? "",
      status: status ?? null,
      leds,
      dsps: (picture?.dsps ?? []).filter((each) => each.bay === bay),
      amc: (picture?.inventory?.amcs ?? []).find((each) => each.bay === bay) ?? null,
      rtm: bay === RTM ? picture?.inventory?.rtms?.[0] ?? null : null,
      faults: (picture?.faults ?? []).filter((each) => each.place === place || each.place.startsWith(`${place},`)),
      // The diagnostic tells that an AMC is broken, and not which.
      suspect: isAmc && (row !== undefined || status !== undefined) && (picture?.faults ?? []).some((each) => each.place === "AMCs"),
    });
  }
  return places;
}

/** The bay whose LEDs the adaptor sets, besides the baseboard's; null: there is no AMC. */
export function firstAmc(picture) {
  const found = placesOf(picture).find(
    (each) => each.bay > BASEBOARD && each.bay < RTM && (each.present || each.leds.some((led) => led.result === 1)));
  return found?.bay ?? null;
}

/** What is different and worth saying aloud. */
export function changesBetween(before, after) {
  if (!before || !after) return [];
  const changes = [];
  for (const module of after.status?.modules ?? []) {
    const was = (before.status?.modules ?? []).find((each) => each.bay === module.bay);
    if (!was) changes.push(`${module.place}: there is a module now`);
    else if (was.run_status !== module.run_status) changes.push(`${module.place}: run status ${module.run_status_name}`);
    else if (was.health_led !== module.health_led) changes.push(`${module.place}: health LED ${module.health_led}`);
    else if (was.out_of_service_led !== module.out_of_service_led)
      changes.push(`${module.place}: out of service LED ${module.out_of_service_led}`);
  }
  for (const was of before.status?.modules ?? []) {
    if (!(after.status?.modules ?? []).some((each) => each.bay === was.bay)) changes.push(`${was.place}: the module has gone`);
  }
  if (before.health.state !== after.health.state) changes.push(`health: ${after.health.state}`);
  if (before.controller.state !== after.controller.state) changes.push(`controller: ${after.controller.state}`);
  if (before.faults.length !== after.faults.length) {
    const many = after.faults.length;
    changes.push(many === 0 ? "nothing is wrong any more" : `${many} ${many === 1 ? "thing is" : "things are"} wrong`);
  }
  return changes;
}

// Orders of whoever is logged in, with the guards that the command line has. The first part is pure.
import {reasonOf} from "./events.js";
import {BASEBOARD, RTM, firstAmc, placeName} from "./state.js";
import {printable} from "./words.js";

export const COLORS = ["white", "red", "green", "blue", "amber", "orange"];

/** The colours that an LED's row names; a real controller's names none, and then all can be tried. */
export function colorsOf(led) {
  const named = COLORS.filter((color) => led?.row?.[`supports_${color}`] === true);
  return named.length > 0 ? named : COLORS;
}

const good = (path, body, question = "") => ({path, body, question, complaint: ""});
const bad = (complaint) => ({path: "", body: null, question: "", complaint});

function whole(text, first, last) {
  const number = /^[0-9]+$/.test(text) ? Number(text) : NaN;
  return number >= first && number <= last ? number : null;
}

const simulation = (picture, form) => (picture?.source?.simulated && form.simulated ? {simulated: true} : {});

/** Whether simulated data keep every order from being given. */
export function simulatedComplaint(picture, form) {
  if (!picture?.source?.simulated || form.simulated) return "";
  return `nothing is done: the data are simulated (${printable(picture.source.reason)}), and simulated data were not asked for`;
}

/** form: {bay, led, action, color, on, off, simulated} */
export function ledOrder(picture, form) {
  const complaint = simulatedComplaint(picture, form);
  if (complaint) return bad(complaint);
  if (!form.bay || !form.led) return bad("there is no LED to set");
  const bay = Number(form.bay);
  const led = Number(form.led);
  const body = {bay, led, action: form.action, ...simulation(picture, form)};
  if (form.action === "on" || form.action === "blink") {
    if (form.color) body.color = form.color;
  }
  if (form.action === "blink") {
    const on = whole(form.on, 1, 100000);
    const off = whole(form.off, 1, 100000);
    if (on === null || off === null) return bad("on and off: whole milliseconds, from 1; a controller takes 100 to 2500");
    Object.assign(body, {on, off});
  }
  const first = firstAmc(picture);
  if (bay === BASEBOARD || bay === first) return good("/v1/orders/led-set", body);
  const only = "the adaptor sets LEDs of the baseboard and of the first AMC only";
  if (first === null) return bad(`${placeName(bay)}: ${only}, and there is no AMC`);
  return good("/v1/orders/led-set", {...body, first_amc: true},
    `${placeName(bay)}: ${only}, which is ${placeName(first)}. Set the LED of ${placeName(first)} instead?`);
}

/** form: {port, enabled, simulated} */
export function portOrder(picture, form) {
  const complaint = simulatedComplaint(picture, form);
  if (complaint) return bad(complaint);
  return good("/v1/orders/switch-set",
    {port: Number(form.port), enabled: form.enabled === "true", ...simulation(picture, form)});
}

export function isIpv4(text) {
  const parts = text.split(".");
  return parts.length === 4 && parts.every((part) => /^(0|[1-9][0-9]{0,2})$/.test(part) && Number(part) <= 255);
}

/** form: {dsp, address, force, simulated} */
export function addressOrder(picture, form) {
  const complaint = simulatedComplaint(picture, form);
  if (complaint) return bad(complaint);
  if (!isIpv4(form.address)) return bad(`address '${printable(form.address)}': expected four numbers from 0 to 255 with dots between`);
  const other = (picture?.dsps ?? []).find((dsp) => dsp.ip === form.address && dsp.dsp !== Number(form.dsp));
  if (other && !form.force) return bad(`address '${form.address}': DSP ${other.dsp} has this address; "store it nevertheless" stores it`);
  return good("/v1/orders/dsp-set-ip",
    {dsp: Number(form.dsp), address: form.address, ...(form.force ? {force: true} : {}), ...simulation(picture, form)});
}

/** As much of a name as has that many bytes. */
export function nameInBytes(name, most) {
  let kept = "";
  for (const letter of name) {
    if (new TextEncoder().encode(kept + letter).length > most) break;
    kept += letter;
  }
  return kept;
}

/** form: {place: bay, name, size, dryRun, simulated} */
export function firmwareOrder(picture, form) {
  const complaint = simulatedComplaint(picture, form);
  if (complaint) return bad(complaint);
  const bay = Number(form.place);
  if (!form.name) return bad("choose the image's file first");
  if (form.size === 0) return bad(`${printable(form.name)}: the file is empty`);
  const running = (picture?.upgrades ?? []).find((each) => each.state_name === "in progress");
  if (running) return bad(`an upgrade of ${printable(running.place)} is under way`);
  if (bay !== BASEBOARD && !(picture?.status?.modules ?? []).some((each) => each.bay === bay))
    return bad(`${placeName(bay)}: there is no module`);
  const query = new URLSearchParams({target: bay === BASEBOARD ? "board" : bay === RTM ? "rtm" : "amc"});
  if (bay > BASEBOARD && bay < RTM) query.set("bay", String(bay));
  query.set("name", nameInBytes(form.name, 255));
  if (form.dryRun) query.set("dry_run", "true");
  if (simulation(picture, form).simulated) query.set("simulated", "true");
  return good(`/v1/firmware?${query}`, null, form.dryRun ? ""
    : `Upgrade the firmware of ${placeName(bay)} with ${printable(form.name)} (${form.size} bytes)? The module is out of service meanwhile.`);
}

/** What became of an order, as lines: [{mood, text}]. */
export function outcomeLines(outcome) {
  const lines = [{
    mood: outcome.good ? "good" : "bad",
    text: outcome.good ? `✓ done${outcome.changed === false && outcome.dry_run !== true ? ", nothing changed" : ""}` : `✕ not done (result ${outcome.result})`,
  }];
  const add = (mood, text) => String(text ?? "").split("\n").filter((line) => line.trim() !== "")
    .forEach((line) => lines.push({mood, text: printable(line)}));
  if (outcome.source) add("bad", `simulated data: ${outcome.source.reason}`);
  add("", outcome.text);
  for (const remark of outcome.remarks ?? []) add("", remark);
  if (outcome.supported_colors?.length > 0) add("", `colours that it supports: ${outcome.supported_colors.join(", ")}`);
  for (const reason of outcome.reasons ?? []) add("bad", reason);
  if (outcome.cure) add("", `cure: ${outcome.cure}`);
  return lines;
}

/** How far an upgrade of this place is, by the picture; null: nothing is known of it. */
export function upgradeLine(picture, place, begunBefore) {
  const upgrade = (picture?.upgrades ?? []).filter((each) => each.place === place && each.begun !== begunBefore).at(-1);
  if (!upgrade) return null;
  if (upgrade.state_name === "in progress") return {ended: false, mood: "", text: `${place}: upgrade in progress`, since: upgrade.begun};
  const done = upgrade.state_name === "done";
  return {
    ended: true, mood: done ? "good" : "bad",
    text: done ? `✓ ${place}: upgraded; firmware ${printable(upgrade.version_after ?? "not read again yet")}`
      : `✕ ${place}: the upgrade has failed; what is wrong says why`,
  };
}

/** Who is logged in. The token is nowhere but here: it goes with the page. */
export function newSession(fetchIt = (...all) => fetch(...all)) {
  let token = null;
  let place = null;
  const who = {name: "", role: ""};
  const forget = () => { token = null; place = null; who.name = ""; who.role = ""; };
  // A browser that was asked for a password must not answer for it: the session counts, and nothing else.
  const ask = async (path, options = {}) => {
    const answer = await fetchIt(path, {
      ...options, credentials: "omit", cache: "no-store", redirect: "error",
      headers: {...options.headers, ...(token ? {"X-Auth-Token": token} : {})},
    });
    if (answer.status === 401 && token) {
      forget();
      throw new Error("the session has ended: log in again");
    }
    return answer;
  };
  const post = (path, body) => ask(path, {method: "POST", headers: {"Content-Type": "application/json"}, body: JSON.stringify(body)});
  return {
    get name() { return who.name; },
    get role() { return who.role; },
    get open() { return token !== null; },
    get mayOrder() { return token !== null && who.role !== "ReadOnly"; },
    async logIn(name, password) {
      forget();
      const answer = await post("/redfish/v1/SessionService/Sessions", {UserName: name, Password: password});
      if (!answer.ok) {
        const again = answer.headers.get("Retry-After");
        throw new Error(`${await reasonOf(answer)}${again ? `; try again in ${again} s` : ""}`);
      }
      token = answer.headers.get("X-Auth-Token");
      place = answer.headers.get("Location");
      if (!token) throw new Error("the server gave no session");
      who.name = name;
      const account = await ask(`/redfish/v1/AccountService/Accounts/${encodeURIComponent(name)}`).catch(() => null);
      who.role = account?.ok ? (await account.json()).RoleId ?? "" : "";
    },
    async logOut() {
      const path = place ? new URL(place, location.href).pathname : null;
      try {
        if (path) await ask(path, {method: "DELETE"});
      } finally {
        forget();
      }
    },
    /** The order's outcome; throws with the server's own reason. */
    async order(path, body) {
      const answer = await post(path, body);
      if (!answer.ok) throw new Error(await reasonOf(answer));
      return answer.json();
    },
    /** Sends the image; fetch could not tell how far it is. */
    async upload(path, file, onProgress) {
      const alive = await ask("/v1"); // an upload with a session that has ended would be asked for a password
      if (!alive.ok) throw new Error(await reasonOf(alive));
      return new Promise((done, fail) => {
        const request = new XMLHttpRequest();
        request.open("POST", path);
        request.setRequestHeader("X-Auth-Token", token);
        request.setRequestHeader("Content-Type", "application/octet-stream");
        request.upload.addEventListener("progress", (event) => onProgress(event.loaded, event.total));
        request.addEventListener("error", () => fail(new Error("the connection was lost while the image was sent")));
        request.addEventListener("load", () => {
          let body = null;
          try { body = JSON.parse(request.responseText); } catch { /* told by its status */ }
          if (request.status === 401) forget();
          if (request.status >= 200 && request.status < 300 && body) done(body);
          else fail(new Error(body?.error?.reason ?? `status ${request.status}`));
        });
        request.send(file);
      });
    },
  };
}

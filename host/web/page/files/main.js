// The page: hears the blade, shows what it has heard, and gives orders.
import {chartPath, chartText, countsOf, niceTop, ratesOf, withSample} from "./chart.js";
import {byId, el, moment, setText, show} from "./dom.js";
import {filtered, follow, reasonOf, withEvent} from "./events.js";
import {
  addressOrder, colorsOf, firmwareOrder, ledOrder, newSession, outcomeLines, portOrder, upgradeLine,
} from "./orders.js";
import {
  makePanel, showDsps, showFaults, showHost, showPanel, showPlace, showPorts, showUpgrades, startBlinking,
} from "./panel.js";
import {
  BASEBOARD, ageOf, changesBetween, clockOf, hostBack, hostLost, isHeard, newState, pictureHeard, placeName, placesOf,
  serverNow, streamLost, streamOpened,
} from "./state.js";
import {ageText, clockText, durationText, linkText, printable, shortTimeText, timeText, verdictOf} from "./words.js";

const BETWEEN_PICTURES = 200;
const BETWEEN_SAMPLES = 5000;
const LONGEST_ANSWER = 10000;
const BETWEEN_LOOKS = 10000; // how old the knowledge that a picture still holds may become

let state = newState();
let events = [];
let samples = [];
let chosen = BASEBOARD;
const session = newSession();
const still = matchMedia("(prefers-reduced-motion: reduce)");
const now = () => performance.now();

// ---- showing

const buttons = makePanel(byId("panel"), (bay) => {
  chosen = bay;
  render();
});

function say(texts) {
  if (texts.length > 0) setText(byId("said"), texts.map(printable).join(". "));
}

function renderLink(heard) {
  document.body.classList.toggle("unheard", !heard);
  setText(byId("link-mark"), heard ? "●" : "○");
  setText(byId("link-text"), heard ? "live" : state.link.state === "connecting" ? "connecting" : "lost");
  const lost = byId("lost");
  lost.hidden = heard || state.link.state === "connecting";
  const text = lost.hidden ? "" : `${printable(linkText(state.link))}. What stands here was heard before, and may be untrue now.`;
  setText(lost, text);
  const source = state.picture?.source;
  const simulated = byId("simulated");
  simulated.hidden = !source?.simulated;
  setText(simulated, source?.simulated ? `⚠ SIMULATED DATA: this is no blade's inventory. ${printable(source.reason)}` : "");
}

function render() {
  const heard = isHeard(state);
  const {picture} = state;
  const name = printable(picture?.inventory?.board?.[0]?.product_name ?? "") || "Blade";
  setText(byId("title"), name);
  const wrong = picture?.faults?.length ?? 0;
  document.title = `${heard ? wrong > 0 ? "✕ " : "✓ " : "? "}${name}`;
  renderLink(heard);
  const verdict = verdictOf(picture, heard);
  setText(byId("verdict"), verdict.text);
  byId("verdict").className = `verdict ${verdict.mood}`;
  byId("wrong").hidden = wrong === 0;
  showPanel(buttons, picture, heard, chosen);
  showPlace(byId("place"), byId("place-title"), picture, heard, chosen);
  showFaults(byId("faults"), picture, heard);
  showHost(byId("host"), picture, heard);
  showPorts(byId("ports"), picture, heard);
  showDsps(byId("dsps"), picture, heard);
  showUpgrades(byId("upgrades"), picture, heard);
  renderChoices();
  renderUpgrade();
  renderChart();
  startBlinking(still.matches);
  tick();
}

function renderEvents() {
  const list = filtered(events, byId("filter-kind").value, byId("filter-words").value);
  setText(byId("filter-count"), `${list.length} of ${events.length}`);
  show(byId("events"), JSON.stringify(list), () => list.map((entry) => el("li", {class: `event ${entry.kind}`},
    moment(entry.time), " ", el("span", {class: "kind"}, printable(entry.kind)), " ", el("span", {class: "news"}, entry.text))));
}

function renderChart() {
  const rates = ratesOf(samples);
  const top = niceTop(Math.max(0, ...rates.map((rate) => rate.all)));
  const box = {x: 4, y: 12, width: 392, height: 100, top};
  byId("chart-all").setAttribute("d", chartPath(rates, "all", box));
  byId("chart-bad").setAttribute("d", rates.some((rate) => rate.bad > 0) ? chartPath(rates, "bad", box) : "");
  byId("chart").classList.toggle("bare", rates.length === 0);
  setText(byId("chart-top"), rates.length === 0 ? "" : `${top} a second`);
  setText(byId("chart-text"), `${isHeard(state) || rates.length === 0 ? "" : "Before the connection went: "}${chartText(rates)}.`);
  setText(byId("chart-span"), rates.length === 0 ? "" : `From ${clockText(rates[0].from)} to ${clockText(rates.at(-1).to)}.`);
}

let today = "";

/** Ages grow by themselves; what was not heard has none. */
function tick() {
  if (today !== new Date().toDateString()) {
    today = new Date().toDateString();
    renderEvents();
  }
  const heard = isHeard(state);
  for (const span of document.querySelectorAll("[data-read]")) {
    const age = ageOf(span.dataset.read, state.clock, now());
    const read = timeText(span.dataset.read);
    setText(span, age === null ? `read ${read}` : `read ${heard ? "" : "before the connection went, "}${ageText(age)}`);
    span.title = read;
  }
  for (const span of document.querySelectorAll("[data-since]")) {
    const age = ageOf(span.dataset.since, state.clock, now());
    setText(span, age === null || !heard ? "unknown" : `${durationText(age)} so far`);
  }
  const server = serverNow(state.clock, now());
  if (state.heardAt !== null && server !== null) {
    setText(byId("heard"), `${heard ? "heard" : "last heard"} ${ageText(Math.max(0, server - state.heardAt))}, at ${shortTimeText(state.heardAt, Date.now())}`);
    byId("heard").title = timeText(state.heardAt);
  }
}

// ---- hearing

function become(next) {
  state = next;
  render();
}

const fetching = {running: false, wanted: false, generation: 0};

async function fetchPicture() {
  const generation = fetching.generation;
  try {
    const headers = state.etag ? {"If-None-Match": state.etag} : {};
    const answer = await fetch("/v1/blade", {headers, cache: "no-store", signal: AbortSignal.timeout(LONGEST_ANSWER)});
    if (answer.status !== 200 && answer.status !== 304) {
      const reason = await reasonOf(answer);
      if (generation === fetching.generation) become(hostLost(state, reason));
      return;
    }
    const picture = answer.status === 304 ? null : await answer.json();
    // The stream may have gone meanwhile: then this is no news of now.
    if (generation !== fetching.generation || !state.streamOpen) return;
    const clock = clockOf(answer.headers.get("Date"), (picture ?? state.picture)?.time, now());
    const before = isHeard(state) ? state.picture : null;
    become(pictureHeard(state, picture, answer.headers.get("ETag") ?? "", clock));
    if (samples.length === 0) takeSample();
    if (picture) say(changesBetween(before, picture));
  } catch (error) {
    if (generation === fetching.generation) become(hostLost(state, String(error?.message ?? error)));
  }
}

/** One at a time, and not more often than the server has new ones. */
async function wantPicture() {
  fetching.wanted = true;
  if (fetching.running) return;
  fetching.running = true;
  while (fetching.wanted && state.streamOpen) {
    fetching.wanted = false;
    await fetchPicture();
    await new Promise((done) => setTimeout(done, BETWEEN_PICTURES));
  }
  fetching.running = false;
}

function heardTime() {
  return new Date(serverNow(state.clock, now()) ?? Date.now()).toISOString();
}

// What is kept comes first, all at once: nobody knows when that was, unless it says so.
const REPLAY = 2000;
const pending = {events: false, opened: -Infinity};

function addEvent(event) {
  events = withEvent(events, event, event.kind !== "gap" && now() - pending.opened < REPLAY ? null : heardTime());
  if (pending.events) return;
  pending.events = true;
  requestAnimationFrame(() => {
    pending.events = false;
    renderEvents();
  });
}

const ears = {
  opened() {
    ++fetching.generation;
    pending.opened = now();
    become(streamOpened(state));
    wantPicture();
  },
  event(event) {
    if (event.kind === "picture") {
      wantPicture();
      return;
    }
    addEvent(event);
    if (event.kind === "host") {
      let news = {};
      try { news = JSON.parse(event.data); } catch { /* shown as it is */ }
      become(news.reachable === false ? hostLost(state, String(news.reason ?? "")) : hostBack(state));
      wantPicture();
    }
  },
  lost(reason) {
    ++fetching.generation;
    const was = state.streamOpen;
    become(streamLost(state, reason));
    if (was) addEvent({id: "", kind: "gap", data: JSON.stringify({reason: `the connection was lost: ${reason}`})});
  },
};

async function takeSample() {
  if (document.hidden || !isHeard(state)) return;
  try {
    const answer = await fetch("/v1/statistics", {cache: "no-store", signal: AbortSignal.timeout(LONGEST_ANSWER)});
    if (!answer.ok) return;
    samples = withSample(samples, countsOf(await answer.json()));
  } catch {
    // the stream of events tells of it
  }
  renderChart();
}

// ---- orders

function options(select, rows) {
  const value = select.value;
  if (!show(select, JSON.stringify(rows), () => rows.map(([each, text]) => el("option", {value: each}, text)))) return;
  if (rows.some(([each]) => String(each) === value)) select.value = value;
}

function renderChoices() {
  const {picture} = state;
  byId("logged-in").hidden = !session.open;
  byId("login").hidden = session.open;
  byId("orders").hidden = !session.mayOrder;
  setText(byId("who"), session.open ? `Logged in as ${printable(session.name)}${session.role ? `, ${printable(session.role)}` : ""}.` : "");
  byId("simulated-choice").hidden = !picture?.source?.simulated;
  // Nothing is ordered of a blade that is not heard.
  for (const set of document.querySelectorAll("#orders fieldset")) set.disabled = !isHeard(state) || ordering;
  if (!picture || !session.mayOrder) return;
  const places = placesOf(picture);
  const led = byId("order-led").elements;
  options(led.bay, places.filter((each) => each.leds.length > 0).map((each) => [each.bay, each.place]));
  const leds = places[Number(led.bay.value || 0)].leds;
  options(led.led, leds.map((each) => [each.led, `${each.led} ${printable(each.led_name)}`]));
  const lit = led.action.value === "on" || led.action.value === "blink";
  options(led.color, [["", "one that it supports"],
    ...colorsOf(leds.find((each) => String(each.led) === led.led.value)).map((each) => [each, each])]);
  led.color.disabled = !lit;
  led.on.disabled = led.off.disabled = led.action.value !== "blink";
  options(byId("order-port").elements.port, picture.ports.map((each) => [each.port, `${each.port} ${printable(each.name)}`]));
  options(byId("order-address").elements.dsp, picture.dsps.map((each) => [each.dsp, `${each.dsp} (${printable(each.place)})`]));
  options(byId("order-firmware").elements.place, [[BASEBOARD, placeName(BASEBOARD)],
    ...places.filter((each) => each.bay > BASEBOARD && each.present).map((each) => [each.bay, each.place])]);
}

function confirmed(question) {
  const dialog = byId("ask");
  setText(byId("ask-text"), question);
  return new Promise((done) => {
    const end = (answer) => () => { dialog.onclose = null; dialog.close(); done(answer); };
    byId("ask-yes").onclick = end(true);
    byId("ask-no").onclick = end(false);
    dialog.onclose = () => done(false); // Escape
    dialog.showModal();
    byId("ask-no").focus();
  });
}

function outcome(form, lines) {
  form.querySelector(".outcome").replaceChildren(...lines.map((line) => el("p", {class: line.mood}, line.text)));
}

let ordering = false;
let upgrading = null; // {place, before}: whose end is waited for

async function give(form, order, send) {
  if (order.complaint) return outcome(form, [{mood: "bad", text: `✕ ${order.complaint}`}]);
  if (ordering || (order.question && !await confirmed(order.question))) return outcome(form, [{mood: "", text: "nothing was done"}]);
  ordering = true;
  renderChoices();
  outcome(form, [{mood: "", text: "under way …"}]);
  try {
    outcome(form, outcomeLines(await send(order)));
  } catch (error) {
    outcome(form, [{mood: "bad", text: `✕ ${printable(error.message)}`}]);
  }
  ordering = false;
  renderChoices();
  // What is disabled loses the focus.
  if (document.activeElement === document.body) form.querySelector("button").focus();
  return undefined;
}

function valuesOf(form) {
  const values = {simulated: byId("simulated-asked").checked};
  for (const field of form.elements) {
    if (field.name) values[field.name] = field.type === "checkbox" ? field.checked : field.value.trim();
  }
  return values;
}

function onOrder(id, make) {
  const form = byId(id);
  form.addEventListener("submit", (event) => {
    event.preventDefault();
    give(form, make(state.picture, valuesOf(form)), (order) => session.order(order.path, order.body));
  });
  form.addEventListener("change", renderChoices);
}

onOrder("order-led", ledOrder);
onOrder("order-port", portOrder);
onOrder("order-address", addressOrder);

byId("order-firmware").addEventListener("submit", (event) => {
  event.preventDefault();
  const form = byId("order-firmware");
  const file = form.elements.image.files[0];
  const values = valuesOf(form);
  const place = placeName(Number(values.place));
  const before = (state.picture?.upgrades ?? []).filter((each) => each.place === place).at(-1)?.begun ?? null;
  give(form, firmwareOrder(state.picture, {
    place: values.place, name: file?.name ?? "", size: file?.size ?? 0, dryRun: values.dry, simulated: values.simulated,
  }), async (order) => {
    upgrading = null;
    byId("upload").value = 0;
    byId("upload-line").hidden = false;
    try {
      const answer = await session.upload(order.path, file, (sent, all) => {
        byId("upload").value = all > 0 ? sent / all : 0;
        setText(byId("upload-text"), `${sent} of ${all} bytes`);
      });
      if (answer.good && !values.dry) upgrading = {place, before};
      return answer;
    } finally {
      byId("upload-line").hidden = true;
    }
  }).then(renderUpgrade);
});

function renderUpgrade() {
  if (!upgrading || !isHeard(state)) return;
  const line = upgradeLine(state.picture, upgrading.place, upgrading.before);
  if (!line || line.text === upgrading.shown) return;
  upgrading.shown = line.text;
  const shown = el("p", {class: line.mood}, line.text);
  if (line.since) shown.append(", ", el("span", {"data-since": line.since, "aria-live": "off"}, ""));
  byId("order-firmware").querySelector(".outcome").replaceChildren(shown);
  if (line.ended) upgrading = null;
}

byId("login").addEventListener("submit", async (event) => {
  event.preventDefault();
  const {name, password} = event.target.elements;
  setText(byId("login-outcome"), "logging in …");
  try {
    await session.logIn(name.value, password.value);
    setText(byId("login-outcome"), session.mayOrder ? "" : "This account may look, and give no orders.");
  } catch (error) {
    setText(byId("login-outcome"), `✕ ${printable(error.message)}`);
  }
  password.value = "";
  renderChoices();
  if (session.open) byId("logout").focus();
});

byId("logout").addEventListener("click", async () => {
  await session.logOut().catch(() => {});
  setText(byId("login-outcome"), "Logged out.");
  renderChoices();
  byId("login-name").focus();
});

// ---- begin

byId("filter").addEventListener("submit", (event) => event.preventDefault());
byId("filter").addEventListener("input", renderEvents);
still.addEventListener("change", render);
setText(byId("zone"), `Times are of ${Intl.DateTimeFormat().resolvedOptions().timeZone}.`);
render();
renderEvents();
renderChart();
setInterval(tick, 1000);
setInterval(takeSample, BETWEEN_SAMPLES);
setInterval(() => { if (state.streamOpen) wantPicture(); }, BETWEEN_LOOKS);
document.addEventListener("visibilitychange", () => { if (!document.hidden) takeSample(); });
follow("/v1/events", ears);

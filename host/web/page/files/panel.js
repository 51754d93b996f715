// The front panel, and what is told of one place, of ports, DSPs, faults, the host and upgrades.
import {el, moment, setText, show, svg} from "./dom.js";
import {BASEBOARD, RTM, placesOf} from "./state.js";
import {
  dspAddress, known, ledShape, ledShows, portState, printable, runStatusMood, runStatusText,
} from "./words.js";

const BLINKS = new Map(); // lamps that blink now, with their animations

/** One period of a blinking LED: on for its time, then off for its time. Null: it does not blink. */
export function blinkOf(led, heard) {
  if (ledShape(led, heard) !== "blink") return null;
  const on = Math.max(10, led.on_ms ?? 0);
  const off = Math.max(10, led.off_ms ?? 0);
  const edge = on / (on + off);
  return {
    frames: [
      {opacity: 1, offset: 0}, {opacity: 1, offset: edge}, {opacity: 0.12, offset: edge}, {opacity: 0.12, offset: 1},
    ],
    duration: on + off,
  };
}

const MARKS = {unknown: "?", test: "T"};

/** The lamp: dull glass for off, a bright lens for on, one in a broken ring for blinking, a letter for the others. */
function lamp(led, heard) {
  const shape = ledShape(led, heard);
  const picture = svg("svg", {
    class: `lamp ${shape} color-${shape === "unknown" ? "none" : led.color}`, viewBox: "0 0 24 24", width: 22, height: 22,
    "aria-hidden": "true", focusable: "false",
  });
  const light = svg("circle", {class: "light", cx: 12, cy: 12, r: 7.5});
  picture.append(svg("circle", {class: "ring", cx: 12, cy: 12, r: 10.25}), svg("circle", {class: "glass", cx: 12, cy: 12, r: 7.5}), light,
    svg("ellipse", {class: "shine", cx: 9.75, cy: 8.5, rx: 3, ry: 1.9, transform: "rotate(-35 9.75 8.5)"}));
  if (MARKS[shape]) picture.append(svg("text", {x: 12, y: 16.5, "text-anchor": "middle", class: "mark"}, MARKS[shape]));
  const blink = blinkOf(led, heard);
  if (blink) BLINKS.set(light, blink);
  return picture;
}

/** Lamps that stand on the page blink, unless their reader wants nothing to move. */
export function startBlinking(still) {
  for (const [light, blink] of [...BLINKS]) {
    if (!light.isConnected) {
      BLINKS.delete(light);
      continue;
    }
    const running = light.getAnimations();
    if (still) running.forEach((each) => each.cancel());
    else if (running.length === 0) {
      const animation = light.animate(blink.frames, {duration: blink.duration, iterations: Infinity});
      animation.startTime = 0; // LEDs with the same times blink together
    }
  }
}

export function ageOfReading(readAt) {
  return readAt ? el("span", {class: "age", "data-read": readAt}, "") : el("span", {class: "age"}, "never read");
}

function ledLine(led, heard, withAge) {
  return el("li", {class: "led", "data-led": led.led},
    lamp(led, heard),
    el("span", {class: "led-name"}, printable(led.led_name)), " ",
    el("span", {class: "led-shows"}, known(ledShows(led), heard)),
    withAge ? [" ", ageOfReading(led.read_at)] : null);
}

function shortLine(led, heard) {
  const state = ledShape(led, heard) === "unknown" ? "not known" : led.state === "off" ? "off" : `${led.state} ${led.color ?? ""}`;
  return el("span", {class: "led", "data-led": led.led, "data-color": led.color, "data-state": heard ? led.state : "unknown"},
    lamp(led, heard), el("span", {class: "led-name"}, printable(led.led_name)), " ",
    el("span", {class: "led-shows"}, state.trim()));
}

function faceOf(place, heard) {
  const status = place.status ? runStatusText(place.status) : "";
  const wrong = place.faults.length > 0 ? "wrong" : place.suspect ? "one of these" : "";
  return [
    el("span", {class: "face-head"},
      el("span", {class: "face-place"}, place.bay > BASEBOARD && place.bay < RTM ? `Bay ${place.bay}` : place.place), " ",
      wrong ? el("span", {class: "badge bad"}, heard ? `✕ ${wrong}` : `was ${wrong}`) : null),
    el("span", {class: "face-name"}, place.present ? printable(place.name) || "(no name)" : "empty"),
    status ? el("span", {class: `face-status ${heard ? runStatusMood(place.status.run_status) : ""}`}, known(status, heard)) : null,
    place.leds.length > 0
      ? el("span", {class: "face-leds"}, place.leds.map((led) => shortLine(led, heard)))
      : el("span", {class: "face-none"}, place.present ? "no LEDs" : ""),
  ];
}

/** The ten places, made once: what has the focus keeps it. */
export function makePanel(root, onChosen) {
  const buttons = [];
  for (const place of placesOf(null)) {
    const button = el("button", {
      type: "button", class: `face ${place.bay === BASEBOARD ? "board" : place.bay === RTM ? "rtm" : "bay"}`,
      "data-bay": place.bay, "aria-pressed": "false", "aria-controls": "place",
    });
    button.addEventListener("click", () => onChosen(place.bay));
    button.addEventListener("keydown", (event) => {
      const step = {ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1}[event.key];
      if (!step) return;
      event.preventDefault();
      buttons[(place.bay + step + buttons.length) % buttons.length].focus();
    });
    buttons.push(button);
  }
  root.replaceChildren(...buttons);
  return buttons;
}

export function showPanel(buttons, picture, heard, chosen) {
  for (const place of placesOf(picture)) {
    const button = buttons[place.bay];
    button.setAttribute("aria-pressed", String(place.bay === chosen));
    button.classList.toggle("empty", !place.present);
    button.classList.toggle("wrong", heard && (place.faults.length > 0 || place.suspect));
    const {row: _row, ...seen} = place;
    const age = seen.leds.map(({age_ms: _age, read_at: _at, row: _led, ...led}) => led);
    show(button, JSON.stringify([heard, {...seen, leds: age}]), () => faceOf(place, heard));
  }
}

function facts(rows) {
  const list = el("dl", {class: "facts"});
  for (const [name, value] of rows) {
    if (value === undefined || value === null || value === "") continue;
    list.append(el("div", {}, el("dt", {}, name), el("dd", {}, value instanceof Node || Array.isArray(value) ? value : printable(value))));
  }
  return list;
}

/** A table; in a card that is too narrow for it each row becomes lines, a label and a value. The notes' column is there when there are any. */
function table(caption, heads, rows, kind = "narrow") {
  const used = (i) => heads[i] !== "note" || rows.some((cells) => cells[i] !== "");
  const shown = (cells) => cells.map((cell, i) => [cell, i]).filter(([, i]) => used(i));
  const cell = ([value, i]) => (i === 0 ? el("th", {scope: "row", role: "rowheader", "data-label": heads[i]}, value)
    : el("td", {role: "cell", "data-label": heads[i]}, value));
  // The roles say what is a table, since what is shown as lines would be none.
  return el("div", {class: `scroll table ${kind}`, tabindex: 0, role: "group", "aria-label": caption},
    el("table", {role: "table"}, el("caption", {class: "hidden"}, caption),
      el("thead", {role: "rowgroup"}, el("tr", {role: "row"},
        shown(heads).map(([head]) => el("th", {scope: "col", role: "columnheader"}, head)))),
      el("tbody", {role: "rowgroup"}, rows.map((cells) => el("tr", {role: "row"}, shown(cells).map(cell))))));
}

export function showPlace(root, title, picture, heard, bay) {
  const place = placesOf(picture)[bay];
  setText(title, `${place.place}${place.present ? `: ${printable(place.name)}` : ""}`);
  show(root, JSON.stringify([heard, picture === null, place]), () => {
    if (picture === null) return el("p", {}, "Nothing has been heard yet.");
    const row = place.row ?? {};
    const parts = [];
    if (!place.present) parts.push(el("p", {}, heard ? "There is no module." : "unknown (there was no module)"));
    else parts.push(facts([
      ["run status", place.status?.run_status === undefined ? "" : known(runStatusText(place.status), heard)],
      ["manufacturer", row.manufacturer], ["part number", row.part_number],
      ["serial number", row.serial ?? row.product_serial], ["version", row.product_version], ["firmware", row.fw_version],
      ["slot", bay === BASEBOARD ? row.location : ""], ["DSPs", place.amc?.dsps], ["framers", place.rtm?.num_framers],
      ["trunks of each framer", place.rtm?.trunks_per_framer],
    ]));
    parts.push(el("h3", {}, "LEDs"));
    parts.push(place.leds.length === 0 ? el("p", {}, "It has no LEDs, as far as it is known.")
      : el("ul", {class: "leds"}, place.leds.map((led) => ledLine(led, heard, true))));
    if (place.dsps.length > 0) {
      parts.push(el("h3", {}, "DSPs"));
      parts.push(dspTable(place.dsps, heard));
    }
    return parts;
  });
}

function noteOf(each) {
  return printable([each.stored ? "stored, not read" : "", each.note].filter((text) => text).join("; "));
}

function dspTable(dsps, heard) {
  return table("DSPs", ["DSP", "place", "MAC address", "IP address", "note"], dsps.map((dsp) => [
    dsp.dsp, `${printable(dsp.place)}, ${dsp.dsp_of_amc}`, printable(dsp.mac), known(dspAddress(dsp), heard), noteOf(dsp)]));
}

export function showDsps(root, picture, heard) {
  show(root, JSON.stringify([heard, picture?.dsps]), () => {
    if (!picture) return el("p", {}, "Nothing has been heard yet.");
    return picture.dsps.length === 0 ? el("p", {}, "The blade has no DSPs.") : dspTable(picture.dsps, heard);
  });
}

export function showPorts(root, picture, heard) {
  show(root, JSON.stringify([heard, picture?.ports]), () => {
    if (!picture) return el("p", {}, "Nothing has been heard yet.");
    if (picture.ports.length === 0) return el("p", {}, "The blade tells of no ports.");
    return table("Ports of the switch", ["port", "name", "leads to", "state", "link", "note"], picture.ports.map((port) => [
      port.port, printable(port.name), printable(port.leads_to), known(portState(port), heard),
      el("span", {class: `link ${heard ? port.link : "unknown"}`},
        el("span", {"aria-hidden": "true"}, {up: "▲ ", down: "▽ "}[heard ? port.link : ""] ?? "? "), known(port.link, heard)),
      noteOf(port)]));
  });
}

export function showFaults(root, picture, heard) {
  show(root, JSON.stringify([heard, picture?.faults]), () => {
    if (!picture) return el("p", {}, "Nothing has been heard yet.");
    if (picture.faults.length === 0) {
      return el("p", {class: heard ? "good" : ""}, heard ? "✓ Nothing is wrong." : "unknown (nothing was wrong)");
    }
    return el("ul", {class: "faults"}, picture.faults.map((fault) => el("li", {class: "fault"},
      el("h3", {}, `${heard ? "" : "was: "}${printable(fault.place)}: ${printable(fault.what)}`),
      el("dl", {},
        el("dt", {}, "cause"), el("dd", {}, printable(fault.cause)),
        el("dt", {}, "evidence"), fault.evidence.length === 0 ? el("dd", {}, "-")
          : fault.evidence.map((line) => el("dd", {class: "line"}, printable(line))),
        el("dt", {}, "cure"), el("dd", {}, printable(fault.cure))))));
  });
}

/** known(), of a text with times in it. */
function knownParts(parts, heard) {
  return heard ? parts : ["unknown (was ", ...parts, ")"];
}

export function showHost(root, picture, heard) {
  const {host, health, controller, calls, source, time: _time} = picture ?? {};
  show(root, JSON.stringify([heard, host, health, controller, calls?.map(({age_ms: _age, ...call}) => call), source]), () => {
    if (!picture) return el("p", {}, "Nothing has been heard yet.");
    const since = (each) => (each.since ? [" since ", moment(each.since)] : []);
    const under = calls.flatMap((call, i) => [i === 0 ? "" : "; ", printable(`${call.operation}${call.waiting ? ` waits for ${call.waits_for}` : ""}`),
      ...since(call), call.asker ? printable(`, asked by ${call.asker}`) : ""]);
    const reasons = health.reasons.length > 0 ? printable(`: ${health.reasons.join("; ")}`) : "";
    return facts([
      ["health", knownParts([printable(health.state), ...since(health), reasons], heard)],
      ["controller", knownParts([printable(controller.state), ...since(controller)], heard)],
      ["data", source.simulated ? `SIMULATED: ${source.reason}` : "read from the hardware"],
      ["start", host.start ? knownParts([printable(`${host.start.result} (${host.start.result_name}), `), moment(host.start.time)], heard) : "not started"],
      ["calls under way", knownParts(under.length === 0 ? ["none"] : under, heard)],
      ["resident host", [printable(`version ${host.version}, process ${host.process}, since `), moment(host.started)]],
    ]);
  });
}

/** The last upgrades, the newest first. */
export function showUpgrades(root, picture, heard) {
  show(root, JSON.stringify([heard, picture?.upgrades]), () => {
    if (!picture) return el("p", {}, "Nothing has been heard yet.");
    if (picture.upgrades.length === 0) return el("p", {}, heard ? "No upgrade yet." : "unknown (there was none)");
    const last = picture.upgrades.slice(-20).reverse();
    return table("Firmware upgrades", ["place", "state", "begun", "took", "file", "firmware before", "firmware after", "asked by"],
      last.map((each) => [
        printable(each.place), known(`${each.state_name}${each.state_name === "failed" ? " ✕" : ""}`, heard), moment(each.begun),
        each.ended ? `${Math.round((Date.parse(each.ended) - Date.parse(each.begun)) / 1000)} s`
          : heard ? el("span", {"data-since": each.begun ?? ""}, "") : "unknown",
        printable(each.file), printable(each.version_before) || "unknown", printable(each.version_after ?? "not read yet"),
        printable(each.asker)]), "broad");
  });
}

"""docs/faults.md: the cells of the fault matrix, and what was seen in each as text."""

from fault_cells import ORDERS, PLACES, ROUNDS_OF_A_LOOP

REQUESTS = [
    # heading, kind of call, {place: first bytes of the request}, the first such request that is the probe's
    ("Get PICMG Properties", "inventory", {"": "2c 00 00"}, 2),
    ("Get Address Info", "inventory", {place: f"2c 01 00 {fru:02x}" for place, fru in PLACES.items()}, 1),
    ("Get Device ID", "inventory", {"": "06 01"}, 5),
    ("Get FRU LED Properties", "inventory", {place: f"2c 05 00 {fru:02x}" for place, fru in PLACES.items()}, 1),
    ("Get LED Color Capabilities", "inventory", {place: f"2c 06 00 {fru:02x} 01" for place, fru in PLACES.items()}, 1),
    ("Get FRU Inventory Area Info", "inventory", {place: f"0a 10 {fru:02x}" for place, fru in PLACES.items()}, 1),
    ("Read FRU Data, the first piece", "inventory", {place: f"0a 11 {fru:02x} 00 00" for place, fru in PLACES.items()}, 1),
    ("Read FRU Data, a later piece", "inventory", {place: f"0a 11 {fru:02x} 20 00" for place, fru in PLACES.items()}, 1),
    ("Read FRU Data, a piece behind the end of FRU 0", "inventory", {"middle": "0a 11 01 a0 00", "last": "0a 11 03 a0 00"}, 1),
    ("Get FRU LED State", "get-led", {place: f"2c 08 00 {fru:02x}" for place, fru in PLACES.items()}, 1),
    ("Set FRU LED State", "set-led", {place: f"2c 07 00 {fru:02x}" for place, fru in PLACES.items()}, 1),
    ("FRU Control", "fru-control", {place: f"2c 04 00 {fru:02x}" for place, fru in PLACES.items()}, 1),
    ("Reserve SDR Repository", "records", {"": "0a 22"}, 1),
    ("Get SDR, a header", "records", {"first": "0a 23 ?? ?? 00 00 00", "middle": "0a 23 ?? ?? 03 00 00", "last": "0a 23 ?? ?? 05 00 00"}, 1),
    ("Get SDR, a later piece", "records", {"first": "0a 23 ?? ?? 00 00 05", "middle": "0a 23 ?? ?? 03 00 05", "last": "0a 23 ?? ?? 05 00 05"}, 1),
]  # fmt: skip
NAMES_NO_FRU = ("Get PICMG Properties", "Get Device ID", "Reserve SDR Repository", "Get SDR, a header", "Get SDR, a later piece")
BACK_LATER = "controller back later"  # the cell of a controller that is gone, once more
# Here the probe ends before it asks for the firmware, which OpenIPMI may report at any time.
WITHOUT_FIRMWARE = ("Get PICMG Properties", "Get Address Info")
KEYS = {"0x30200": ["0x30201"], "0x300": ["0x303"], "0x30100": ["0x30101"], "0x30300": ["0x30301", "0x30302"]}
HAPPENS = "as ever"
NO_PLACE = "0x0"  # an entity that has no address information yet


def cells():
    """All of them, with a sound one of each kind of call and place first: the measure of the others."""
    for heading, kind, places, first in REQUESTS:
        for place, request in places.items():
            for fault in ["none", *ORDERS]:
                if fault != "another FRU's" or heading not in NAMES_NO_FRU:
                    yield {"heading": heading, "kind": kind, "place": place, "request": request, "first": first, "fault": fault}


def listed(names):
    return ", ".join(str(name) for name in names)


def changes(old, new):
    """The values of a row that differ, or how many when they are more than two."""
    different = [name for name in old if old[name] != new.get(name)]
    if len(different) > 2:
        return f"{len(different)} other values"
    return ", ".join(f"{name} {shown(new.get(name))} instead of {old[name]}" for name in different)


def shown(value):
    """Bytes that are no text come in every form."""
    return value if not isinstance(value, str) or value.isascii() and value.isprintable() else "bytes that are no text"


def table_changes(group, sound, seen):
    if sound["rows"] and not seen["rows"]:
        return f"{group} has no rows" + (f" ({seen['result']})" if seen["result"] != sound["result"] else "")
    texts = []
    if seen["result"] != sound["result"]:
        texts.append(f"gives {seen['result']}")
    keys = KEYS.get(group, [])

    def by_key(rows):
        return {tuple(row[key] for key in keys): row for row in rows}

    old, new = by_key(sound["rows"]), by_key(seen["rows"])
    missing = [key for key in old if key not in new]
    if missing:
        texts.append("lacks " + listed(".".join(str(part) for part in key) for key in missing))
    added = [key for key in new if key not in old]
    if added:
        texts.append("has also " + listed(".".join(str(part) for part in key) for key in added))
    for key in old:
        if key in new and old[key] != new[key]:
            name = ".".join(str(part) for part in key)
            texts.append((f"{name} has " if name else "has ") + changes(old[key], new[key]))
    return f"{group} " + ", ".join(texts) if texts else ""


def tables_text(sound, seen):
    if not any(table["rows"] for table in seen.values()):
        results = {}
        for group, table in seen.items():
            if table["result"] != sound[group]["result"]:
                results.setdefault(table["result"], []).append(group)
        return ["no table has rows"] + [f"{result} from {listed(groups)}" for result, groups in results.items()]
    return [text for group in sound if (text := table_changes(group, sound[group], seen[group]))]


def led_text(sound, seen):
    if set(seen) != set(sound):
        return f"with {len(seen)} LEDs"
    return ", ".join(f"LED {led} {seen[led] or 'without colours'}" for led in sound if seen[led] != sound[led])


def entity_text(sound, seen):
    texts, without = [], []
    if (seen["entity"], seen["site"]) == (NO_PLACE, 0):
        without.append("place")
    elif (seen["entity"], seen["site"]) != (sound["entity"], sound["site"]):
        texts.append(f"at site {seen['site']}" + (f" as {seen['entity']}" if seen["entity"] != sound["entity"] else ""))
    for name, text in (
        ("firmware", lambda: f"has firmware {listed(seen['firmware'])}"),
        ("inventory", lambda: inventory_text(sound["inventory"], seen["inventory"])),
        ("leds", lambda: led_text(sound["leds"], seen["leds"])),
    ):
        if not seen[name] and sound[name]:
            without.append(name.replace("leds", "LEDs"))
        elif seen[name] != sound[name]:
            texts.append(text())
    return ", ".join(([f"without {listed(without)}"] if without else []) + texts)


def inventory_text(sound, seen):
    different = [name for name in sound if seen[name] != sound[name]]
    return f"has another inventory ({listed(different)})"


def model_text(sound, seen):
    if not seen["model"]:
        return "nothing"
    texts = {}
    for fru, entity in sound["model"].items():
        text = entity_text(entity, seen["model"][fru]) if fru in seen["model"] else "missing"
        if text:
            texts.setdefault(text, []).append(fru)
    parts = [f"FRU {listed(frus)} {text}" for text, frus in texts.items()]
    extra = [fru for fru in seen["model"] if fru not in sound["model"]]
    if extra:
        parts.append(f"also FRU {listed(extra)}")
    if seen["records"] != sound["records"]:
        parts.append(f"records: {listed(seen['records']) or 'none'}")
    return "; ".join(parts) or HAPPENS


def changed_read(old, new):
    if new["row"] is None or new["result"] != old["result"]:
        return f"gives {new['result']}"
    return f"has {changes(old['row'], new['row'])}"


def outcome_text(cell, sound, seen):
    outcome, old = seen["outcome"], sound["outcome"]
    if cell["kind"] == "inventory":
        return [] if outcome == old else [f"Init gives {outcome}"]
    if outcome == old:
        return []
    if isinstance(outcome, dict):
        return ["the read " + changed_read(old, outcome)]
    return [f"the write gives {outcome}" if cell["kind"] == "set-led" else f"the call gives {outcome}"]


def host_text(cell, sound, seen):
    texts = outcome_text(cell, sound, seen)
    if cell["fault"] == "lost without a time-out":
        texts.insert(0, f"{'the next command ' if 'next' in seen else ''}waits until the reply is released; then")
    if seen.get("next") != sound.get("next"):
        texts.append("the next command " + changed_read(sound["next"], seen["next"]))
    if seen.get("controls") != sound.get("controls"):
        texts.append(f"the controller got it for FRU {listed(seen['controls'])}" if seen["controls"] else "the controller got none")
    new = sorted(set(seen["errors"]) - set(sound["errors"]))
    if new:
        texts.append("says " + listed(f"“{text.strip()}”" for text in new))
    texts += tables_text(sound["tables"], seen["tables"])
    if len(texts) == 1 and texts[0].endswith("then"):
        texts.append(HAPPENS)
    return "; ".join(texts).replace("then;", "then") or HAPPENS


def row_of(cell, sound, seen):
    """(what the host sees, what the model holds, time-outs)"""
    if seen["outcome"] is None and "model" not in seen:
        without_end = seen["time-outs"] >= ROUNDS_OF_A_LOOP
        return "waits for ever; the host has to be ended", "-", "no end" if without_end else str(seen["time-outs"])
    return host_text(cell, sound, seen), model_text(sound, seen), str(seen["time-outs"])


def without_firmware(seen):
    """The same, when the firmware is not to be compared."""
    for entity in seen.get("model", {}).values():
        entity["firmware"] = []
    return seen


def rows(results):
    """{heading: {(fault, place): row}} of what fault_cells.run has seen."""
    results = [(cell, without_firmware(seen) if cell["heading"] in WITHOUT_FIRMWARE else seen) for cell, seen in results]
    sound = {(cell["heading"], cell["place"]): seen for cell, seen in results if cell["fault"] == "none"}
    page = {}
    for cell, seen in results:
        own = page.setdefault(cell["heading"], {})
        measure = sound[cell["heading"], cell["place"]]
        if cell["fault"] != "none":
            own[cell["fault"], cell["place"]] = row_of(cell, measure, seen)
        if "afterwards" in seen:
            later = "; ".join(tables_text(measure["tables"], seen["afterwards"])) or HAPPENS
            own[BACK_LATER, cell["place"]] = (later, own[cell["fault"], cell["place"]][1], "0")
    return page


def section(heading, own):
    """Places with the same row share it, and so do faults that do the same in every place."""
    lines = [f"## {heading}", "", "| fault | FRU | the host sees | the model holds | time-outs |", "|---|---|---|---|---|"]
    request = next(each for each in REQUESTS if each[0] == heading)
    alike = {}
    for fault in dict.fromkeys(fault for fault, _ in own):
        alike.setdefault(tuple(own.get((fault, place)) for place in request[2]), []).append(fault)
    for of_places, faults in alike.items():
        shared = {}
        for place, row in zip(request[2], of_places):
            if row is not None:  # it was left out
                shared.setdefault(row, []).append(place)
        lines += [f"| {listed(faults)} | {listed(places) or '-'} | {' | '.join(row)} |" for row, places in shared.items()]
    return "\n".join(lines) + "\n"


def sections(results):
    return {heading: section(heading, own) for heading, own in rows(results).items()}


def parts(text):
    """(head, {heading: section}) of the page."""
    head, *rest = text.split("\n## ")
    found = {part.split("\n", 1)[0]: "## " + part.rstrip("\n") + "\n" for part in rest}
    explained = [heading for heading in found if heading not in [request[0] for request in REQUESTS]]
    return "\n".join([head, *(found.pop(heading) for heading in explained)]), found


def rows_of(section):
    """{(fault, place): row} of a section's text."""
    found = {}
    for line in section.splitlines()[4:]:
        faults, places, *row = line.strip("| ").split(" | ")
        for fault in faults.split(", "):
            for place in places.split(", "):
                found[fault, "" if place == "-" else place] = tuple(row)
    return found

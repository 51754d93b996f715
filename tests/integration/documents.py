"""What the documents show: their examples, command lines and outputs, and how an output is compared with what came.

An example is a code block with command lines. Those after "$ " have their output below them, as a terminal shows it; without
"$ " each line is a command, and nothing is shown. "…" stands for what was cut out of a line, and on a line of its own for
lines that were cut; "^C" is the key, pressed when the line before has come. A comment may name the blade: "# on the full blade",
"# without a controller"; "# beside a resident host" holds for the rest of the block, too, and brings one up.
"""

import re
import shutil
from pathlib import Path

FOLDER = Path(__file__).parents[2]
PAGES = [FOLDER / "README.md", *sorted((FOLDER / "docs").glob("*.md"))]
# How the examples of packaging.md begin that need installed packages: tools/package/page runs these, Integration.documents the others.
WITH_PACKAGES = ("apt-get install ", "cp -r /usr/share/doc/libipmi-adaptor-dev/", "systemctl enable ")
OURS = ("bmhost", "bladesim", "ipmitool", "./dev")
# Programs that a machine of the tests need not have: they are recognised nevertheless.
OF_A_BOOTED_SYSTEM = ("systemctl", "journalctl")

CUT = "…"
KEY = "^C"
LOG_LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} <\d> |    \| ")


class Command:
    def __init__(self, words, shown=None, resident=False):
        self.text = words
        self.shown = shown  # the lines below it, or None when the page shows none
        self.resident = resident  # whether a resident host has the blade

    @property
    def program(self):
        return self.text.split()[0]

    @property
    def blade(self):
        """The options of the bladesim in which it runs; None when it makes its own blade, or needs none."""
        if self.program in ("cmake", "g++", "export", "cd") or re.match(r"bladesim shelf \d+ --", self.text):
            return None
        if re.match(r"bladesim (.* )?--", self.text) and not re.match(r"bladesim [a-z]", self.text):
            return None
        if "# without a controller" in self.text:
            return ("--no-ipmi",)
        named = re.search(r"# .*\bon the ([a-z0-9-]+) blade\b", self.text)
        return ("--blade", named[1] if named else "typical")

    @property
    def is_form(self):
        """The form of a command, not a command itself: it has words in capitals, choices, or optional parts."""
        words = re.sub(r"""#.*|'[^']*'|"[^"]*"|\$\([^)]*\)""", "", self.text)
        return bool(re.search(r"(?<![\w$/.=-])[A-Z]+\d?(?![\w=])|[\[\]…]|\w\|\w|\.\.\.", words))

    @property
    def interrupt(self):
        """The text at which it gets a Ctrl-C: that of the line before the page's, or what a resident host says last."""
        if self.shown and KEY in self.shown:
            line = normal(self.shown[self.shown.index(KEY) - 1])
            return re.sub(r"^<(time|moment)>", "", line).split(CUT)[0].strip()
        if re.search(r"bmhost (watch|events)( |$)", self.text):
            return "health"
        if re.search(r"bmhost web( |$)", self.text):
            return "serves at"
        return "health: monitored" if re.search(r"bmhost run( |$)", self.text) else None


class Example:
    """One code block, or one command within a sentence."""

    def __init__(self, page, line, commands):
        self.page, self.line, self.commands = page, line, commands

    def __str__(self):
        return f"{self.page.name}:{self.line}"


def is_program(word):
    return word in OURS or word in OF_A_BOOTED_SYSTEM or shutil.which(word) is not None


def code_blocks(page):
    """Gives (number of its first line, its lines) of each code block, and the lines outside of all of them."""
    lines = page.read_text().splitlines()
    blocks, rest, at = [], [], 0
    while at < len(lines):
        begin = at
        if lines[at].startswith("```"):
            at += 1
            while not lines[at].startswith("```"):
                at += 1
            blocks.append((begin + 2, lines[begin + 1 : at]))
            at += 1
        elif lines[at].startswith("    ") and not lines[at - 1].strip():
            while at < len(lines) and (lines[at].startswith("    ") or not lines[at].strip()):
                at += 1
            blocks.append((begin + 1, [line[4:] for line in "\n".join(lines[begin:at]).rstrip().split("\n")]))
            rest.append("")
        else:
            rest.append(lines[at])
            at += 1
    return blocks, rest


def whole_commands(lines):
    """Command lines with those that they go on in, and what stands below each."""
    commands = []
    for line in lines:
        last = commands[-1] if commands else None
        if last and not last[1] and re.search(r"(\\|\|)$", last[0]):
            last[0] += "\n" + line
        elif line.startswith("$ "):
            commands.append([line[2:], []])
        else:
            last[1].append(line)
    return commands


def commands_of(lines):
    """The commands of a code block; none when it is not an example."""
    commands = block_commands(lines)
    for before, command in zip([None, *commands], commands):
        command.resident = "# beside a resident host" in command.text or (before is not None and before.resident)
    return commands


def block_commands(lines):
    if any(line.startswith("$ ") for line in lines):
        assert lines[0].startswith("$ "), f"an example has to begin with its command: {lines[0]}"
        return [Command(text, shown) for text, shown in whole_commands(lines)]
    if not is_program(lines[0].split()[0]):
        return []
    if lines[0].startswith("./dev "):  # with what they do beside them
        return [Command(re.split(r"\s{2,}", line)[0]) for line in lines if line.strip()]
    commands = whole_commands([line if not line or line.startswith(" ") else "$ " + line for line in lines])
    for text, below in commands:
        assert not any(below), f"output is compared only of what follows a $: {text}"
    return [Command(text) for text, _ in commands]


def examples(page, no_examples):
    """Every example of a page, and the first lines of its other code blocks but those that begin with one of these texts."""
    found, others = [], []
    for number, lines in code_blocks(page)[0]:
        if lines[0].startswith(tuple(no_examples)):
            continue
        commands = commands_of(lines)
        if commands:
            found.append(Example(page, number, commands))
        else:
            others.append(lines[0])
    return found, others


def commands_in_sentences(page):
    _, rest = code_blocks(page)
    for span in re.findall(r"`([^`]+)`", re.sub(r"\n(?=\S)", " ", "\n".join(rest))):
        if span.startswith(tuple(f"{program} " for program in OURS)):
            yield Command(span.replace("\\|", "|"))


def normal(line):
    """Replaces what differs from run to run: times, durations, processes, and the width of columns."""
    line = re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z", "<moment>", line)
    line = re.sub(r"\d{4}-\d\d-\d\d(?= \d\d:)", "<date>", line)
    line = re.sub(r"\bprocess \d+", "process <n>", line)
    line = re.sub(r"\b\d\d:\d\d:\d\d(\.\d{3})?", "<time>", line)
    line = re.sub(r"(?<=\s)\d+\.\d\s+(?=\S)", "<ms> ", line)
    line = re.sub(r"\b\d+ s$", "<n> s", line)
    line = re.sub(r"(?<=\S) {2,}", "  ", line)
    return line.rstrip()


def pattern(shown):
    """A regular expression for the lines that a page shows."""
    parts = []
    for line in shown:
        if line.strip() == CUT:
            parts.append(r"(?:.*\n)*")
        else:
            parts.append(".*".join(re.escape(part) for part in normal(line).split(CUT)) + r"\n")
    return "".join(parts)


def is_shown(shown, output):
    """Whether the lines of a page match the output. The log is left out if the page shows none of it."""
    lines = output.splitlines()
    if not any(LOG_LINE.match(line) for line in shown):
        lines = [line for line in lines if not LOG_LINE.match(line)]
    came = "".join(normal(line) + "\n" for line in lines)
    while shown and not shown[-1].strip():
        shown = shown[:-1]
    return re.fullmatch(pattern(shown), came.rstrip("\n") + "\n" if came.strip() else "") is not None

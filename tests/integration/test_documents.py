"""Runs every command line of README.md and docs/, and compares the output that a page shows with the real one."""

import difflib
import json
import re
import shutil
import subprocess
import sys
from functools import lru_cache
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from documents import FOLDER, PAGES, WITH_PACKAGES, Command, code_blocks, commands_in_sentences, examples, is_shown

# Code blocks without a command line: page, how the block begins, what it is.
NO_EXAMPLES = [
    ("README.md", "board-manager host", "a drawing"),
    ("architecture.md", "board-manager host", "a drawing"),
    ("architecture.md", "before, at commit", "a drawing"),
    ("architecture.md", "after: ", "a drawing"),
    ("architecture.md", "ipmi/probe/IPMI_Probe_LEDState.cpp:4:", "what ./dev lint says of an include that is not here"),
    ("architecture.md", "host thread ", "a drawing"),
    ("bladesim.md", "host     bladesim", "two machines side by side, which ./dev vm starts"),
    ("bladesim.md", '{"open":1', "a part of a file"),
    ("metrics.md", "- alert: BladeAtFault", "Prometheus' configuration, which Integration.metrics_blades checks"),
    ("bladesim.md", "bladesim switch 1", "a file"),
    ("bladesim.md", "$BLADESIM_RUN_DIR/tools.json", "files"),
    ("bladesim.md", "bladesim (outside)", "a drawing"),
    ("bladesim.md", "blade.json:14:", "the error of a file that is not here"),
    ("bladesim.md", '"faults": [', "a part of a file"),
    ("bladesim.md", '"ethernet": {', "a part of a file"),
    ("bladesim.md", "bladesim: needs root", "the error of another machine; Integration.user sees the like"),
    ("capture.md", '{"bladesim_recording":1}', "a file"),
    ("capture.md", "bladesim: host.jsonl", "happens to a host that changed, which Integration.record sees"),
    ("capture.md", "bladesim: the controller at /dev/ipmi0", "happens when a controller goes away, which Integration.capture sees"),
    ("bmhost.md", "bmhost: the adaptor ended the process", "happens on a machine that OpenIPMI cannot use"),
    ("bmhost.md", "bmhost: `init` has not returned", "what Integration.waiting sees after ten seconds"),
    ("fleet.md", "bmhost-fleet /etc/bmhost-fleet", "writes into /etc and /var; Integration.fleet does the same elsewhere"),
    ("operations.md", "  ENTITYCAPTURE :: ReceivedFRUChunk", "traces that Integration.lost_late sees"),
    ("packaging.md", "find_package(", "a part of a CMakeLists.txt, which Integration.example_host builds"),
    ("shelf.md", '{"blades": [', "a file, of the form that Integration.shelf uses"),
    ("storage.md", "<?xml", "a file"),
    ("storage.md", "<3> [Storage]", "the form of a log line"),
    ("vm.md", "bladesim --ipmi guest (outside)", "a drawing"),
    ("web.md", "import sushy", "a script, which Integration.ansible runs"),
    ("web.md", "- hosts: localhost", "a playbook, which Integration.ansible runs"),
    ("web.md", "scrape_configs:", "Prometheus' configuration, which Integration.prometheus uses"),
]

# Command lines that cannot be run here: how they begin, and why.
NOT_RUN = [
    ("apt-get install ", "changes the machine; ./dev package does it in a Debian of its own"),
    ("apt-get purge ", "the same"),
    ("systemctl enable ", "the same; ./dev service does it in a Debian that is booted"),
    ("bladesim attach", "a second terminal in a blade that is running; Integration.attach opens one"),
    ("bladesim --blade odd-area -- bmhost init", "does not return; Integration.endless runs it"),
    ("bladesim --blade lost-late -- bmhost --log-level 3 init", "does not return; Integration.lost_late runs it"),
    ("curl http://127.0.0.1:18080", "a client of the door, which has ended by then; Integration.web does the same"),
    ("curl -u carla", "the same"),
    ("bmhost --connect https://blade7.example", "asks another machine; Integration.connect does the same"),
    ('curl -u "carla:', "the same; Integration.ansible runs it"),
    ("redfishtool -r 127.0.0.1:18080", "the same"),
    ("bladesim --blade typical --ipmi guest -- qemu-system-i386", "a whole machine; ./dev vm runs it"),
    ("bladesim --blade typical --ipmi machine -- bash", "within that machine"),
]


@lru_cache
def found(page):
    return examples(page, [begin for name, begin, _ in NO_EXAMPLES if name == page.name])


def is_run(command):
    return not any(command.text.startswith(begin) for begin, _ in NOT_RUN)


def all_commands():
    for page in PAGES:
        for example in found(page)[0]:
            yield from example.commands
        yield from commands_in_sentences(page)


@pytest.fixture
def desk(blade, tmp_path):
    """The reader's desk: a folder with the files that the pages mention, and a home folder."""
    (tmp_path / "home").mkdir()
    (tmp_path / "image.bin").write_text("an image")
    (tmp_path / "password").write_text("correct horse\n")
    (tmp_path / "accounts").write_text(f"anna:ReadOnly:$y$j9T${'a' * 22}${'a' * 43}\n")
    (tmp_path / "accounts").chmod(0o600)
    (tmp_path / "build").mkdir()
    (tmp_path / "build" / "release").symlink_to(bin_folder().parent)
    for name in ("example-host", "example-manager"):
        shutil.copytree(FOLDER / "docs" / name, tmp_path / name)

    def run(commands, options):
        """Runs them one after the other in one blade, or outside of any; gives {"status", "output"} of each."""
        around = [] if options is None else [bin_folder() / "bladesim", *options, "--"]
        # A simulated blade has the socket in its run folder, and what a command writes belongs on the desk.
        texts = [command.text.replace("--unix-socket /run/bmhost/", '--unix-socket "$BLADESIM_RUN_DIR"/') for command in commands]
        texts = [text.replace(" /tmp/", " ./") for text in texts]
        orders = {
            "resident": commands[0].resident,
            "commands": [{"command": text, "interrupt": command.interrupt} for text, command in zip(texts, commands)],
        }
        done = subprocess.run(
            [*around, sys.executable, "-B", Path(__file__).with_name("transcript.py")],
            cwd=tmp_path,
            env=blade.environment({"HOME": str(tmp_path / "home")}),
            input=json.dumps(orders),
            capture_output=True,
            text=True,
            timeout=SECONDS,
        )
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout)

    return run


@lru_cache
def help_of(*words):
    done = subprocess.run([bin_folder() / words[0], *words[1:], "--help"], capture_output=True, text=True, timeout=SECONDS)
    return done.stdout if done.returncode == 0 else ""


def check_form(command):
    """The words of a form stand in the program's help."""
    assert command.program in ("bmhost", "bladesim"), f"{command.text}: whose help has it?"
    form = re.sub(r"#.*|(?<=--blade) [a-z-]+", "", command.text)
    words = re.findall(r"(?:^|(?<=[\s|\[]))-{0,2}[a-z][a-z-]+(?=$|[\s|\]])", form)[1:]
    heads = re.match(r"\S+((?: [a-z][a-z-]+(?![\w|]))*)", form)[1].split()
    text = "".join(help_of(command.program, *heads[:count]) for count in range(len(heads) + 1))
    unknown = [word for word in words if not re.search(rf"(?<![\w-]){re.escape(word)}(?![\w-])", text)]
    assert not unknown, f"{command.text}: {command.program} --help knows nothing of {unknown}"


def check_dev(command):
    """./dev's commands are tiers of the gate, or need another machine, so only their existence is checked."""
    name = command.text.split()[1]
    assert name == "help" or (FOLDER / "tools" / "commands" / name).is_file(), f"no {command.text}"


def check_output(command, came):
    if command.shown is None:
        assert came["status"] == 0, f"{command.text}: status {came['status']}\n{came['output']}"
    elif not is_shown(command.shown, came["output"]):
        difference = difflib.unified_diff(command.shown, came["output"].splitlines(), "the page", "what came", lineterm="")
        pytest.fail(f"$ {command.text}\n" + "\n".join(difference))


def batches(commands):
    """Neighbours that run in the same blade, together."""
    result = []
    for command in commands:
        if not result or (result[-1][0].blade, result[-1][0].resident) != (command.blade, command.resident):
            result.append([])
        result[-1].append(command)
    return result


def tries(command, desk):
    """What came of it on one blade after the other, and last beside a resident host, until it succeeds."""
    typical, full = ("--blade", "typical"), ("--blade", "full")
    ways = [(None, False)] if command.blade is None else [(typical, False), (full, False), (typical, True)]
    if re.match(r"bmhost (watch|events)\b", command.text):
        ways = [(typical, True)]  # they would wait for one
    came = []
    for options, resident in ways:
        came += desk([Command(command.text, resident=resident)], options)
        if came[-1]["status"] == 0:
            break
    return came


@pytest.mark.parametrize("example", [example for page in PAGES for example in found(page)[0]], ids=str)
def test_an_example_gives_what_the_page_shows(example, desk):
    if example.page.name == "packaging.md" and example.commands[0].text.startswith(WITH_PACKAGES):
        return  # ./dev package and ./dev service run these
    runnable = []
    for command in example.commands:
        if command.is_form:
            check_form(command)
        elif command.text == "./dev run" and command.shown:
            pass  # below
        elif command.program == "./dev":
            check_dev(command)
        elif is_run(command):
            runnable.append(command)
    for batch in batches(runnable):
        for command, came in zip(batch, desk(batch, batch[0].blade)):
            check_output(command, came)


@pytest.mark.parametrize("text", sorted({command.text for page in PAGES for command in commands_in_sentences(page)}))
def test_a_command_within_a_sentence_works(text, desk):
    command = next(command for page in PAGES for command in commands_in_sentences(page) if command.text == text)
    if command.program == "./dev":
        check_dev(command)
    elif command.is_form:
        check_form(command)
    elif is_run(command):
        came = tries(command, desk)
        if all(each["status"] == 2 for each in came):
            check_form(command)  # the beginning of a command
        else:
            assert came[-1]["status"] == 0, f"{text}: {came}"


def test_dev_run_shows_what_readme_shows(blade, tmp_path):
    command = next(command for command in all_commands() if command.text == "./dev run" and command.shown)
    environment = blade.environment({"SCRATCH": str(tmp_path)})
    done = subprocess.run(["bash", "tools/run/blades"], cwd=FOLDER, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=SECONDS)
    check_output(command, {"status": done.returncode, "output": done.stdout})
    assert done.returncode == 0


def helps():
    for program in ("bmhost", "bladesim"):
        for head in re.findall(r"^  ([a-z]+(?:-[a-z]+)*)\b", help_of(program), re.MULTILINE):
            yield from re.findall(r"^Example: (.*)", help_of(program, head), re.MULTILINE)


@pytest.mark.parametrize("example", dict.fromkeys(helps()))  # a family stands in the list once for each of its commands
def test_the_example_of_a_help_works(example, desk):
    came = tries(Command(example), desk)
    assert came[-1]["status"] == 0, came


def test_every_code_block_is_an_example_or_known_to_be_none():
    unknown = [f"{page.name}: {begin}" for page in PAGES for begin in found(page)[1]]
    assert not unknown, "a code block that is not run, and that NO_EXAMPLES does not name"


def test_the_lists_name_nothing_that_no_page_has():
    begins = {page.name: [lines[0] for _, lines in code_blocks(page)[0]] for page in PAGES}
    stale = [f"{page}: {begin}" for page, begin, _ in NO_EXAMPLES if not any(line.startswith(begin) for line in begins[page])]
    texts = [command.text for command in all_commands()]
    stale += [begin for begin, _ in NOT_RUN if not any(text.startswith(begin) for text in texts)]
    assert not stale


def test_readme_counts_no_tests():
    """A number of tests would be wrong with the next commit."""
    assert not re.search(r"\b\d+ (unit |integration )?tests\b|\|\s*(unit|integration) tests[^|]*\|\s*\d", (FOLDER / "README.md").read_text())


@pytest.mark.parametrize("header", sorted((FOLDER / "platform" / "include" / "bm").glob("*.h")), ids=lambda header: header.name)
def test_a_host_in_cpp17_can_include(header):
    assert "C++17" in (FOLDER / "docs" / "packaging.md").read_text()
    words = ["g++", "-std=c++17", "-Wall", "-Wextra", "-pedantic", "-Werror", "-fsyntax-only", "-I", header.parents[1], "-x", "c++", "-"]
    done = subprocess.run(words, input=f"#include <bm/{header.name}>\n", capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stderr) == (0, "")


def test_a_host_in_cpp17_can_include_the_protocol():
    words = ["g++", "-std=c++17", "-Wall", "-Wextra", "-pedantic", "-Werror", "-fsyntax-only"]
    words += ["-I", FOLDER / "platform" / "include", "-I", FOLDER, "-x", "c++", "-"]
    text = "#include <common/veldo_common_protocol.h>\nstatic_assert(BM_ADAPTOR::g_GroupNames.size() == 12);\n"
    done = subprocess.run(words, input=text, capture_output=True, text=True, timeout=SECONDS)
    assert (done.returncode, done.stderr) == (0, "")

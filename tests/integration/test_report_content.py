"""A report beside a resident host: it is complete, and has no secret of host, machine or user. These tests run in a typical blade."""

import json
import os
import signal
import subprocess
import tarfile
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder
from inside import wait_until

BLADE = Path(os.environ.get("BLADESIM_RUN_DIR", "/nowhere"))
SECRET = "hunter2-is-the-secret"
# The machine's own files of these names would be changed otherwise.
WITH_OTHER_FILES = ["unshare", "--mount", "sh", "-c", 'mount --bind "$0" /etc && exec "$@"']
LOOKS = ["inventory", "leds", "status", "dsp", "switch"]
# Where there are no kernel's IPMI files, /proc/ipmi and /sys are missing.
PARTS = {
    *(look + ".txt" for look in LOOKS),
    *("versions.txt", "os-release", "packages.txt", "picture.json", "tables.jsonl", "log.txt", "interfaces.json", "interfaces.txt", "missing.txt"),
    *("storage/telq_qub_dsp_iptable_cfg.xml", "storage/telq_qub_switchport_cfg.xml", "ipmi/device.txt", "ipmi/dmesg.txt"),
}


def plant(folder):
    """A secret wherever a report or the host might come by one."""
    etc = folder / "etc"
    (etc / "bmhost").mkdir(parents=True)
    subprocess.run(["cp", "-a", "--no-preserve=ownership", "/etc/passwd", "/etc/group", "/etc/ld.so.cache", "/etc/os-release", etc], check=True)
    for name in ("accounts", "bmhost.toml"):
        (etc / "bmhost" / name).write_text(SECRET)
    (etc / "shadow").write_text(f"root:{SECRET}:19000:0:99999:7:::\n")
    settings = folder / "bmhost.toml"
    settings.write_text(f'# password = "{SECRET}"\nsweep = 1\nno-start = true\n')
    state = folder / "state"
    (state / "firmware").mkdir(parents=True)
    for file in (state / "firmware" / "other.image", state / "accounts", folder / ".netrc"):
        file.write_text(SECRET)
    storage = folder / "user" / "bmhost"
    storage.mkdir(parents=True)
    for name in ("other.xml", "bmhost_history"):
        (storage / name).write_text(SECRET)
    (BLADE / "other").write_text(SECRET)
    return settings


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    return tmp_path_factory.mktemp("report")


@pytest.fixture(scope="module")
def environment(folder):
    return {**os.environ, "PASSWORD": SECRET, "BM_PASSWORD": SECRET, "HOME": str(folder), "XDG_STATE_HOME": str(folder / "user")}


@pytest.fixture(scope="module")
def report(folder, environment):
    """The archive, made after the host was told something."""
    settings = plant(folder)
    words = [bin_folder() / "bmhostd", "--config", settings, "--state", folder / "state"]
    with (folder / "said").open("w") as said:
        process = subprocess.Popen([*WITH_OTHER_FILES, folder / "etc", *words], env=environment, stdout=said, stderr=said)

    def bmhost(*words):
        done = subprocess.run([*WITH_OTHER_FILES, folder / "etc", bin_folder() / "bmhost", *words], env=environment, capture_output=True, text=True, timeout=SECONDS)
        return done

    wait_until(lambda: (BLADE / "bmhost.sock").exists() and bmhost("inventory").returncode == 0)
    wait_until(lambda: bmhost("leds").returncode == 0)
    assert bmhost("switch", "disable", "2").returncode == 0
    # A setting that is unknown is told in the log, but not what stands there.
    settings.write_text(f'no-start = true\npassword = "{SECRET}"\n')
    process.send_signal(signal.SIGHUP)
    wait_until(lambda: "configuration not read again: " in bmhost("log").stdout)
    made = bmhost("--json", "report", folder / "report.tar.zst")
    assert (made.returncode, made.stderr) == (0, "")
    process.send_signal(signal.SIGTERM)
    assert process.wait(SECONDS) == 0, (folder / "said").read_text()
    subprocess.run(["zstd", "-q", "-d", folder / "report.tar.zst", "-o", folder / "report.tar"], check=True)
    with tarfile.open(folder / "report.tar") as archive:
        files = {member.name.removeprefix("bmhost-report/"): archive.extractfile(member).read() for member in archive if member.isfile()}
    return json.loads(made.stdout), files


def test_it_has_every_part_and_names_what_is_missing(report):
    told, files = report
    kernel = {name for name in files if name.startswith(("ipmi/proc/", "ipmi/sys/"))}
    missing = {each["part"] for each in told["missing"]}
    assert set(files) - kernel == PARTS
    assert set(told["parts"]) == set(files)
    # dmesg and journal are another matter in a container; nothing of the blade is missing.
    assert missing <= {"ipmi/proc", "ipmi/sys", "ipmi/dmesg.txt"}
    assert files["missing.txt"].decode().splitlines() == ([f"{each['part']}: {each['reason']}" for each in told["missing"]] or ["nothing is missing"])


def test_its_parts_are_the_hosts_own(report):
    files = report[1]
    picture = json.loads(files["picture.json"])
    assert picture["host"]["resident"]
    assert [port["enabled"] for port in picture["ports"]] == [True, False, True, True]
    assert b"order switch disable, port 2, asked by " in files["log.txt"]
    assert b"Switch Port Fabric 2  fabric    disabled" in files["switch.txt"]
    tables = [json.loads(line) for line in files["tables.jsonl"].splitlines() if line.startswith(b"{")]
    assert {"0x30000", "0x30200", "0x1200", "0x30e00"} <= {line["group"] for line in tables}


def test_no_secret_is_in_it(report):
    assert [name for name, content in report[1].items() if SECRET.encode() in content] == []

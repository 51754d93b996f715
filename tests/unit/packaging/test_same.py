"""The comparison of two builds' packages finds each difference, and none in the same bytes."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

SAME = Path(__file__).parents[3] / "tools" / "package" / "same"


def pack(folder, content="text", mode=0o644, time=1000000000, description="what it is"):
    """A package of one file in this folder."""
    source = folder.parent / "source"
    (source / "DEBIAN").mkdir(parents=True)
    (source / "DEBIAN" / "control").write_text(f"Package: one\nVersion: 1\nArchitecture: all\nMaintainer: A <a@example.org>\nDescription: {description}\n")
    file = source / "file"
    file.write_text(content)
    file.chmod(mode)
    for path in (file, source / "DEBIAN" / "control", source / "DEBIAN", source):
        os.utime(path, (time, time))
    folder.mkdir(exist_ok=True)
    # Older times stay, later ones become this one.
    environment = os.environ | {"SOURCE_DATE_EPOCH": "1100000000"}
    subprocess.run(["dpkg-deb", "--root-owner-group", "-b", source, folder / "one.deb"], check=True, capture_output=True, env=environment)
    shutil.rmtree(source)


def verdict(*folders):
    done = subprocess.run([sys.executable, SAME, *folders], capture_output=True, text=True, check=False)
    assert done.stderr == ""
    return done.returncode, done.stdout


@pytest.fixture
def folders(tmp_path):
    pack(tmp_path / "a")
    return tmp_path / "a", tmp_path / "b"


def test_the_same_bytes_are_the_same(folders):
    pack(folders[1])
    assert verdict(*folders) == (0, "   1 packages, bit for bit the same\n")


@pytest.mark.parametrize(
    ("difference", "words"),
    [
        ({"content": "test"}, "one.deb: ./file: content\n"),
        ({"mode": 0o600}, "one.deb: ./file: owner, mode, time or kind\n"),
        ({"time": 1000000001}, "one.deb: ./file: owner, mode, time or kind\n"),
        ({"description": "another"}, "one.deb: ./control: content\n"),
    ],
)
def test_a_difference_is_named(difference, words, folders):
    pack(folders[1], **difference)
    status, said = verdict(*folders)
    assert status == 1 and words in said


def test_another_packing_is_told(folders):
    folders[1].mkdir()
    package = folders[1] / "one.deb"
    shutil.copy(folders[0] / "one.deb", package)
    with package.open("r+b") as file:  # the time of the archive's first member
        file.seek(24)
        file.write(b"999999999   ")
    assert verdict(*folders) == (1, "one.deb: the same content, packed differently\n   1 packages\n")
    assert verdict("--content", *folders) == (0, "   1 packages, of the same content\n")


def test_of_other_content_is_other_content(folders):
    pack(folders[1], time=1000000001)
    status, said = verdict("--content", *folders)
    assert status == 1 and "one.deb: ./file: owner, mode, time or kind\n" in said


def test_other_packages_or_none_are_no_success(folders):
    folders[1].mkdir()
    assert verdict(*folders)[0] == 1
    assert verdict(folders[1], folders[1])[0] == 1

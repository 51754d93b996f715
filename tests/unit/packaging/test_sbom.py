"""The description of the packages that ./dev package makes: it says what is in them, twice the same, and its check finds what is wrong."""

import copy
import json
import os
import subprocess
import sys
from pathlib import Path

import pytest

TOOLS = Path(__file__).parents[3] / "tools" / "package"
CONTROL = """Package: {name}
Version: 1.2-3
Architecture: all
Maintainer: Somebody <somebody@example.org>
Depends: {depends}
Description: what it is
 More of it.
"""


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    return tmp_path_factory.mktemp("packages")


@pytest.fixture(scope="module")
def packages(folder):
    """One package that needs another one and two of Debian, of which this system has one."""
    paths = []
    for name, depends in (("inner", "libc6 (>= 2.0)"), ("outer", "inner (= 1.2-3), libc6 (>= 2.0) | musl, nowhere-to-be-had")):
        source = folder / name
        (source / "DEBIAN").mkdir(parents=True)
        (source / "DEBIAN" / "control").write_text(CONTROL.format(name=name, depends=depends))
        (source / "usr").mkdir()
        (source / "usr" / "one").write_text(f"one of {name}")
        (source / "usr" / "two").write_text("the same in both")
        path = folder / f"{name}_1.2-3_all.deb"
        subprocess.run(["dpkg-deb", "--root-owner-group", "-b", source, path], check=True, capture_output=True)
        paths.append(path)
    return paths


def make(folder, packages):
    (folder / "build-list").write_text("# tools\ncoreutils  # for a reason\n\n")
    words = [sys.executable, TOOLS / "sbom", "1000000000", folder / "build-list", *packages]
    return subprocess.run(words, capture_output=True, text=True, check=True, env=os.environ | {"PYTHONHASHSEED": "random"}).stdout


@pytest.fixture(scope="module")
def made(folder, packages):
    return make(folder, packages)


def complaints(document, packages, tmp_path):
    path = tmp_path / "checked.json"
    path.write_text(json.dumps(document))
    done = subprocess.run([sys.executable, TOOLS / "check-sbom", path, *packages], capture_output=True, text=True, check=False)
    assert done.stderr == ""
    found = [line.removeprefix(f"{path}: ") for line in done.stdout.splitlines() if not line.startswith("   ")]
    assert (done.returncode == 0) == (found == [])
    return found


def test_says_what_the_packages_consist_of(made, packages, tmp_path):
    document = json.loads(made)
    assert complaints(document, packages, tmp_path) == []
    assert document["creationInfo"]["created"] == "2001-09-09T01:46:40Z"
    names = {package["SPDXID"]: package["name"] for package in document["packages"]}
    relations = {(names.get(each["spdxElementId"]), each["relationshipType"], names.get(each["relatedSpdxElement"])) for each in document["relationships"]}
    assert {("outer", "DEPENDS_ON", "inner"), ("outer", "DEPENDS_ON", "libc6"), ("coreutils", "BUILD_DEPENDENCY_OF", "inner")} <= relations
    version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", "libc6"], capture_output=True, text=True, check=True).stdout
    assert [package["versionInfo"] for package in document["packages"] if package["name"] == "libc6"] == [version]
    assert [package.get("comment") for package in document["packages"] if package["name"] == "nowhere-to-be-had"] == ["not installed where the packages were built"]
    assert sorted(file["fileName"] for file in document["files"]) == ["./usr/one", "./usr/one", "./usr/two", "./usr/two"]


def test_is_the_same_each_time(made, folder, packages):
    assert make(folder, packages) == made


def rid(document, kind, name):
    return next(each for each in document[kind] if each.get("name", each.get("fileName")) == name)


DAMAGE = {
    "SPDXRef-Package-outer stands 2 times": lambda it: it["packages"].append(copy.deepcopy(rid(it, "packages", "outer"))),
    "SPDXRef-Package-outer DEPENDS_ON SPDXRef-Package-gone leads nowhere": lambda it: it["relationships"].append(
        {"spdxElementId": "SPDXRef-Package-outer", "relationshipType": "DEPENDS_ON", "relatedSpdxElement": "SPDXRef-Package-gone"}
    ),
    "SPDXRef-Package-outer LIKES SPDXRef-Package-inner leads nowhere": lambda it: it["relationships"].append(
        {"spdxElementId": "SPDXRef-Package-outer", "relationshipType": "LIKES", "relatedSpdxElement": "SPDXRef-Package-inner"}
    ),
    "outer is not described": lambda it: it["relationships"].remove(
        {"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": "SPDXRef-Package-outer"}
    ),
    "outer: other files than the package's": lambda it: it["files"][-1]["checksums"][0].update(checksumValue="0" * 40),
    "outer: not its verification code": lambda it: rid(it, "packages", "outer")["packageVerificationCode"].update(packageVerificationCodeValue="0" * 40),
    "outer: another version or checksum than the package's": lambda it: rid(it, "packages", "outer").update(versionInfo="9"),
    "outer: no version of libc6 (>= 2.0) | musl": lambda it: rid(it, "packages", "libc6").pop("versionInfo"),
    "outer: nothing about nowhere-to-be-had": lambda it: rid(it, "packages", "nowhere-to-be-had").update(name="another"),
    "spdxVersion: 'SPDX-2.2'": lambda it: it.update(spdxVersion="SPDX-2.2"),
    "documentNamespace: 'relative'": lambda it: it.update(documentNamespace="relative"),
    "creationInfo: {}": lambda it: it.update(creationInfo={}),
    "SPDXRef-Package-inner: no name, or no downloadLocation": lambda it: rid(it, "packages", "inner").pop("downloadLocation"),
    "SPDXRef-Package-inner: only files that were looked at have a verification code": lambda it: rid(it, "packages", "inner").update(filesAnalyzed=False),
}


@pytest.mark.parametrize("complaint", DAMAGE)
def test_its_check_finds(complaint, made, packages, tmp_path):
    document = json.loads(made)
    DAMAGE[complaint](document)
    assert complaint in complaints(document, packages, tmp_path)

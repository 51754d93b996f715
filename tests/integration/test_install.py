"""An installation by `cmake --install` works, even after it has moved: programs find platform, plug-in and helpers relative to themselves."""

import os
import shutil
import subprocess

import pytest
from conftest import SECONDS, bin_folder


@pytest.fixture(scope="module")
def tree(tmp_path_factory):
    """The folder with bin, lib and share in it; it was installed into another one."""
    folder = tmp_path_factory.mktemp("tree")
    subprocess.run(["cmake", "--install", bin_folder().parent, "--prefix", folder / "first"], check=True, stdout=subprocess.DEVNULL)
    shutil.move(folder / "first", folder / "moved")
    return folder / "moved"


@pytest.fixture(autouse=True)
def no_help_for_the_loader(monkeypatch):
    monkeypatch.delenv("LD_LIBRARY_PATH", raising=False)


def platforms_of(file):
    """The platform's files that the loader takes for it."""
    lines = subprocess.run(["ldd", file], capture_output=True, text=True, check=True).stdout.splitlines()
    return [os.path.realpath(line.split()[2]) for line in lines if "libbm_platform" in line and "not found" not in line]


@pytest.mark.parametrize("pattern", ["bin/bmhost", "bin/bladesim", "lib/**/libipmi_adaptor.so", "lib/**/vxpsim"])
def test_the_platform_of_the_tree_is_loaded(tree, pattern):
    (file,) = tree.glob(pattern)
    (platform,) = tree.glob("lib/**/libbm_platform.so.*.*.*")
    assert platforms_of(file) == [str(platform)]


def test_bmhost_finds_the_plugin(blade, tree):
    done = blade.run("--no-ipmi", "--", tree / "bin/bmhost", "--simulated", "inventory")
    assert done.returncode == 0, done.stderr
    assert "KZB88120W" in done.stdout


def test_a_blade_goes_into_service(blade, tree):
    command = [tree / "bin/bladesim", "--blade", "typical", "--", tree / "bin/bmhost", "script", "-"]
    done = subprocess.run(command, env=blade.environment(None), input="init\nstart\n", capture_output=True, text=True, timeout=SECONDS)
    assert done.returncode == 0, done.stderr
    assert "start: 1 (success)" in done.stdout

"""bladesim for an ordinary user: who is he in a blade, what does the blade leave him, and what if the machine gives him none."""

import os
import subprocess
from pathlib import Path

import pytest
from conftest import SECONDS, bin_folder

AS_USER = Path(__file__).with_name("as-user")


def run(blade, *arguments, before=(AS_USER,), env=None):
    return subprocess.run(
        [*before, bin_folder() / "bladesim", *arguments], env=blade.environment(env), capture_output=True, text=True, timeout=SECONDS
    )


def test_the_user_is_root_in_his_blade_and_nobody_else_is_there(blade):
    done = run(blade, "--", "sh", "-c", "id -u; id -g; cat /proc/1/comm; ip -o link | wc -l")
    assert (done.returncode, done.stdout, done.stderr) == (0, "0\n0\nbladesim\n2\n", "")


def test_what_he_writes_elsewhere_is_his_own(blade, tmp_path):
    assert run(blade, "--no-ipmi", "--", "touch", tmp_path / "file").returncode == 0
    status = (tmp_path / "file").stat()
    assert (status.st_uid, status.st_gid) == (os.getuid(), os.getgid())


@pytest.mark.parametrize("command", ["ipmitool -I open mc info | grep -c '^Device ID'", "bmhost inventory | grep -c 'PN-100-7200-05'", "bladesim show requests --json | wc -l", "mavk_init=$(/usr/korvel/bin/mavk_init) && bladesim tool show | grep -c mavk_init"])
def test_what_is_asked_of_his_blade_is_answered(blade, command):
    done = run(blade, "--blade", "typical", "--", "sh", "-c", command)
    assert (done.returncode, done.stdout) == (0, "1\n"), done.stderr


def test_a_blade_of_his_can_have_a_blade_in_it(blade):
    done = run(blade, "--", bin_folder() / "bladesim", "--blade", "typical", "--", "sh", "-c", "ipmitool -I open mc info | head -n 1")
    assert (done.returncode, done.stdout) == (0, "Device ID                 : 54\n")


def test_where_there_are_no_user_namespaces_the_setting_is_named(blade):
    # A namespace that may have none within it; its user has just the right that sets that.
    none = ["unshare", "--user", "--map-user=1000", "--keep-caps", "sh", "-ec", 'echo 0 >/proc/sys/user/max_user_namespaces; exec "$@"', "sh"]
    done = run(blade, "--", "true", before=none)
    assert (done.returncode, done.stdout) == (3, "")
    assert done.stderr == (
        "bladesim: needs root, or a user namespace of its own, which fails: No space left on device: "
        "user.max_user_namespaces is 0; root may allow them: sysctl -w user.max_user_namespaces=1000\n"
    )

"""Eight host threads use all operations of a blade in service while its controller is restarted every second, for as many seconds as
HOST_TEST_SECONDS says. This test runs in the typical blade."""

import json
import os
import subprocess

from bladefile import AMC, BladeFile, number
from conftest import SECONDS, bin_folder
from inside import order, raw, wait_until

DURATION = os.environ.get("HOST_TEST_SECONDS", "3")
PAUSE = 1  # s, between two restarts


def answers():
    try:
        return raw(0x06, 0x01) is not None
    except OSError:
        return False


def test_no_operation_disturbs_another_while_the_controller_comes_and_goes(tmp_path):
    bay = min(number(fru["site"]["number"]) for fru in BladeFile("typical").frus_of(AMC))
    image = tmp_path / "image"
    image.write_bytes(b"image")
    program = [bin_folder() / "host_threads", DURATION, str(bay), tmp_path / "storage", image]
    with open(tmp_path / "errors", "w") as errors:
        host = subprocess.Popen(program, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors, text=True)
    try:
        assert host.stdout.readline() == "started\n", (tmp_path / "errors").read_text()
        restarts = 0
        ended = subprocess.Popen(["head", "-n", "1"], stdin=host.stdout, stdout=subprocess.PIPE, text=True)
        while True:
            try:
                assert ended.communicate(timeout=PAUSE)[0] == "ended\n", (tmp_path / "errors").read_text()
                break
            except subprocess.TimeoutExpired:
                order("controller", "restart")
                restarts += 1
        wait_until(answers)
        out, _ = host.communicate("go on\n", timeout=SECONDS)
    finally:
        host.kill()
        host.wait()
    assert host.returncode == 0, (tmp_path / "errors").read_text()
    result = json.loads(out)
    print("restarts:", restarts, "rounds and those that were good:", result["rounds"], "events:", result["events"])
    assert restarts > 0
    for name, (rounds, good) in result["rounds"].items():
        assert rounds > 0, name
        assert good > 0 or name == "upgrade", name
    assert (result["leds"], result["stop"], result["fin"]) == (True, True, True)
    assert result["events"] > 0

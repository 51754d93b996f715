"""Eight host threads read and set LEDs at once, for as many seconds as LED_TEST_SECONDS says. This test runs in the typical blade."""

import json
import os
import subprocess

from bladefile import AMC, BladeFile, number
from conftest import SECONDS, bin_folder
from inside import raw

DURATION = os.environ.get("LED_TEST_SECONDS", "3")


def test_every_answer_comes_and_the_last_write_stays():
    bay, fru = min((number(fru["site"]["number"]), fru["id"]) for fru in BladeFile("typical").frus_of(AMC))
    done = subprocess.run(
        [bin_folder() / "led_threads", DURATION, str(bay)], capture_output=True, text=True, timeout=SECONDS + int(DURATION)
    )
    assert done.returncode == 0, done.stderr
    result = json.loads(done.stdout.splitlines()[-1])
    print("rounds of each thread:", result["rounds"])
    assert min(result["rounds"]) > 0
    for led in result["leds"]:
        reply = raw(0x2C, 0x08, 0, 0 if led["board"] else fru, led["led"] - 1)
        assert reply[5:7] == [led["off"] // 10, led["on"] // 10], led

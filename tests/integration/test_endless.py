"""An inventory area of 40 bytes: Init never returns, by design. These tests run in such a blade (odd-area), whose FRU 1 has it."""

from inside import host, requests, sound_blade, wait_until  # noqa: F401 (two are fixtures)

BEHIND_THE_END = "0a 11 01 30 00 10"
# The chunk that was refused is asked for again, but of FRU 0, whose reading then goes on from there.
AGAIN_OF_FRU_0 = "0a 11 00 30 00 10"


def chunks():
    return [request for request in requests() if request.startswith("0a 11")]


def test_a_probe_of_an_odd_area_asks_behind_its_end_and_then_for_ever(host):  # noqa: F811
    waiting = host("init\n")
    wait_until(lambda: chunks().count(AGAIN_OF_FRU_0) >= 3)
    asked = chunks()
    assert asked[asked.index(BEHIND_THE_END) + 1] == AGAIN_OF_FRU_0
    assert asked[asked.index(BEHIND_THE_END) - 3 : asked.index(BEHIND_THE_END)] == [f"0a 11 01 {at:02x} 00 10" for at in (0, 16, 32)]
    wait_until(lambda: chunks().count(AGAIN_OF_FRU_0) >= 50)
    assert waiting.is_waiting()


def test_a_probe_for_ever_takes_no_more_memory(host):  # noqa: F811
    waiting = host("init\n")

    def resident():
        with open(f"/proc/{waiting.process.pid}/statm") as file:
            return int(file.read().split()[1])

    wait_until(lambda: chunks().count(AGAIN_OF_FRU_0) >= 100)
    early = resident()
    wait_until(lambda: chunks().count(AGAIN_OF_FRU_0) >= 1000)
    assert resident() <= early + 25  # pages; an area kept at every round would be more

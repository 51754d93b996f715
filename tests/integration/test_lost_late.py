"""One reply lost after the end of FRU 0's area: Init never returns, by design. Run in such a blade (lost-late), which loses it once."""

from inside import host, order, requests, show, sound_blade, wait_until  # noqa: F401 (two are fixtures)

# FRU 0 has 80 bytes: the lost piece of FRU 1 is requested again from FRU 0, after its end.
LOST = "0a 11 01 50 00 10"
AGAIN_OF_FRU_0 = "0a 11 00 50 00 10"
NO_ANSWER, NO_SUCH_BYTES = 0xC3, 0xC9

TRACES_OF_A_ROUND = [
    "ENTITYCAPTURE :: ReceivedFRUChunk FRUID=0",
    "ENTITYCAPTURE :: ReceivedFRUChunk CC=0xc9",
    "ENTITYCAPTURE :: ReceivedFRUChunk - offsets Rcvd=80",
    "ENTITYCAPTURE :: ReceivedFRUChunk - Error Receiving data CC 201",
    "ENTITYCAPTURE :: SendGetFRUChunk FRUID=0 offset=80",
]


def chunks():
    return [request for request in show("log") if request["request"].startswith("0a 11")]


def is_in_order(wanted, lines):
    rest = iter(lines)
    return all(any(line.endswith(each) for line in rest) for each in wanted)


def test_a_reply_lost_behind_fru_0s_end_keeps_init_until_the_host_is_started_anew(host, tmp_path):  # noqa: F811
    log = tmp_path / "log"
    waiting = host("init\n", "--log-level", "3", "--log", str(log))
    wait_until(lambda: requests().count(AGAIN_OF_FRU_0) >= 50)
    assert waiting.is_waiting()

    asked = chunks()
    at = [each["request"] for each in asked].index(LOST)
    assert (asked[at]["code"], asked[at]["fault"]) == (NO_ANSWER, "lost")
    assert {(each["request"], each["code"]) for each in asked[at + 1 : -1]} == {(AGAIN_OF_FRU_0, NO_SUCH_BYTES)}

    lines = log.read_text().splitlines()
    lost = next(index for index, line in enumerate(lines) if line.endswith("Error Receiving data CC 195"))
    assert any(line.endswith("ReceivedFRUChunk FRUID=1") for line in lines[lost - 4 : lost])
    assert is_in_order(TRACES_OF_A_ROUND * 10, lines[lost:])

    waiting.kill()
    order("show", "clear")
    again = host("init\n")
    assert [line["result"] for line in again.lines()] == [1]
    assert LOST in requests() and AGAIN_OF_FRU_0 not in requests()

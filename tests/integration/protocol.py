"""The numbers and texts of the protocol by name, as common/veldo_common_protocol.h has them: from protocol import RTM_BAY."""

import re
from pathlib import Path

HEADER = (Path(__file__).parents[2] / "common" / "veldo_common_protocol.h").read_text()
NAMES = {name: int(number, 0) for name, number in re.findall(r"\b([A-Z]\w+)(?: = |, )(0x[0-9A-Fa-f]+|\d+)\b", HEADER)}
NAMES.update(re.findall(r'\b([A-Z]\w+) = "([^"]*)";', HEADER))


def __getattr__(name):
    try:
        return NAMES[name]
    except KeyError:
        raise AttributeError(f"the protocol has no {name}") from None

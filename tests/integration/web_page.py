"""What docs/web.md shows in its section for the tools that people have, so that each of it is tried as it stands."""

from documents import FOLDER, code_blocks, commands_of

PAGE = FOLDER / "docs" / "web.md"
TITLE = "## With the tools you have"


def section_blocks():
    lines = PAGE.read_text().splitlines()
    begin = lines.index(TITLE) + 1
    end = next(number for number in range(begin + 1, len(lines)) if lines[number].startswith("## "))
    return [block for number, block in code_blocks(PAGE)[0] if begin < number <= end]


def section_block(first):
    """The code block that begins with this line."""
    (block,) = (block for block in section_blocks() if block[0].startswith(first))
    return "\n".join(block) + "\n"


def commands_of_section():
    return [command.text for block in section_blocks() if block[0].startswith("redfishtool ") for command in commands_of(block)]


def tried(text, door, tls):
    """With the addresses and the account of this door."""
    return text.replace("blade7.example:8443", f"127.0.0.1:{tls}").replace("127.0.0.1:18080", f"127.0.0.1:{door.port}").replace("carla", "operator")

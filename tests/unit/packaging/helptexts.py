"""What a program's help says that there is: its options, its commands and theirs, and the words that an argument may be."""

import re
import subprocess

OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")


class Help:
    """The help of a program, or of one of its commands."""

    def __init__(self, program, path=()):
        self.program, self.path = program, path
        self.text = subprocess.run([program, *path, "--help"], check=True, capture_output=True, text=True).stdout

    def options(self):
        """All that the help names."""
        return set(OPTION.findall(self.text))

    def own_options(self):
        """Those that it lists."""
        return set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", self.text, flags=re.MULTILINE))

    def section(self, title):
        found = re.search(rf"^{title}.*\n((?:  .*\n)+)", self.text, flags=re.MULTILINE)
        return re.findall(r"^  ([a-z][a-z-]*)", found.group(1), flags=re.MULTILINE) if found else []

    def words(self):
        """What an argument may be: "{a,b}", or a list of its own."""
        sets = re.findall(r"{([\w,-]+)}", self.text)
        return {word for each in sets for word in each.split(",")} | set(self.section(r"(?:MODE is|What DO|Orders,)"))

    def commands(self):
        """The helps of its commands: of a list, or of the lines of a usage that begin with the program's name."""
        if self.path:
            names = self.section("Subcommands:")
        else:
            names = self.section(r"Commands \(") or re.findall(r"^ +bladesim ([a-z]+) ", self.text, flags=re.MULTILINE)
        return [Help(self.program, (*self.path, name)) for name in dict.fromkeys(names)]

    def all(self):
        """It, and all that can be come to from it."""
        yield self
        for command in self.commands():
            yield from command.all()

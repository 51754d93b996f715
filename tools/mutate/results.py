"""What became of each mutant, for as long as neither its source nor the tests change."""
import hashlib
import json
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
TESTS = ("tests/unit/adaptor", "tests/unit/ipmi", "tests/unit/common", "tests/unit/fake")


def tracked(*paths, root=ROOT):
    command = ["git", "ls-files", "-co", "--exclude-standard", "--", *paths]
    listed = subprocess.run(command, cwd=root, text=True, capture_output=True, check=True).stdout
    return sorted(name for name in listed.splitlines() if (root / name).is_file())


def digest_of(names, root=ROOT):
    digest = hashlib.sha256()
    for name in names:
        digest.update(name.encode() + b"\0" + (root / name).read_bytes())
    return digest.hexdigest()[:16]


def key_of(name, mutant):
    return f"{name} {mutant.begin}-{mutant.end} {mutant.what}"


class Results:
    """Of these sources, in a file to which each result is added at once."""

    def __init__(self, path, names, root=ROOT):
        tests = digest_of(tracked(*TESTS, root=root), root)
        # A survivor may meet its match in any test; whether one stays dead is asked of the tests beside its source.
        self.of_survivors = {name: digest_of([name], root) + tests for name in names}
        self.of_dead = {name: digest_of([name, *tracked(f"tests/unit/{pathlib.Path(name).parent}", root=root)], root) for name in names}
        self.path, self.known = path, {}
        for line in path.read_text().splitlines() if path.is_file() else ():
            row = json.loads(line)
            self.known[row["mutant"]] = row

    def before(self, name, mutant):
        """Whether it has died, or None when that has to be tried; and the program that killed it last."""
        row = self.known.get(key_of(name, mutant))
        if row is None:
            return None, None
        if row["state"] == self._state(name, row["by"]):
            return row["by"] is not None, row["by"]
        return None, row["by"]

    def keep(self, name, mutant, killer):
        with self.path.open("a") as kept:
            print(json.dumps({"mutant": key_of(name, mutant), "by": killer, "state": self._state(name, killer)}), file=kept)

    def _state(self, name, killer):
        return (self.of_dead if killer else self.of_survivors)[name]

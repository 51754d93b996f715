"""A C++ source with a switch at each place at which one thing is broken: BM_MUTANT(n) says at run time whether mutant n counts."""
import dataclasses


@dataclasses.dataclass(frozen=True)
class Mutant:
    begin: int  # of the bytes that it replaces
    end: int
    line: int
    what: str
    shape: str  # of what stands there instead: {0}, {1} are the parts, {n} is the mutant's number
    parts: tuple

    def place(self):
        """Sorts those around others before them; of two at the same place, one that keeps all of it as a part."""
        return self.begin, -self.end, self.parts != ((self.begin, self.end),), self.what


def mutated(text, mutants, numbers):
    """The source with a switch for each mutant; numbers gives each its number."""

    def piece(begin, end, inside):
        made, at, i = [], begin, 0
        while i < len(inside):
            outer, i, rest = inside[i], i + 1, []
            while i < len(inside) and inside[i].begin < outer.end:
                rest.append(inside[i])
                i += 1
            parts = [piece(b, e, [each for each in rest if b <= each.begin and each.end <= e]) for b, e in outer.parts]
            made += [text[at:outer.begin].decode(), outer.shape.format(*parts, n=numbers[outer])]
            at = outer.end
        return "".join(made) + text[at:end].decode()

    return piece(0, len(text), sorted(mutants, key=Mutant.place))

"""The faults: each changes one place in one line of a source file."""
import dataclasses
import difflib
import random
import re

def pairs(*words):
    """Each word of a pair is replaced by the other."""
    both = [pair.split() for pair in words]
    return {before: after for a, b in both for before, after in ((a, b), (b, a))}


# clang-format puts spaces around operators of two operands, and around no bracket of a template.
OPERATORS = {
    "comparison": pairs("< <=", "> >=", "== !="),
    "arithmetic": pairs("+ -", "* /") | {"%": "/"},
    "assignment": pairs("+= -=", "*= /=") | {"|=": "&="},
    "logic": pairs("&& ||"),
    "bits": pairs("| &", "<< >>"),
}
WORDS = {
    "logic": pairs("true false"),
    "function": pairs("min max", "floor ceil", "sin cos"),
}
STEP = re.compile(r"\+\+|--")
NEGATION = re.compile(r"!(?=[\w(])")
SIGN = re.compile(r"(?<=[(,=] )-(?=[\w(])|(?<=[({[])-(?=[\w(])|(?<=return )-(?=[\w(])")
CONDITION = re.compile(r"\b(?:if|while) \((.*)\)(?: \{)?$")
INDEX = re.compile(r"(?<=[\w)])\[(\w+)\]")
NUMBER = re.compile(r"(?<![\w.])(\d+)(\.\d*)?(?![\w.])")
STATEMENT = re.compile(r"(?!(?:return|using|typedef|friend|class|struct|enum|extern)\b)[\w:*+-].*(?<!delete)(?<!default);$")
DECLARATION = re.compile(r"(?!throw\b)\w[\w:<>,*& ]*[ *&]\w+(?:\[.*\]| = .*|\{.*\}|\(.*\)[\w =]*)?;$")
# clang-format puts a statement's line after one of these; what follows anything else goes on.
BEFORE_STATEMENT = re.compile(r"(?:[;{}:)]|else|^)$")


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    line: int  # from 1
    column: int
    operator: str
    before: str
    after: str

    def applied(self, text):
        lines = text.splitlines(keepends=True)
        old = lines[self.line - 1]
        assert old[self.column:].startswith(self.before)
        lines[self.line - 1] = old[:self.column] + self.after + old[self.column + len(self.before):]
        return "".join(lines)

    def difference(self, text):
        changes = difflib.unified_diff(text.splitlines(), self.applied(text).splitlines(), lineterm="", n=0)
        return [change for change in changes if not change.startswith(("---", "+++", "@@"))]


def code_only(text):
    """The text with comments, literals and directives blanked out, every column where it was."""
    def blank(match):
        return re.sub(r"[^\n]", " ", match.group())
    text = re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', blank, text, flags=re.DOTALL)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", blank, text, flags=re.MULTILINE)


def swaps(line):
    for operator, table in OPERATORS.items():
        for before, after in table.items():
            for match in re.finditer(rf"(?<= ){re.escape(before)}(?= |$)", line):
                yield match.start(), operator, before, after
    for operator, table in WORDS.items():
        for before, after in table.items():
            for match in re.finditer(rf"\b{before}\b", line):
                yield match.start(), operator, before, after
    for match in STEP.finditer(line):
        yield match.start(), "step", match.group(), "--" if match.group() == "++" else "++"


def single(line):
    """The faults within one line: column, operator, what stands there, what replaces it."""
    yield from swaps(line)
    for match in NEGATION.finditer(line):
        yield match.start(), "logic", "!", ""
    for match in SIGN.finditer(line):
        yield match.start(), "arithmetic", "-", ""
    for match in CONDITION.finditer(line):
        if "=" not in re.sub(r"[=!<>]=", "", match.group(1)) and " : " not in match.group(1):
            yield match.start(1), "condition", match.group(1), f"!({match.group(1)})"
    for match in INDEX.finditer(line):
        yield match.start(1), "index", match.group(1), f"{match.group(1)} + 1"
    for match in NUMBER.finditer(line):
        whole, fraction = match.group(1), match.group(2) or ""
        yield match.start(), "constant", match.group(), f"{int(whole) + 1}{fraction}"
        if whole == "1" and not fraction:
            yield match.start(), "constant", "1", "0"


def all_of(path, text):
    """Every fault that this file can be given."""
    found, previous, original = [], "", text.splitlines()
    for number, line in enumerate(code_only(text).splitlines(), start=1):
        bare = line.rstrip()
        if re.match(r"\s*(?:template|static_assert|using|typedef)\b", bare):
            previous = bare
            continue
        found += [Mutant(path, number, *fault) for fault in single(bare)]
        words = bare.lstrip()
        if STATEMENT.match(words) and not DECLARATION.match(words) and BEFORE_STATEMENT.search(previous):
            column = len(bare) - len(words)
            found.append(Mutant(path, number, column, "statement", original[number - 1][column:len(bare)], ";"))
        if bare:
            previous = bare
    return found


def in_order(path, text, seed):
    """All of them, in an order that the seed decides."""
    found = all_of(path, text)
    random.Random(f"{seed} {path}").shuffle(found)
    return found

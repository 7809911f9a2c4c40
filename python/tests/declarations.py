"""What the public headers declare, also where it leaves no symbol: inline functions, templates, enumerators."""

import pathlib
import re

ROOT = pathlib.Path(__file__).parents[2]


def headers():
    """The public headers, as the one that includes them all names them."""
    text = (ROOT / "dataprocessing/dataprocessing.h").read_text()
    return [ROOT / path for path in re.findall(r'#include "(dataprocessing/[\w/]+\.h)"', text)]


def _code(path):
    """Without comments, texts and directives."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/", "", path.read_text(), flags=re.S)
    text = re.sub(r'"(\\.|[^"\\])*"', '""', text)
    return re.sub(r"(?m)^\s*#(?:[^\n]*\\\n)*[^\n]*$", "", text)


class Scope:
    """What a brace opens: a namespace, a class, an enumeration, or a body that declares nothing."""

    def __init__(self, head):
        named = re.search(r"\b(enum class|enum|class|struct)\b(?: alignas\([^)]*\))?(?: [A-Z_]+)? (\w+)(?: final)?(?: ?:[^:(][^(]*)?$", head)
        self.kind, self.name = (named[1].split()[0], named[2]) if named else ("body", "")
        self.is_public = self.kind != "class"


def _declared(scopes, statement):
    """The function of a declaration in these scopes, with those of its classes; None for all else."""
    called = re.search(r"([~\w]+|operator ?[^\w\s(]+|operator ?\(\)) ?\(", statement)
    if not all(scope.is_public and scope.kind in ("class", "struct") for scope in scopes) or called is None:
        return None
    if re.match(r"(using|typedef|static_assert)\b", statement):
        return None
    own = [] if statement.startswith("friend") else [scope.name for scope in scopes]
    return "::".join([*own, called[1]])


def declarations(path):
    """The functions and classes of a header, and its enumerators."""
    scopes, names, enumerators, statement = [], set(), set(), ""
    for character in _code(path):
        if character not in "{};":
            statement += character
            access = re.search(r"\b(public|private|protected)\s*:$", statement)
            if access and scopes and scopes[-1].kind == "class":
                scopes[-1].is_public, statement = access[1] == "public", ""
            continue
        words = re.sub(r"\s+", " ", statement).strip()
        statement = ""
        visible = all(scope.is_public and scope.kind in ("class", "struct") for scope in scopes)
        if character == "{":
            scope = Scope(words)
            if scope.kind in ("class", "struct") and visible:
                names.add("::".join([*(outer.name for outer in scopes), scope.name]))
            elif scope.kind == "body":
                names.add(_declared(scopes, words))
            scopes.append(scope)
        elif character == ";":
            names.add(_declared(scopes, words))
        elif scopes:
            closed = scopes.pop()
            if closed.kind == "enum" and all(s.is_public and s.kind in ("class", "struct") for s in scopes):
                enumerators.update(f"{closed.name}::{one.split('=')[0].strip()}" for one in words.split(",") if one.strip())
    return names - {None}, enumerators

"""The code samples of the README and the guide, as one program, which is printed.

    samples.py PAGE...

Every ```cpp block counts. A block with a main() is a program of its own; the others of a page are the
body of one function, in order, so that a name holds to the end of its page. A ```text block is what
the ```cpp block before it prints; a block without one prints nothing. Drawings are indented instead.
Commands and build files are ```sh and ```cmake, and ```python is run by the package's own tests; a
block of anything else is refused, lest a misspelt ```cpp is never run.
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r"^#include .*$", re.M)
MAIN = re.compile(r"^int main\(\) \{", re.M)
HEADERS = [f"#include <{name}>" for name in ("cmath", "cstdint", "iostream", "limits", "span", "sstream", "string", "vector")]


def samples_of(page):
    """[where, code, output] of each sample; those that are programs come first."""
    text = pathlib.Path(page).read_text(encoding="utf-8")
    blocks = list(re.finditer(r"^```(.*)\n((?:.*\n)*?)```$", text, re.M))
    if len(re.findall("^```", text, re.M)) != 2 * len(blocks):
        sys.exit(f"{page}: a block does not end")
    found = []
    for block in blocks:
        where = f"{page}:{text.count(chr(10), 0, block.start()) + 2}"
        if block[1] == "cpp":
            found.append([where, block[2], ""])
        elif block[1] == "text" and found and not found[-1][2]:
            found[-1][2] = block[2]
        elif block[1] not in ("sh", "cmake", "python"):
            sys.exit(f"{where}: a block of {block[1] or 'nothing'}, or an output that no sample prints")
    return sorted(found, key=lambda sample: not MAIN.search(sample[1]))


def program(pages):
    includes, functions = HEADERS + ['#include "dataprocessing/dataprocessing.h"'], []
    for page in pages:
        together = ""
        for where, code, _ in samples_of(page):
            includes += INCLUDE.findall(code)
            code = INCLUDE.sub("", code)
            begin = f'std::cout << "=== {where}\\n";'
            line = f'#line {where.rpartition(":")[2]} "{page}"\n'
            if MAIN.search(code):
                functions.append(line + MAIN.sub(lambda _: f"void page{len(functions)}() {{ {begin}", code))
            else:
                together += f"{begin}\n{line}{code}"
        if together:
            functions.append(f"void page{len(functions)}() {{\n{together}}}\n")
    calls = [f"    page{number}();" for number in range(len(functions))]
    return "\n".join([*dict.fromkeys(includes), "", "namespace {", "", *functions, "} // namespace", "", "int main() {",
                      *calls, "}"])


def expected(pages):
    return "".join(f"=== {where}\n{output}" for page in pages for where, _, output in samples_of(page))


if __name__ == "__main__":
    print(program(sys.argv[1:]))

"""The ratios of docs/compare.md, which are those of RESULTS.md: rows of the page name a subsystem and its cases."""
import re


def ratios(results):
    """The median ratios of a page of results, for all numbers of elements, by (subsystem, case)."""
    found, subsystem = {}, None
    for line in results.splitlines():
        if line.startswith("## "):
            subsystem = line[3:]
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) == 10 and re.fullmatch(r"\w+", cells[0]) and re.fullmatch(r"[\d.e-]*\d", cells[4]):
            found.setdefault((subsystem, cells[0]), []).append(float(cells[4]))
    return found


def cases(row):
    """What a row of the page names: `subsystem`: `case`, `case`."""
    subsystem, *names = re.findall(r"`(\w+)`", row.split("|")[3])
    return [(subsystem, name) for name in names]


def figure(values):
    """The lowest and the highest, or one where they are the same; a decimal is enough beyond 1."""
    low, high = (f"{value:.1f}" if value > 1 else f"{value:g}" for value in (min(values), max(values)))
    return low if low == high else f"{low} to {high}"


def filled(page, measured):
    """The page with the ratios as measured, the best of its rows first."""
    table = re.search(r"(?<=\| what \| against \| measured as \| ratio \|\n\|---\|---\|---\|---\|\n)(\|.*\n)+", page)
    rows = []
    for line in table[0].splitlines():
        values = [value for case in cases(line) for value in measured[case]]
        rows.append((max(values), "|".join(line.split("|")[:4]) + f"| {figure(values)} |\n"))
    return page[:table.start()] + "".join(row for _, row in sorted(rows)) + page[table.end():]

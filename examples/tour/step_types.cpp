#include "story.h"
#include "types.h"

namespace tour {

namespace {

std::vector<std::string> row(const char* what, const pnum_cNumber& a, char operation,
                             const pnum_cNumber& b, const pnum_cNumber& result) {
    std::vector<std::string> cells = rowOfTypes(what, a, operation, b, result);
    cells.insert(cells.begin() + 1, joined(result));
    return cells;
}

} // namespace

void stepTypes(Story& story) {
    const pnum_cNumber a = std::uint8_t{200};
    const pnum_cNumber b = std::uint8_t{100};
    const pnum_cNumber c = std::uint16_t{40000};
    const pnum_cNumber z = comp_cComplex<double>(0, 1);

    story.teller.Say(
        "Numbers and arrays have one of ten element types. Sums and differences of 8- and "
        "16-bit counts get a type that holds them, products of 8-bit ones too. Products of "
        "16-bit ones are floats of 24 bits, 32-bit sums wrap.");
    story.teller.Show(
        {.caption = "Operations on 8- and 16-bit counts",
         .heading = {"operation", "value", "types", "result"},
         .columns = {Column::name, Column::number, Column::name, Column::name},
         .rows = {row("200 + 100", a, '+', b, a + b), row("200 * 100", a, '*', b, a * b),
                  row("100 / 200", b, '/', a, b / a), row("100 - 40000", b, '-', c, b - c),
                  row("40000 * 40000", c, '*', c, c * c), row("40000 * 0.1", c, '*', 0.1, c * 0.1),
                  row("200 + i", a, '+', z, a + z)}});
}

} // namespace tour

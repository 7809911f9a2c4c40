#include <iomanip>
#include <sstream>

#include "story.h"
#include "types.h"

namespace tour {

namespace {

void tell(std::ostream& text, const char* what, const pnum_cNumber& a, char operation,
          const pnum_cNumber& b, const pnum_cNumber& result) {
    std::ostringstream value;
    value << result;
    text << "   " << std::left << std::setw(15) << what << std::setw(11) << value.str()
         << std::setw(7) << typeName(a.DataType()) << operation << ' ' << std::setw(15)
         << typeName(b.DataType()) << "-> " << typeName(result.DataType()) << '\n';
}

} // namespace

void stepTypes(Story& story) {
    const pnum_cNumber a = std::uint8_t{200};
    const pnum_cNumber b = std::uint8_t{100};
    const pnum_cNumber c = std::uint16_t{40000};
    const pnum_cNumber z = comp_cComplex<double>(0, 1);

    story.text << "   Ten element types; a result has a type that holds it.\n\n";
    tell(story.text, "200 + 100", a, '+', b, a + b);
    tell(story.text, "200 * 100", a, '*', b, a * b);
    tell(story.text, "100 / 200", b, '/', a, b / a);
    tell(story.text, "100 - 40000", b, '-', c, b - c);
    tell(story.text, "40000 * 40000", c, '*', c, c * c);
    tell(story.text, "40000 * 0.1", c, '*', 0.1, c * 0.1);
    tell(story.text, "200 + i", a, '+', z, a + z);
}

} // namespace tour

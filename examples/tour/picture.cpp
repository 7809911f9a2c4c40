#include "picture.h"

#include "drawing/elements.h"
#include "drawing/markup.h"

namespace tour {

std::string opening(const char* kind, double width, double height, const std::string& description) {
    return "<svg" + drawing::attribute("class", kind) +
           drawing::attribute("viewBox", "0 0 " + drawing::coordinate(width) + ' ' +
                                             drawing::coordinate(height)) +
           " role=\"img\"" + drawing::attribute("aria-label", drawing::escaped(description)) +
           ">\n";
}

} // namespace tour

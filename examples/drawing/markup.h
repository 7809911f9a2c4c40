#pragma once

#include <string>
#include <string_view>

namespace drawing {

/// `text` as it stands between tags or in a quoted attribute, in HTML as in XML. Bytes that are not
/// UTF-8 and control characters become replacement characters.
std::string escaped(std::string_view text);

} // namespace drawing

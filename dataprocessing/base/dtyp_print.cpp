#include "dataprocessing/base/dtyp_print.h"

#include <ostream>

#include "dataprocessing/base/dtyp_visit.h"

namespace dataprocessing::detail {

void dtyp_PrintElement(std::ostream& stream, dtyp_cDataType type, const void* element) {
    const bool known = dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        const T& value = *static_cast<const T*>(element);
        if constexpr (isComplex<T>)
            stream << value;
        else
            stream << +value; // promotes the 8-bit types, which would print as characters
    });
    if (!known)
        stream << '?';
}

} // namespace dataprocessing::detail

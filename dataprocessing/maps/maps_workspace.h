#pragma once

/// @file
/// The memory that fits of many spectra work in.

#include <memory>

#include "dataprocessing/dataprocessing_export.h"

namespace dataprocessing::detail {
struct maps_sRoom;
}

/// What a thread keeps from one call to the next, so that no call allocates once it has grown: one
/// for each thread, which may be used for anything. Its content never changes a result.
class DATAPROCESSING_EXPORT maps_cWorkspace {
public:
    /// Room that grows when it is needed. Throws std::bad_alloc.
    maps_cWorkspace();
    ~maps_cWorkspace();
    maps_cWorkspace(const maps_cWorkspace&) = delete;
    maps_cWorkspace& operator=(const maps_cWorkspace&) = delete;

    /// @cond
    dataprocessing::detail::maps_sRoom& Room() noexcept { return *room_; }
    /// @endcond

private:
    std::unique_ptr<dataprocessing::detail::maps_sRoom> room_;
};

#include "dataprocessing/maps/maps_workspace.h"

#include "dataprocessing/maps/maps_room.h"

maps_cWorkspace::maps_cWorkspace()
    : room_(std::make_unique<dataprocessing::detail::maps_sRoom>()) {}
maps_cWorkspace::~maps_cWorkspace() = default;

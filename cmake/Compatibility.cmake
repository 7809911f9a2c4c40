# What a version promises: before 1.0 a new minor version may change what exists, from 1.0 on only a
# new major version may. The SONAME and the CMake package say so to linkers and to find_package.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(DataProcessing_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  set(DataProcessing_COMPATIBILITY SameMinorVersion)
else()
  set(DataProcessing_SOVERSION ${PROJECT_VERSION_MAJOR})
  set(DataProcessing_COMPATIBILITY SameMajorVersion)
endif()

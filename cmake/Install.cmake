# What a user installs: the library, its public headers, a CMake package and a pkg-config file. The
# installed tree may be moved: nothing in it names the prefix.
option(DATAPROCESSING_INSTALL "Generate the install rules" ${PROJECT_IS_TOP_LEVEL})
if(NOT DATAPROCESSING_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)

# The versioned shared library alone is what a finished program needs.
set(runtime DataProcessing_Runtime)
set(development DataProcessing_Development)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/DataProcessing)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS DataProcessing EXPORT DataProcessingTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${runtime}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${runtime} NAMELINK_COMPONENT ${development}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${development}
  FILE_SET headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${development}
  FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${development})

install(EXPORT DataProcessingTargets NAMESPACE DataProcessing:: DESTINATION ${package_dir}
  COMPONENT ${development})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/DataProcessingConfig.cmake.in
  ${PROJECT_BINARY_DIR}/DataProcessingConfig.cmake
  INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/DataProcessingConfigVersion.cmake
  COMPATIBILITY ${DataProcessing_COMPATIBILITY})
install(FILES
  ${PROJECT_BINARY_DIR}/DataProcessingConfig.cmake
  ${PROJECT_BINARY_DIR}/DataProcessingConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT ${development})

# pkg-config knows where it found the file; everything else is said relative to that. A directory
# that was given as an absolute path lies outside the prefix and is named as it is. So is /usr, which
# does not move: pkg-config leaves out what compilers search anyway only if it is told so plainly.
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_LIBDIR libdir_is_absolute)
if(libdir_is_absolute OR CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir} OUTPUT_VARIABLE up)
  set(pc_prefix "\${pcfiledir}/${up}")
endif()
set(pc_libdir "\${prefix}")
cmake_path(APPEND pc_libdir ${CMAKE_INSTALL_LIBDIR})
set(pc_includedir "\${prefix}")
cmake_path(APPEND pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
set(pc_cflags)
if(NOT BUILD_SHARED_LIBS)
  set(pc_cflags " -DDATAPROCESSING_STATIC_DEFINE")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/DataProcessing.pc.in
  ${PROJECT_BINARY_DIR}/DataProcessing.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/DataProcessing.pc DESTINATION ${pkgconfig_dir}
  COMPONENT ${development})

# What a user installs: the library, its public headers, a CMake package and a pkg-config file. The
# installed tree may be moved: nothing in it names the prefix.
option(DATAPROCESSING_INSTALL "Generate the install rules" ${PROJECT_IS_TOP_LEVEL})
if(NOT DATAPROCESSING_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)

# dataprocessing_install(PREFIX LIBDIR NAME [EXCLUDE_FROM_ALL]): all of it, as the components
# NAME_Runtime, the versioned shared library, which is what a finished program needs, and
# NAME_Development.
function(dataprocessing_install prefix libdir name)
  set(CMAKE_INSTALL_PREFIX ${prefix})
  set(runtime COMPONENT ${name}_Runtime ${ARGN})
  set(development COMPONENT ${name}_Development ${ARGN})
  set(made ${PROJECT_BINARY_DIR}/install/${name})
  set(package_dir ${libdir}/cmake/DataProcessing)
  set(pkgconfig_dir ${libdir}/pkgconfig)

  install(TARGETS DataProcessing EXPORT ${name}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${runtime}
    LIBRARY DESTINATION ${libdir} ${runtime} NAMELINK_COMPONENT ${name}_Development
    ARCHIVE DESTINATION ${libdir} ${development}
    FILE_SET headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${development}
    FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${development})
  install(EXPORT ${name} FILE DataProcessingTargets.cmake NAMESPACE DataProcessing::
    DESTINATION ${package_dir} ${development})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/DataProcessingConfig.cmake.in
    ${made}/DataProcessingConfig.cmake
    INSTALL_DESTINATION ${package_dir}
    NO_SET_AND_CHECK_MACRO)
  write_basic_package_version_file(${made}/DataProcessingConfigVersion.cmake
    COMPATIBILITY ${DataProcessing_COMPATIBILITY})
  install(FILES ${made}/DataProcessingConfig.cmake ${made}/DataProcessingConfigVersion.cmake
    DESTINATION ${package_dir} ${development})

  # pkg-config knows where it found the file; everything else is said relative to that. A directory
  # that was given as an absolute path lies outside the prefix and is named as it is. So is /usr,
  # which does not move: pkg-config leaves out what compilers search anyway only if it is told so
  # plainly.
  cmake_path(IS_ABSOLUTE libdir libdir_is_absolute)
  if(libdir_is_absolute OR prefix STREQUAL "/usr")
    set(pc_prefix ${prefix})
  else()
    cmake_path(RELATIVE_PATH prefix BASE_DIRECTORY ${prefix}/${pkgconfig_dir} OUTPUT_VARIABLE up)
    set(pc_prefix "\${pcfiledir}/${up}")
  endif()
  set(pc_libdir "\${prefix}")
  cmake_path(APPEND pc_libdir ${libdir})
  set(pc_includedir "\${prefix}")
  cmake_path(APPEND pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
  set(pc_cflags)
  if(NOT BUILD_SHARED_LIBS)
    set(pc_cflags " -DDATAPROCESSING_STATIC_DEFINE")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/DataProcessing.pc.in ${made}/DataProcessing.pc @ONLY)
  install(FILES ${made}/DataProcessing.pc DESTINATION ${pkgconfig_dir} ${development})
endfunction()

dataprocessing_install(${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_LIBDIR} DataProcessing)

# Debian packages, by `cpack` in the build tree: one for programs that run, one for programs that are
# built. Wherever that tree installs to, its packages go to /usr, and the library into a directory of
# its architecture there.
if(NOT PROJECT_IS_TOP_LEVEL OR NOT DATAPROCESSING_INSTALL OR NOT BUILD_SHARED_LIBS)
  return()
endif()
find_program(DATAPROCESSING_GZIP gzip)
mark_as_advanced(DATAPROCESSING_GZIP)
if(NOT DATAPROCESSING_GZIP)
  return()
endif()

dataprocessing_install(/usr lib/${CMAKE_LIBRARY_ARCHITECTURE} Debian EXCLUDE_FROM_ALL)
set(runtime_package libdataprocessing${DataProcessing_SOVERSION})
set(development_package libdataprocessing-dev)
# Older than the first package that a distribution would make itself of this version.
set(debian_revision 1~upstream1)
set(doc ${PROJECT_BINARY_DIR}/debian)
set(debian_version ${PROJECT_VERSION}-${debian_revision})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dataprocessing)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Who builds packages for others says who they are: -DCPACK_PACKAGE_CONTACT='Name <address>'.
if(NOT CPACK_PACKAGE_CONTACT)
  set(CPACK_PACKAGE_CONTACT "DataProcessing maintainers <maintainers@dataprocessing.example>")
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Debian_Runtime Debian_Development)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE dataprocessing)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${debian_revision})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_MULTIARCH same) # understood by CMake 3.31 and later
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(about "${PROJECT_NAME} computes with spectra, line profiles, images and typed
numbers that know where each of their elements lies: arithmetic that aligns
what it combines, Fourier transforms, geometry and curve fits.")

set(CPACK_DEBIAN_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# A program that was linked against one version runs with any later one of the same SONAME.
file(WRITE ${doc}/shlibs "libDataProcessing ${DataProcessing_SOVERSION} ${runtime_package} (>= ${debian_version})\n")
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
configure_file(${debian}/script ${doc}/postinst COPYONLY)
configure_file(${debian}/script ${doc}/postrm COPYONLY)
set(CPACK_DEBIAN_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${doc}/shlibs ${debian}/triggers ${doc}/postinst ${doc}/postrm)
set(CPACK_DEBIAN_DEBIAN_RUNTIME_DESCRIPTION "${about}
.
This package holds the library that programs load.")

set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${debian_version})")
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_DESCRIPTION "${about}
.
This package holds the headers and what CMake and pkg-config need to build
programs.")

# The Python package holds the library itself, as a wheel does, and is there where it is built.
set(packages Runtime ${runtime_package} Development ${development_package})
if(TARGET dataprocessing_python)
  set(python_package python3-dataprocessing)
  set(dist lib/python3/dist-packages/dataprocessing)
  list(APPEND CPACK_COMPONENTS_ALL Debian_Python)
  list(APPEND packages Python ${python_package})
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= ${DATAPROCESSING_PYTHON_VERSION}~), python3 (<< ${DATAPROCESSING_PYTHON_VERSION_BELOW}~), python3-numpy (>= 1:1.24)")
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-dask, python3-matplotlib, python3-xarray")
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${debian}/python/postinst ${debian}/python/prerm)
  set(CPACK_DEBIAN_DEBIAN_PYTHON_DESCRIPTION "${about}
.
This package is for Python, beside NumPy.")
  install(TARGETS dataprocessing_python LIBRARY DESTINATION ${dist} COMPONENT Debian_Python EXCLUDE_FROM_ALL)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/dataprocessing/ DESTINATION ${dist}
    COMPONENT Debian_Python EXCLUDE_FROM_ALL FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed"
    PATTERN __pycache__ EXCLUDE)
endif()

# What Debian wants beside the files of `cmake --install`, below share/doc/PACKAGE.
function(dataprocessing_gzip source file)
  execute_process(COMMAND ${DATAPROCESSING_GZIP} -9nc ${source} OUTPUT_FILE ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(READ ${PROJECT_SOURCE_DIR}/LICENSE licence)
string(REGEX MATCH "Copyright [^\n]*" copyright "${licence}")
string(REGEX REPLACE "Copyright (\\(c\\) )?" "" copyright "${copyright}")
string(REGEX REPLACE "^.*\n(Redistribution and use)" "\\1" licence "${licence}")
string(STRIP "${licence}" licence)
string(REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REPLACE "\n" "\n " licence "${licence}")
configure_file(${debian}/copyright.in ${doc}/copyright @ONLY)

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${debian}/changelog.in ${doc}/changelog.Debian @ONLY)
dataprocessing_gzip(${doc}/changelog.Debian ${doc}/changelog.Debian.gz)
dataprocessing_gzip(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${doc}/changelog.gz)
while(packages)
  list(POP_FRONT packages component package)
  install(FILES ${doc}/copyright ${doc}/changelog.gz ${doc}/changelog.Debian.gz
    DESTINATION share/doc/${package} COMPONENT Debian_${component} EXCLUDE_FROM_ALL)
endwhile()

include(CPack)

# Finds what an optional part of the build needs, or says how to get it and how to do without.
macro(dataprocessing_require package debian_packages option)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    message(FATAL_ERROR "${option} is on, and ${package} was not found. Install it "
      "(Debian: apt-get install ${debian_packages}), or build without it: -D${option}=OFF.")
  endif()
endmacro()

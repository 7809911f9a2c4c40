# The whole test executable is a handful of CTest tests instead of one per case, which would spend
# most of its time starting processes: once per instruction-set level, each split into shards that
# `ctest -j` runs side by side. Names read unit.<level>.<shard>; "native" is the level that the
# library chooses by itself, the others are forced and carry the label level-forced.
function(dataprocessing_register_tests target)
  set(shards 4)
  set(levels native)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    list(APPEND levels v3 baseline)
  endif()
  math(EXPR last "${shards} - 1")
  foreach(level IN LISTS levels)
    foreach(shard RANGE ${last})
      math(EXPR number "${shard} + 1")
      set(test unit.${level}.${number})
      # A compiler cache may name sources relative to the build: files beside them are found from there.
      add_test(NAME ${test} COMMAND ${target} --gtest_brief=1 WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
      set(environment GTEST_TOTAL_SHARDS=${shards} GTEST_SHARD_INDEX=${shard})
      if(NOT level STREQUAL "native")
        list(APPEND environment DATAPROCESSING_LEVEL=${level})
        set_property(TEST ${test} PROPERTY LABELS level-forced)
      endif()
      set_tests_properties(${test} PROPERTIES ENVIRONMENT "${environment}" TIMEOUT 1200)
    endforeach()
  endforeach()
endfunction()

# Warnings belong to this project's own targets and never reach a consumer.
option(DATAPROCESSING_WERROR "Treat warnings as errors" OFF)

function(dataprocessing_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    # g++ 12 sees overlapping copies in any assignment of a short literal to a string.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    $<$<BOOL:${DATAPROCESSING_WERROR}>:-Werror>)
endfunction()

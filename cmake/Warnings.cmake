# Warnings belong to this project's own targets and never reach a consumer.
option(DATAPROCESSING_WERROR "Treat warnings as errors" OFF)

function(dataprocessing_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${DATAPROCESSING_WERROR}>:-Werror>)
endfunction()

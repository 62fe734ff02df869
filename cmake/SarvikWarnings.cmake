# Flags shared by every target of the project.
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64 _GNU_SOURCE)
set(SARVIK_WARNINGS -Wall -Wextra -Wno-unused-parameter)
function(sarvik_product_target target)
    target_compile_options(${target} PRIVATE ${SARVIK_WARNINGS} $<$<BOOL:${SARVIK_WERROR}>:-Werror>)
endfunction()

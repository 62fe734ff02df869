# Flags shared by every target of the project.
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64 _GNU_SOURCE)
set(SARVIK_WARNINGS -Wall -Wextra -Wno-unused-parameter)
# Product code (Libs/, source/, sim/): the warnings, and errors of them in the i386 build.
function(sarvik_product_target target)
    target_compile_options(${target} PRIVATE ${SARVIK_WARNINGS} $<$<BOOL:${SARVIK_WERROR}>:-Werror>)
endfunction()
# Tests, benchmarks and fuzz targets: the same warnings, never as errors. Called in a folder's
# CMakeLists.txt, it covers the targets defined after it there and in the folders it adds.
macro(sarvik_warnings_for_folder)
    add_compile_options(${SARVIK_WARNINGS})
endmacro()

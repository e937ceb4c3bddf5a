# tqamsg_warnings(TARGET): the warnings under which everything here compiles without a word.
function(tqamsg_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
        -Wnon-virtual-dtor -Woverloaded-virtual
        $<$<CXX_COMPILER_ID:GNU>:-Wuseless-cast>
        $<$<BOOL:${TQAMSG_WERROR}>:-Werror>)
endfunction()

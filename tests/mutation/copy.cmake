# Read in the build of the copy, behind project(): every source learns of the mutants, and the tests,
# which take most of the time to compile, do with less of it.
function(know_mutants mutant)
    target_compile_options(tqamsg_objects PRIVATE -include ${mutant})
    foreach(target tqamsg_tests tqamsg_nomem_tests tqamsg_nodisk_tests)
        target_compile_options(${target} PRIVATE -O0)
        target_precompile_headers(${target} PRIVATE ${mutant}
            <algorithm> <fstream> <functional> <map> <memory> <random> <sstream> <string> <vector>
            <gtest/gtest.h>)
    endforeach()
endfunction()
cmake_language(EVAL CODE "cmake_language(DEFER CALL know_mutants ${CMAKE_CURRENT_LIST_DIR}/mutant.h)")

# Statements for the compilers that there are to accept or to refuse. Nothing is linked; a refused statement must fail
# with the message that tells why.
#
# Before it is included: snippet_suite, the first part of the tests' names. Beside the list that includes it lie
# Snippet.cpp.in, into which each statement is set, and Preamble.h, with what every statement needs.
separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
set(include_dir ${PROJECT_SOURCE_DIR}/Shared/KXPL/include)
list(APPEND flags -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -I${include_dir})

# Every compiler that gets as far as a header of the standard library with this build's flags.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/probe.cpp "#include <string>\n")
set(compilers "")
foreach(name IN ITEMS g++ clang++)
    find_program(FALLCATCH_${name} ${name})
    if(FALLCATCH_${name})
        execute_process(COMMAND ${FALLCATCH_${name}} ${flags} -fsyntax-only ${CMAKE_CURRENT_BINARY_DIR}/probe.cpp
            RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
        if(result EQUAL 0)
            list(APPEND compilers ${name})
        endif()
    endif()
endforeach()
message(STATUS "fallcatch: ${snippet_suite} is compiled with ${compilers}")

# By each compiler's own means; both refuse what they made when it no longer suits.
set(options_of_g++ -include ${CMAKE_CURRENT_BINARY_DIR}/g++/Preamble.h -Winvalid-pch)
set(kept_by_g++ ${CMAKE_CURRENT_BINARY_DIR}/g++/Preamble.h.gch)
set(options_of_clang++ -include-pch ${CMAKE_CURRENT_BINARY_DIR}/clang++/Preamble.pch)
set(kept_by_clang++ ${CMAKE_CURRENT_BINARY_DIR}/clang++/Preamble.pch)
foreach(compiler IN LISTS compilers)
    file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/${compiler})
    add_test(NAME ${snippet_suite}.ReadsTheHeader/${compiler} COMMAND ${FALLCATCH_${compiler}} ${flags}
        -x c++-header ${CMAKE_CURRENT_SOURCE_DIR}/Preamble.h -o ${kept_by_${compiler}})
    set_tests_properties(${snippet_suite}.ReadsTheHeader/${compiler} PROPERTIES
        FIXTURES_SETUP ${snippet_suite}_${compiler})
endforeach()

# A statement must not hold a semicolon.
function(fallcatch_add_snippet name statement)
    set(STATEMENT "${statement}")
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    configure_file(Snippet.cpp.in ${source} @ONLY)
    foreach(compiler IN LISTS compilers)
        set(test "${snippet_suite}.${name}/${compiler}")
        add_test(NAME ${test} COMMAND ${FALLCATCH_${compiler}} ${flags} -fsyntax-only ${options_of_${compiler}}
            ${source})
        set_tests_properties(${test} PROPERTIES FIXTURES_REQUIRED ${snippet_suite}_${compiler})
        if(ARGN)
            set_tests_properties(${test} PROPERTIES PASS_REGULAR_EXPRESSION "error: .*static.assert.*${ARGN}")
        endif()
    endforeach()
endfunction()

function(fallcatch_accepts name statement)
    fallcatch_add_snippet("Accepts${name}" "${statement}")
endfunction()

function(fallcatch_refuses name message statement)
    fallcatch_add_snippet("Refuses${name}" "${statement}" "${message}")
endfunction()


# Compiles SameCode.cpp with checked and with plain calls, and compares the assembly.
cmake_minimum_required(VERSION 3.21)

foreach(level IN ITEMS -O1 -O2 -Os)
    foreach(kind IN ITEMS CHECKED PLAIN)
        set(output ${WORK_DIR}/${kind}${level}.s)
        file(MAKE_DIRECTORY ${WORK_DIR})
        execute_process(COMMAND ${COMPILER} -std=c++17 ${level} -I${INCLUDE_DIR} -D${kind} -S -o ${output}
            ${CMAKE_CURRENT_LIST_DIR}/SameCode.cpp RESULT_VARIABLE result)
        if(NOT result EQUAL 0)
            message(FATAL_ERROR "${COMPILER} ${level} -D${kind} failed")
        endif()
        file(READ ${output} text)
        # The compiler numbers functions in the order in which it came across them.
        string(REGEX REPLACE "\\.LF([A-Z]+)[0-9]+" ".LF\\1" ${kind} "${text}")
    endforeach()
    if(NOT CHECKED MATCHES "TellAll" OR NOT CHECKED STREQUAL PLAIN)
        message(FATAL_ERROR "${level}: the check leaves a trace, see ${WORK_DIR}")
    endif()
endforeach()

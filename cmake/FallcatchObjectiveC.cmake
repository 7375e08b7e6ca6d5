# Objective-C++ for the bridge, by a compiler that GNUstep takes.
#
# Debian's GNUstep is built for GCC's runtime, so a host that compiles with clang has its bridge compiled by g++
# beside it unless CMAKE_OBJCXX_COMPILER says otherwise. Whether g++ knows the language is a package of its own.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_OBJCXX_COMPILER
        AND "$ENV{OBJCXX}" STREQUAL "")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        set(fallcatch_objcxx "${CMAKE_CXX_COMPILER}")
    else()
        find_program(FALLCATCH_GXX g++)
        set(fallcatch_objcxx "${FALLCATCH_GXX}")
    endif()
    set(probe ${CMAKE_CURRENT_BINARY_DIR}/CMakeFiles/fallcatch-objcxx.mm)
    file(WRITE ${probe} "@class Fallcatch;\n")
    execute_process(COMMAND ${fallcatch_objcxx} -fsyntax-only ${probe} RESULT_VARIABLE failed
        OUTPUT_QUIET ERROR_QUIET)
    if(failed OR NOT fallcatch_objcxx)
        message(FATAL_ERROR "The crash-reporter bridge needs g++ for Objective-C++: install gobjc++, name another "
            "compiler with -DCMAKE_OBJCXX_COMPILER=..., or configure with -DFALLCATCH_GLUE=OFF")
    endif()
    set(CMAKE_OBJCXX_COMPILER "${fallcatch_objcxx}" CACHE FILEPATH "Compiles the bridge")
endif()
enable_language(OBJCXX)

# One step of the consumer's tests; see ConsumerTests.cmake for what it is given.
cmake_minimum_required(VERSION 3.21)

set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\n${output}")
    endif()
endfunction()

function(configure_command build_dir result)
    set(${result} ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_FUNCTION_LIST_DIR} -B ${build_dir} -G ${GENERATOR}
        -C ${SETTINGS} -DCMAKE_BUILD_TYPE=${CONFIG} ${ARGN} PARENT_SCOPE)
endfunction()

# Leaves the user's own defaults alone, and tells the leak checker of a sanitized build what to expect.
function(keep_to_work_dir)
    file(MAKE_DIRECTORY ${WORK_DIR}/defaults)
    set(config_file ${WORK_DIR}/GNUstep.conf)
    file(WRITE ${config_file}
        "GNUSTEP_USER_CONFIG_FILE=${WORK_DIR}/none\n"
        "GNUSTEP_USER_DIR=${WORK_DIR}/user\n"
        "GNUSTEP_USER_DEFAULTS_DIR=${WORK_DIR}/defaults\n")
    file(CHMOD ${config_file} PERMISSIONS OWNER_READ OWNER_WRITE)
    set(ENV{GNUSTEP_CONFIG_FILE} ${config_file})
    set(ENV{ASAN_OPTIONS} fast_unwind_on_malloc=0)
    set(ENV{LSAN_OPTIONS} suppressions=${FALLCATCH_SOURCE_DIR}/tests/Glue/lsan.supp:print_suppressions=0)
endfunction()

function(build_and_test build_dir)
    configure_command(${build_dir} configure -DCONSUMER_GLUE=${GLUE} ${ARGN})
    file(REMOVE_RECURSE ${build_dir})
    run(${configure})
    run(${CMAKE_COMMAND} --build ${build_dir} --config ${CONFIG} --parallel 2)
    keep_to_work_dir()
    run(${CMAKE_CTEST_COMMAND} --test-dir ${build_dir} -C ${CONFIG} --output-on-failure --no-tests=error)
endfunction()

function(expect_refusal message)
    set(build_dir ${WORK_DIR}/refused-${STEP})
    configure_command(${build_dir} configure -DCMAKE_PREFIX_PATH=${prefix} -DCONSUMER_GLUE=OFF ${ARGN})
    file(REMOVE_RECURSE ${build_dir})
    execute_process(COMMAND ${configure} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    string(REGEX REPLACE "[ \n]+" " " words "${output}")
    if(result EQUAL 0 OR NOT words MATCHES "${message}")
        message(FATAL_ERROR "Expected a failure that says \"${message}\", got result ${result}:\n${output}")
    endif()
endfunction()

function(expect_files)
    file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*)
    set(expected
        kxpl/CircularBuffer.h
        kxpl/KxLock.h
        kxpl/KxMutex.h
        kxpl/KxThread.h
        kxpl/KxThreadLocal.h
        kxpl/KxTime.h
        kxpl/KxUnicode.h
        kxpl/detail/KxAtomic.h
        kxpl/hslog/HSL.h
        kxpl/hslog/HSLBounded.h
        kxpl/hslog/HSLCat.h
        kxpl/hslog/HSLCollectionThread.h
        kxpl/hslog/HSLFormatCheck.h
        kxpl/hslog/HSLLogContext.h
        kxpl/hslog/HSLLogManager.h
        kxpl/hslog/HSLValue.h
        kxpl/hslog/detail/HSLFormatRules.h
        kxpl/hslog/detail/HSLRecordPlace.h)
    if(GLUE)
        list(APPEND expected fallcatch/fallcatch.h)
    endif()
    if(BREAKPAD)
        list(APPEND expected fallcatch/fallcatch_breakpad.h)
    endif()
    list(SORT headers)
    list(SORT expected)
    if(NOT headers STREQUAL expected)
        message(FATAL_ERROR "Installed headers: ${headers}\nexpected: ${expected}")
    endif()
    file(GLOB_RECURSE libraries RELATIVE ${prefix} ${prefix}/*libfallcatch*)
    if(libraries AND NOT GLUE)
        message(FATAL_ERROR "Installed without having been asked for: ${libraries}")
    endif()
endfunction()

# A package that can be moved names neither the place it was installed to nor where it was built.
function(expect_no_paths)
    file(GLOB_RECURSE scripts ${prefix}/*.cmake)
    if(NOT scripts)
        message(FATAL_ERROR "No package in ${prefix}")
    endif()
    foreach(script IN LISTS scripts)
        file(READ ${script} text)
        foreach(path IN ITEMS ${WORK_DIR} ${FALLCATCH_BINARY_DIR} ${FALLCATCH_SOURCE_DIR})
            string(FIND "${text}" "${path}" position)
            if(NOT position EQUAL -1)
                message(FATAL_ERROR "${script} names ${path}")
            endif()
        endforeach()
    endforeach()
endfunction()

if(STEP STREQUAL "install")
    file(REMOVE_RECURSE ${prefix} ${WORK_DIR}/first-prefix)
    run(${CMAKE_COMMAND} --install ${FALLCATCH_BINARY_DIR} --config ${CONFIG} --prefix ${WORK_DIR}/first-prefix)
    file(RENAME ${WORK_DIR}/first-prefix ${prefix})
    expect_files()
    expect_no_paths()
elseif(STEP STREQUAL "package")
    set(components kxpl)
    if(GLUE)
        set(components "kxpl\;glue")
    endif()
    build_and_test(${WORK_DIR}/package -DCMAKE_PREFIX_PATH=${prefix} "-DCONSUMER_COMPONENTS=${components}")
elseif(STEP STREQUAL "subdirectory")
    build_and_test(${WORK_DIR}/subdirectory -DFALLCATCH_SOURCE=${FALLCATCH_SOURCE_DIR})
elseif(STEP STREQUAL "unknown_component")
    expect_refusal("no component nonsense" -DCONSUMER_COMPONENTS=nonsense)
elseif(STEP STREQUAL "missing_bridge")
    expect_refusal("FALLCATCH_GLUE=OFF" -DCONSUMER_COMPONENTS=glue)
else()
    message(FATAL_ERROR "No step ${STEP}")
endif()

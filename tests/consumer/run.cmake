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

# SOURCE_DIR: the project, where it is not the one in this folder.
function(configure_command build_dir result)
    if(NOT SOURCE_DIR)
        set(SOURCE_DIR ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
    endif()
    set(${result} ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${build_dir} -G ${GENERATOR}
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
        kxpl/CircularBuffer.h kxpl/FallcatchVersion.h kxpl/KxLock.h kxpl/KxMutex.h kxpl/KxThread.h
        kxpl/KxThreadLocal.h kxpl/KxTime.h kxpl/KxUnicode.h
        kxpl/detail/CircularBufferPlace.h
        kxpl/detail/KxAtCall.h kxpl/detail/KxAtomic.h kxpl/detail/KxHost.h kxpl/hslog/HSL.h
        kxpl/hslog/HSLBounded.h kxpl/hslog/HSLCrashLog.h
        kxpl/hslog/HSLLastingLog.h kxpl/hslog/HSLCat.h kxpl/hslog/HSLCategory.h kxpl/hslog/HSLCollectionThread.h
        kxpl/hslog/HSLForkGuard.h
        kxpl/hslog/HSLFormatCheck.h kxpl/hslog/HSLLevel.h kxpl/hslog/HSLLog.h kxpl/hslog/HSLLogContext.h
        kxpl/hslog/HSLLogManager.h kxpl/hslog/HSLSequence.h kxpl/hslog/HSLValue.h kxpl/hslog/detail/HSLFormatRules.h
        kxpl/hslog/detail/HSLLogCall.h kxpl/hslog/detail/HSLLogLimit.h kxpl/hslog/detail/HSLLogPlan.h
        kxpl/hslog/detail/HSLLogShape.h kxpl/hslog/detail/HSLLogSpec.h kxpl/hslog/detail/HSLLogTypes.h
        kxpl/hslog/detail/HSLNullText.h kxpl/hslog/detail/HSLRecordFields.h kxpl/hslog/detail/HSLTakenNumber.h kxpl/hslog/detail/HSLTextCut.h kxpl/hslog/sinks/HSLFileSink.h
        kxpl/hslog/sinks/HSLGzip.h kxpl/hslog/sinks/HSLLayout.h kxpl/hslog/sinks/HSLQueue.h
        kxpl/hslog/sinks/HSLSink.h kxpl/hslog/sinks/HSLStreamSink.h kxpl/hslog/sinks/HSLSystemSink.h
        kxpl/hslog/sinks/HSLTextSink.h)
    if(GLUE)
        list(APPEND expected fallcatch/FallcatchVersion.h fallcatch/fallcatch.h)
    endif()
    if(BREAKPAD)
        list(APPEND expected fallcatch/fallcatch_breakpad.h)
    endif()
    list(SORT headers)
    list(SORT expected)
    if(NOT headers STREQUAL expected)
        set(missing ${expected})
        list(REMOVE_ITEM missing ${headers})
        list(REMOVE_ITEM headers ${expected})
        message(FATAL_ERROR "Not installed: ${missing}\nNot expected: ${headers}")
    endif()
    file(GLOB_RECURSE libraries RELATIVE ${prefix} ${prefix}/*libfallcatch*)
    if(libraries AND NOT GLUE)
        message(FATAL_ERROR "Installed without having been asked for: ${libraries}")
    endif()
endfunction()

# What stands in the licence's and the bill's place, whatever was built.
function(expect_documents)
    set(expected LICENSE fallcatch.spdx.json)
    if(BREAKPAD)
        set(expected LICENSE LICENSE.breakpad fallcatch.spdx.json)
    endif()
    file(GLOB documents RELATIVE ${prefix}/share/doc/fallcatch ${prefix}/share/doc/fallcatch/*)
    if(NOT documents STREQUAL expected)
        message(FATAL_ERROR "Installed documents: ${documents}")
    endif()
    file(READ ${prefix}/share/doc/fallcatch/fallcatch.spdx.json bill)
    string(JSON version GET "${bill}" spdxVersion)
    string(JSON count LENGTH "${bill}" packages)
    math(EXPR last "${count} - 1")
    set(names "")
    foreach(i RANGE ${last})
        string(JSON name GET "${bill}" packages ${i} name)
        list(APPEND names "${name}")
    endforeach()
    if(NOT version STREQUAL "SPDX-2.3" OR NOT "fallcatch" IN_LIST names
            OR (BREAKPAD AND NOT ("breakpad" IN_LIST names AND "libcurl" IN_LIST names)))
        message(FATAL_ERROR "The bill of materials of ${version} tells of ${names}")
    endif()
endfunction()

# Compiles and runs a host with nothing but what pkg-config tells.
function(use_pkg_config name compiler source)
    set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
    execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ${name} RESULT_VARIABLE result OUTPUT_VARIABLE flags
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "pkg-config knows no ${name}")
    endif()
    separate_arguments(flags UNIX_COMMAND "${flags}")
    separate_arguments(own_flags UNIX_COMMAND "${ARGN}")
    file(MAKE_DIRECTORY ${WORK_DIR}/pkg-config)
    set(program ${WORK_DIR}/pkg-config/${name})
    run(${compiler} ${own_flags} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/${source} -o ${program} ${flags}
        -Wl,-rpath,${prefix}/lib)
    keep_to_work_dir()
    run(${program})
endfunction()

# Everything that an installation put somewhere is gone after an uninstallation, and nothing else is.
function(expect_uninstalled)
    set(root ${WORK_DIR}/uninstalled)
    file(REMOVE_RECURSE ${root})
    set(ENV{DESTDIR} ${root})
    set(manifest ${FALLCATCH_BINARY_DIR}/install_manifest.txt)
    run(${CMAKE_COMMAND} --install ${FALLCATCH_BINARY_DIR} --config ${CONFIG} --prefix /opt/here)
    file(WRITE ${root}/opt/here/include/others.h "")
    # A copy, since other tests install from the same build.
    file(COPY_FILE ${manifest} ${WORK_DIR}/manifest.txt)
    run(${CMAKE_COMMAND} -DMANIFEST=${WORK_DIR}/manifest.txt
        -P ${FALLCATCH_SOURCE_DIR}/cmake/FallcatchUninstall.cmake)
    file(GLOB_RECURSE left LIST_DIRECTORIES TRUE RELATIVE ${root}/opt/here ${root}/opt/here/*)
    list(FILTER left EXCLUDE REGEX "^(include|lib|lib/cmake|lib/pkgconfig|libexec|share|share/doc|bin)$")
    if(NOT left STREQUAL "include/others.h")
        message(FATAL_ERROR "Left over: ${left}")
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

set(components kxpl)
if(GLUE)
    string(APPEND components "\;glue")
endif()
if(BREAKPAD)
    string(APPEND components "\;breakpad")
endif()
if(STEP STREQUAL "install")
    file(REMOVE_RECURSE ${prefix} ${WORK_DIR}/first-prefix)
    run(${CMAKE_COMMAND} --install ${FALLCATCH_BINARY_DIR} --config ${CONFIG} --prefix ${WORK_DIR}/first-prefix)
    file(RENAME ${WORK_DIR}/first-prefix ${prefix})
    expect_files()
    expect_documents()
    expect_no_paths()
elseif(STEP STREQUAL "package")
    build_and_test(${WORK_DIR}/package -DCMAKE_PREFIX_PATH=${prefix} "-DCONSUMER_COMPONENTS=${components}")
elseif(STEP STREQUAL "subdirectory")
    build_and_test(${WORK_DIR}/subdirectory -DFALLCATCH_SOURCE=${FALLCATCH_SOURCE_DIR}
        -DCMAKE_CXX_STANDARD=${STANDARD} -DCMAKE_COMPILE_WARNING_AS_ERROR=ON -DCMAKE_UNITY_BUILD=ON)
elseif(STEP STREQUAL "fetch_content")
    # As a download: an archive of the tree, unpacked by the host's own build.
    set(SOURCE_DIR ${WORK_DIR}/fetch_content_source)
    file(MAKE_DIRECTORY ${SOURCE_DIR})
    set(archive ${SOURCE_DIR}/fallcatch.tar.gz)
    execute_process(COMMAND ${CMAKE_COMMAND} -E tar czf ${archive} CMakeLists.txt LICENSE Shared cmake packaging
        WORKING_DIRECTORY ${FALLCATCH_SOURCE_DIR} COMMAND_ERROR_IS_FATAL ANY)
    configure_file(${FALLCATCH_SOURCE_DIR}/examples/minimal-cpp/main.cpp ${SOURCE_DIR}/main.cpp COPYONLY)
    file(WRITE ${SOURCE_DIR}/CMakeLists.txt "cmake_minimum_required(VERSION 3.21)
project(host LANGUAGES C CXX)
enable_testing()
set(FALLCATCH_GLUE OFF)
include(FetchContent)
FetchContent_Declare(fallcatch URL ${archive})
FetchContent_MakeAvailable(fallcatch)
add_executable(host main.cpp)
target_link_libraries(host PRIVATE fallcatch::kxpl)
add_test(NAME host COMMAND host)
set_tests_properties(host PROPERTIES PASS_REGULAR_EXPRESSION \"42 files opened\")
")
    # What is tried is the way, not the code: quick to build, and no more of it than the host needs.
    configure_command(${WORK_DIR}/fetch_content configure "-DCMAKE_CXX_FLAGS_RELEASE=-O0")
    file(REMOVE_RECURSE ${WORK_DIR}/fetch_content)
    run(${configure})
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/fetch_content --parallel 2 --target host)
    run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK_DIR}/fetch_content --output-on-failure --no-tests=error)
elseif(STEP STREQUAL "c_only")
    set(SOURCE_DIR ${CMAKE_CURRENT_LIST_DIR}/c_only)
    build_and_test(${WORK_DIR}/c_only -DCMAKE_PREFIX_PATH=${prefix} "-DCONSUMER_COMPONENTS=${components}")
elseif(STEP STREQUAL "c_only_subdirectory")
    set(SOURCE_DIR ${WORK_DIR}/c_only_subdirectory_source)
    file(WRITE ${SOURCE_DIR}/CMakeLists.txt "cmake_minimum_required(VERSION 3.21)\nproject(host LANGUAGES C)\n"
        "add_subdirectory(${FALLCATCH_SOURCE_DIR} fallcatch)\n")
    expect_refusal("needs project.... LANGUAGES C CXX.")
elseif(STEP STREQUAL "clang")
    set(SETTINGS ${WORK_DIR}/clang.cmake)
    file(WRITE ${SETTINGS} "set(CMAKE_C_COMPILER ${CLANG} CACHE STRING \"\")\n"
        "set(CMAKE_CXX_COMPILER ${CLANG}++ CACHE STRING \"\")\n")
    configure_command(${WORK_DIR}/clang configure -DFALLCATCH_SOURCE=${FALLCATCH_SOURCE_DIR} -DCONSUMER_GLUE=ON)
    file(REMOVE_RECURSE ${WORK_DIR}/clang)
    run(${configure})
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/clang --parallel 2 --target fallcatch_objects)
elseif(STEP STREQUAL "pkg_config")
    use_pkg_config(kxpl ${CXX} logging_host.cpp -std=c++17 ${CXX_FLAGS})
    if(BREAKPAD)
        use_pkg_config(fallcatch ${CC} c_only/host.c ${C_FLAGS})
    endif()
elseif(STEP STREQUAL "uninstall")
    expect_uninstalled()
elseif(STEP STREQUAL "unknown_component")
    expect_refusal("no component nonsense" -DCONSUMER_COMPONENTS=nonsense)
elseif(STEP STREQUAL "missing_bridge")
    expect_refusal("FALLCATCH_GLUE=OFF" -DCONSUMER_COMPONENTS=glue)
else()
    message(FATAL_ERROR "No step ${STEP}")
endif()

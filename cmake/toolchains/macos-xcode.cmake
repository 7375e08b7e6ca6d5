# For a Mac with Xcode: the oldest system by the SDK, unless CMAKE_OSX_DEPLOYMENT_TARGET is given.
include("${CMAKE_CURRENT_LIST_DIR}/../FallcatchOldestMacOS.cmake")

if(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
    set(sdk "${CMAKE_OSX_SYSROOT}")
    if(NOT IS_DIRECTORY "${sdk}")
        execute_process(COMMAND xcrun --sdk macosx --show-sdk-path
            OUTPUT_VARIABLE sdk OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    endif()
    fallcatch_oldest_macos("${sdk}" oldest)
    set(CMAKE_OSX_DEPLOYMENT_TARGET ${oldest} CACHE STRING "Oldest macOS")
endif()

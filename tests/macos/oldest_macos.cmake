# The oldest system by the SDK, with SDKs that hold nothing but their settings. Run with -DWORK_DIR=<folder>.
cmake_minimum_required(VERSION 3.21)
include("${CMAKE_CURRENT_LIST_DIR}/../../cmake/FallcatchOldestMacOS.cmake")

function(expect_oldest sdk wanted)
    fallcatch_oldest_macos("${WORK_DIR}/${sdk}" found)
    if(NOT found STREQUAL wanted)
        message(SEND_ERROR "${sdk}: found ${found}, wanted ${wanted}")
    endif()
endfunction()

set(settings "{\"SupportedTargets\":{\"macosx\":{\"MinimumDeploymentTarget\":\"@oldest@\"}}}")
foreach(oldest IN ITEMS 10.9 10.13 12.0)
    file(CONFIGURE OUTPUT "${WORK_DIR}/takes-${oldest}/SDKSettings.json" CONTENT "${settings}" @ONLY)
endforeach()
file(WRITE "${WORK_DIR}/other/SDKSettings.json" "{\"Version\":\"10.14\"}")
file(WRITE "${WORK_DIR}/broken/SDKSettings.json" "{")

expect_oldest(takes-10.9 10.13)
expect_oldest(takes-10.13 10.13)
expect_oldest(takes-12.0 12.0)
expect_oldest(other 10.13)
expect_oldest(broken 10.13)
expect_oldest(none 10.13)

# Adds fallcatch as a subdirectory and sees to it that it brings its libraries and nothing else.
set(FALLCATCH_DEFAULT_URL "http://consumer.example/submit" CACHE STRING "" FORCE)

set(flags_before "${CMAKE_CXX_FLAGS}|${CMAKE_C_FLAGS}|${CMAKE_BUILD_TYPE}|${CMAKE_CXX_STANDARD}")
add_subdirectory(${FALLCATCH_SOURCE} fallcatch)
set(flags_after "${CMAKE_CXX_FLAGS}|${CMAKE_C_FLAGS}|${CMAKE_BUILD_TYPE}|${CMAKE_CXX_STANDARD}")
if(NOT flags_before STREQUAL flags_after)
    message(FATAL_ERROR "fallcatch changed the consumer's flags: ${flags_after}")
endif()

function(collect_targets directory result)
    get_directory_property(targets DIRECTORY ${directory} BUILDSYSTEM_TARGETS)
    get_directory_property(subdirectories DIRECTORY ${directory} SUBDIRECTORIES)
    foreach(subdirectory IN LISTS subdirectories)
        collect_targets(${subdirectory} more)
        list(APPEND targets ${more})
    endforeach()
    set(${result} ${targets} PARENT_SCOPE)
endfunction()

collect_targets(${FALLCATCH_SOURCE} targets)
list(SORT targets)
set(expected kxpl kxpl_sinks)
if(FALLCATCH_GLUE)
    set(expected fallcatch fallcatch_objects fallcatch_static kxpl kxpl_sinks)
endif()
if(TARGET kxpl_sinks_gzip) # where zlib is
    list(APPEND expected kxpl_sinks_gzip)
endif()
if(NOT targets STREQUAL expected)
    message(FATAL_ERROR "fallcatch as a subdirectory builds ${targets} instead of ${expected}")
endif()

foreach(library IN LISTS targets)
    get_target_property(options ${library} INTERFACE_COMPILE_OPTIONS)
    if(options)
        message(FATAL_ERROR "${library} hands compiler options on to the consumer: ${options}")
    endif()
endforeach()

if(FALLCATCH_GLUE)
    add_test(NAME built_in_url COMMAND ${CMAKE_COMMAND}
        "-DLIBRARY=$<TARGET_FILE:fallcatch>" "-DTEXT=${FALLCATCH_DEFAULT_URL}"
        -P ${CMAKE_CURRENT_LIST_DIR}/contains_text.cmake)
endif()

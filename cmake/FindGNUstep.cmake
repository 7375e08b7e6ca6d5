# Finds GNUstep's Foundation through gnustep-config and makes the imported target GNUstep::base.
#
# Of the flags that gnustep-config prints only those are taken that describe the library: its macros, include
# paths and Objective-C dialect. Warnings, optimisation and dependency files are this project's own business.

find_program(GNUSTEP_CONFIG gnustep-config)
set(_flags "")
if(GNUSTEP_CONFIG)
    execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags OUTPUT_VARIABLE _flags
        OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
find_library(GNUSTEP_BASE_LIBRARY gnustep-base)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GNUstep
    REQUIRED_VARS GNUSTEP_CONFIG GNUSTEP_BASE_LIBRARY _flags
    REASON_FAILURE_MESSAGE "install gobjc++, libgnustep-base-dev, gnustep-make and make, or configure with -DFALLCATCH_GLUE=OFF")

if(GNUstep_FOUND AND NOT TARGET GNUstep::base)
    separate_arguments(_flags UNIX_COMMAND "${_flags}")
    set(_includes "")
    set(_options "")
    foreach(_flag IN LISTS _flags)
        if(_flag MATCHES "^-I(/.*)")
            # The user's own folder is named whether it is there or not.
            if(IS_DIRECTORY "${CMAKE_MATCH_1}")
                list(APPEND _includes "${CMAKE_MATCH_1}")
            endif()
        elseif(_flag MATCHES "^-(D|fobjc|fconstant-string-class|fexceptions|pthread)")
            list(APPEND _options "${_flag}")
        endif()
    endforeach()
    add_library(GNUstep::base INTERFACE IMPORTED)
    target_include_directories(GNUstep::base SYSTEM INTERFACE ${_includes})
    # The class of constant strings is part of the dialect of Objective-C only.
    foreach(_option IN LISTS _options)
        if(_option MATCHES "^-(D|pthread)")
            target_compile_options(GNUstep::base INTERFACE "${_option}")
        else()
            target_compile_options(GNUstep::base INTERFACE "$<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:${_option}>")
        endif()
    endforeach()
    target_link_libraries(GNUstep::base INTERFACE gnustep-base objc)
endif()

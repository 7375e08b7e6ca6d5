# Makes a shared library a framework with a versioned layout that an application embeds:
#
#     fallcatch.framework/Versions/A/fallcatch              the library
#     fallcatch.framework/Versions/A/Headers/fallcatch.h
#     fallcatch.framework/Versions/A/Modules/module.modulemap
#     fallcatch.framework/Versions/A/Resources/{Info.plist,PrivacyInfo.xcprivacy}
#     fallcatch.framework/{fallcatch,Headers,Modules,Resources}, Versions/Current: symbolic links
#
# and, as target fallcatch_dsym, fallcatch.framework.dSYM beside it.

set(FALLCATCH_BUNDLE_IDENTIFIER "org.fallcatch.fallcatch" CACHE STRING "The framework's bundle identifier")

# Makefiles link a framework with flags of its own and leave those of shared libraries out; Ninja and Xcode do not.
if(CMAKE_GENERATOR MATCHES "Makefiles" AND NOT DEFINED CMAKE_MACOSX_FRAMEWORK_LINKER_FLAGS)
    set(CMAKE_MACOSX_FRAMEWORK_LINKER_FLAGS "${CMAKE_SHARED_LINKER_FLAGS}")
    foreach(config IN ITEMS DEBUG RELEASE RELWITHDEBINFO MINSIZEREL)
        set(CMAKE_MACOSX_FRAMEWORK_LINKER_FLAGS_${config} "${CMAKE_SHARED_LINKER_FLAGS_${config}}")
    endforeach()
endif()

function(fallcatch_framework target header)
    set(packaging ${PROJECT_SOURCE_DIR}/packaging/macos)
    # A slice cross-built alone says what all of them together say. arm64 came with 11.0.
    set(FALLCATCH_OLDEST_MACOS "${CMAKE_OSX_DEPLOYMENT_TARGET}")
    set(by_processor i386 10.9 x86_64 10.13 arm64 11.0)
    if(FALLCATCH_OLDEST_MACOS)
        set(by_processor "")
        foreach(processor IN LISTS CMAKE_OSX_ARCHITECTURES)
            set(oldest ${FALLCATCH_OLDEST_MACOS})
            if(processor STREQUAL "arm64" AND oldest VERSION_LESS 11.0)
                set(oldest 11.0)
            endif()
            list(APPEND by_processor ${processor} ${oldest})
        endforeach()
    else()
        set(FALLCATCH_OLDEST_MACOS 10.9)
    endif()
    set(FALLCATCH_OLDEST_BY_PROCESSOR "")
    while(by_processor)
        list(POP_FRONT by_processor processor oldest)
        string(APPEND FALLCATCH_OLDEST_BY_PROCESSOR
            "\n\t\t<key>${processor}</key>\n\t\t<string>${oldest}</string>")
    endwhile()
    configure_file(${packaging}/Info.plist.in ${CMAKE_CURRENT_BINARY_DIR}/Info.plist @ONLY)

    # The install name becomes @executable_path/../Frameworks/fallcatch.framework/Versions/A/fallcatch.
    set_target_properties(${target} PROPERTIES
        FRAMEWORK ON
        FRAMEWORK_VERSION A
        MACHO_COMPATIBILITY_VERSION ${PROJECT_VERSION_MAJOR}.0.0
        MACHO_CURRENT_VERSION ${PROJECT_VERSION}
        MACOSX_FRAMEWORK_INFO_PLIST ${CMAKE_CURRENT_BINARY_DIR}/Info.plist
        INSTALL_NAME_DIR "@executable_path/../Frameworks"
        BUILD_WITH_INSTALL_NAME_DIR ON)

    # What the four functions never reach stays out. Objects are named as sources are; see fallcatch_map_folders.
    if(NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "i386")
        target_link_options(${target} PRIVATE "LINKER:-dead_strip")
    endif()
    set(prepend "")
    include(CheckLinkerFlag)
    check_linker_flag(CXX "LINKER:-oso_prefix,${PROJECT_BINARY_DIR}/" FALLCATCH_LINKER_NAMES_OBJECTS)
    if(FALLCATCH_LINKER_NAMES_OBJECTS)
        target_link_options(${target} PRIVATE "LINKER:-oso_prefix,${PROJECT_BINARY_DIR}/")
        set(prepend --oso-prepend-path "${PROJECT_BINARY_DIR}")
    endif()
    check_linker_flag(CXX "LINKER:-reproducible" FALLCATCH_LINKER_KEEPS_NO_TIMES)
    if(FALLCATCH_LINKER_KEEPS_NO_TIMES)
        target_link_options(${target} PRIVATE "LINKER:-reproducible")
    endif()

    # Generators copy a framework's files only before they compile a source of its target, and this target has
    # objects alone.
    set(bundle "$<TARGET_BUNDLE_DIR:${target}>")
    set(copies "")
    foreach(pair IN ITEMS
            "Headers=${header}"
            "Modules=${packaging}/module.modulemap"
            "Resources=${packaging}/PrivacyInfo.xcprivacy")
        string(REGEX MATCH "^([^=]+)=(.+)$" _ "${pair}")
        list(APPEND copies
            COMMAND ${CMAKE_COMMAND} -E make_directory "${bundle}/Versions/A/${CMAKE_MATCH_1}"
            COMMAND ${CMAKE_COMMAND} -E copy_if_different "${CMAKE_MATCH_2}"
                "${bundle}/Versions/A/${CMAKE_MATCH_1}"
            COMMAND ${CMAKE_COMMAND} -E create_symlink "Versions/Current/${CMAKE_MATCH_1}"
                "${bundle}/${CMAKE_MATCH_1}")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${CMAKE_MATCH_2}")
    endforeach()
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM COMMENT "Filling the framework" ${copies})

    find_program(FALLCATCH_DSYMUTIL dsymutil)
    if(FALLCATCH_DSYMUTIL)
        add_custom_target(${target}_dsym VERBATIM DEPENDS ${target} COMMENT "Collecting debug information"
            COMMAND ${FALLCATCH_DSYMUTIL} ${prepend} $<TARGET_FILE:${target}> -o "$<TARGET_BUNDLE_DIR:${target}>.dSYM")
    endif()
endfunction()

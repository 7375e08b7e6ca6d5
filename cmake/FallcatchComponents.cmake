# What is installed, by component: kxpl, glue, breakpad and tools. Each has an export set of its own, so that a
# package may carry some of them only.

# Installs libraries of a component; hosts find them as fallcatch::NAME.
function(fallcatch_install_libraries component)
    if(NOT FALLCATCH_INSTALL)
        return()
    endif()
    install(TARGETS ${ARGN} EXPORT fallcatch-${component}-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component}
        FRAMEWORK DESTINATION Library/Frameworks COMPONENT ${component})
    set_property(GLOBAL APPEND PROPERTY FALLCATCH_COMPONENTS ${component})
endfunction()

# Installs headers of a component below include/FOLDER.
function(fallcatch_install_headers component folder)
    if(FALLCATCH_INSTALL)
        install(FILES ${ARGN} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT ${component})
    endif()
endfunction()

# Installs programs for people, as the component tools: targets of this build, which projects that find the package
# may run as fallcatch::NAME.
function(fallcatch_install_tools)
    if(NOT FALLCATCH_INSTALL)
        return()
    endif()
    install(TARGETS ${ARGN} EXPORT fallcatch-tools-targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    set_property(GLOBAL APPEND PROPERTY FALLCATCH_COMPONENTS tools)
endfunction()

# Install rules: the libraries, their public headers and a package for find_package(fallcatch CONFIG).
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/fallcatch)
set(installed_libraries kxpl)
set(has_glue FALSE)
if(FALLCATCH_GLUE)
    list(APPEND installed_libraries fallcatch_static fallcatch)
    set(has_glue TRUE)
endif()

install(TARGETS ${installed_libraries} EXPORT fallcatch-targets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    FRAMEWORK DESTINATION Library/Frameworks)

# The folders that are left out hold the inside of a record, of a pass and of the renderer.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Shared/KXPL/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kxpl
    FILES_MATCHING PATTERN "*.h"
    PATTERN "record" EXCLUDE
    PATTERN "collect" EXCLUDE
    PATTERN "render" EXCLUDE)
if(FALLCATCH_GLUE)
    install(FILES ${PROJECT_SOURCE_DIR}/Shared/DebugTools/Breakpad/Glue/fallcatch.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/fallcatch)
endif()

install(EXPORT fallcatch-targets NAMESPACE fallcatch:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/fallcatch-config.cmake.in
    ${PROJECT_BINARY_DIR}/fallcatch-config.cmake
    INSTALL_DESTINATION ${package_dir}
    NO_SET_AND_CHECK_MACRO
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/fallcatch-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/fallcatch-config.cmake
    ${PROJECT_BINARY_DIR}/fallcatch-config-version.cmake
    DESTINATION ${package_dir})

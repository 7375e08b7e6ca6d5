# Install rules for what belongs to all components: the package for find_package(fallcatch CONFIG), pkg-config's
# files, licences and the bill of materials. Where components come from: FallcatchComponents.cmake.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/fallcatch)
set(document_dir ${CMAKE_INSTALL_DATADIR}/doc/fallcatch)

fallcatch_install_libraries(kxpl kxpl kxpl_sinks)
# The folders that are left out hold the inside of a call, of a record, of a pass and of the renderer.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Shared/KXPL/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kxpl
    COMPONENT kxpl
    FILES_MATCHING PATTERN "*.h"
    PATTERN "log" EXCLUDE
    PATTERN "record" EXCLUDE
    PATTERN "collect" EXCLUDE
    PATTERN "crash" EXCLUDE
    PATTERN "render" EXCLUDE)
if(FALLCATCH_GLUE)
    fallcatch_install_libraries(glue fallcatch_static fallcatch)
    fallcatch_install_headers(glue fallcatch ${PROJECT_SOURCE_DIR}/Shared/DebugTools/Breakpad/Glue/fallcatch.h
        ${PROJECT_SOURCE_DIR}/Shared/KXPL/include/FallcatchVersion.h)
endif()

get_property(components GLOBAL PROPERTY FALLCATCH_COMPONENTS)
list(REMOVE_DUPLICATES components)
foreach(component IN LISTS components)
    install(EXPORT fallcatch-${component}-targets NAMESPACE fallcatch:: DESTINATION ${package_dir}
        COMPONENT ${component})
endforeach()
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
    DESTINATION ${package_dir} COMPONENT kxpl)

# pkg-config's files name no place: each finds the prefix from where it lies.
file(RELATIVE_PATH prefix_from_pc "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
set(adapter_link "")
if(TARGET fallcatch_breakpad)
    set(adapter_link " -lfallcatch_breakpad")
endif()
set(pc_names kxpl)
if(FALLCATCH_GLUE)
    list(APPEND pc_names fallcatch)
endif()
foreach(name IN LISTS pc_names)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/pkgconfig/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    set(component kxpl)
    if(name STREQUAL "fallcatch")
        set(component glue)
    endif()
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT ${component})
endforeach()

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${document_dir} COMPONENT kxpl)
if(TARGET fallcatch_breakpad)
    set(adapter_folder ${PROJECT_SOURCE_DIR}/Shared/DebugTools/Breakpad/Linux)
    foreach(variable IN ITEMS breakpad_root breakpad_package breakpad_package_name breakpad_package_sha256
            CURL_VERSION_STRING ZLIB_FOUND ZLIB_VERSION_STRING)
        get_directory_property(${variable} DIRECTORY ${adapter_folder} DEFINITION ${variable})
    endforeach()
    install(FILES ${breakpad_root}/LICENSE DESTINATION ${document_dir} RENAME LICENSE.breakpad COMPONENT breakpad)
endif()
include(FallcatchSbom)
install(FILES ${PROJECT_BINARY_DIR}/fallcatch.spdx.json DESTINATION ${document_dir} COMPONENT kxpl)

if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall COMMENT "Removing what was installed last" VERBATIM
        COMMAND ${CMAKE_COMMAND} -DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
            -P ${CMAKE_CURRENT_LIST_DIR}/FallcatchUninstall.cmake)
    include(FallcatchPackage)
endif()

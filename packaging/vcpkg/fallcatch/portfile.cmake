# An overlay port: it builds the tree that it lies in (vcpkg install fallcatch --overlay-ports=packaging/vcpkg).
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

vcpkg_check_features(OUT_FEATURE_OPTIONS feature_options FEATURES glue FALLCATCH_GLUE)
vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${feature_options}
        -DFALLCATCH_BREAKPAD=OFF
        -DFALLCATCH_TESTS=OFF
        -DFALLCATCH_BENCHMARKS=OFF
        -DFALLCATCH_EXAMPLES=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/fallcatch)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")

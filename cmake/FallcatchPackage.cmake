# cpack -G "DEB;TGZ" in the build folder: one package with all that was built, its licences and its bill of
# materials.
set(CPACK_PACKAGE_NAME fallcatch)
set(CPACK_PACKAGE_VENDOR "The fallcatch authors")
set(CPACK_PACKAGE_CONTACT "The fallcatch authors <fallcatch@fallcatch.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Crash reports and fast logging for desktop applications")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_GENERATOR "TGZ")
set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_MONOLITHIC_INSTALL ON)
set(CPACK_STRIP_FILES OFF)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What a host's linker needs beside what the libraries themselves are linked with.
if(FALLCATCH_GLUE)
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libgnustep-base-dev, gobjc++")
endif()
# The adapter's library is looked for where the linker looks, so what it is linked with is found in this build too.
if(TARGET fallcatch_breakpad)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/Shared/DebugTools/Breakpad/Glue)
endif()
include(CPack)

# Debian's linkers do not take the sections of the legacy Objective-C runtime; this project's own links the
# framework's library, and no programs.
set(CMAKE_SYSTEM_PROCESSOR i386)
set(FALLCATCH_MACOS_TARGET i386-apple-macosx10.9)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(FALLCATCH_MACOS_FLAGS -msse2)
get_filename_component(FALLCATCH_MACOS_LINKER "${CMAKE_CURRENT_LIST_DIR}/../../packaging/macos/i386/ld" ABSOLUTE)
string(PREPEND FALLCATCH_MACOS_LINKER --ld-path=)
include("${CMAKE_CURRENT_LIST_DIR}/macos.cmake")

# Objects only: no linker outside old Xcodes takes the sections of the legacy Objective-C runtime.
set(CMAKE_SYSTEM_PROCESSOR i386)
set(FALLCATCH_MACOS_TARGET i386-apple-macosx10.9)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(FALLCATCH_MACOS_FLAGS -msse2)
include("${CMAKE_CURRENT_LIST_DIR}/macos.cmake")

set(CMAKE_SYSTEM_PROCESSOR arm64)
set(FALLCATCH_MACOS_TARGET arm64-apple-macosx11.0)
include("${CMAKE_CURRENT_LIST_DIR}/macos.cmake")

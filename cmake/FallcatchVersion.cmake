# The version stands in one place, the header that hosts include.
get_filename_component(header ${CMAKE_CURRENT_LIST_DIR}/../Shared/KXPL/include/FallcatchVersion.h ABSOLUTE)
file(STRINGS ${header} lines REGEX "^#define FALLCATCH_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM lines REPLACE "^.* " "")
list(JOIN lines "." fallcatch_version)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})

# The version of the package is the program's. The line that -version prints is
# the one place that has it: X.08.30.b7 there is 08.30.b7 here, since a Debian
# version begins with a digit.

set(VERSION_SOURCE ${CMAKE_SOURCE_DIR}/util/chronex/run/usage.cpp)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${VERSION_SOURCE})
file(STRINGS ${VERSION_SOURCE} VERSION_LINE REGEX "\"KORVALINE X\\.[0-9]")
if(NOT VERSION_LINE MATCHES "KORVALINE X\\.([0-9][0-9.]*\\.b[0-9]+) ")
  message(FATAL_ERROR "no version found in ${VERSION_SOURCE}")
endif()
set(CHRONEX_VERSION ${CMAKE_MATCH_1})

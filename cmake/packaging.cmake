# What is installed, and the Debian package made of it. To be included after the
# subdirectories.

include(GNUInstallDirs)
include(cmake/version.cmake)

# Each program has a manual doc/NAME.1 and completions completion/NAME.bash and
# completion/_NAME.
set(PROGRAMS chronex chronex-trail)
# Of doc, what users need; the other documents are for developers.
set(DOCUMENTS audit-file-format.md filter-language.md forward-log-format.md
              json-events.md key-file.md large-archives.md page.md performance.md
              robustness.md sql.md state-file.md stats.md)
file(GLOB EXAMPLES RELATIVE ${CMAKE_SOURCE_DIR}/examples CONFIGURE_DEPENDS
     examples/*.filter examples/*.awk examples/*.sh)
# The sample logs that the examples are about, where their maker is built.
set(SAMPLES shop.7-1 shop.7-2 shop.8-1 shop.8-3 depot.1-1 old-depot.1-1)

# cpack would build the tests as well.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(MADE_DIR ${CMAKE_BINARY_DIR}/installation)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)

# Goes first: it fails as long as nothing has been copied, and it notes for
# uninstall what will be. It also sets ZSH_FUNCTIONS.
install(SCRIPT ${CMAKE_BINARY_DIR}/prepare_install.cmake)

# Installs a file under another name. Both lists go into prepare_install.cmake.
function(install_as source directory name)
  install(FILES ${source} DESTINATION ${directory} RENAME ${name})
  set_property(GLOBAL APPEND PROPERTY INSTALL_SOURCES ${source})
  set_property(GLOBAL APPEND PROPERTY INSTALL_FILES ${directory}/${name})
endfunction()

# Installs a file compressed.
function(install_compressed source directory name)
  set(made ${MADE_DIR}/${name}.gz)
  add_custom_command(
    OUTPUT ${made}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${MADE_DIR}
    COMMAND gzip -9nc ${source} > ${made}
    DEPENDS ${source})
  set_property(GLOBAL APPEND PROPERTY INSTALL_MADE ${made})
  install_as(${made} ${directory} ${name}.gz)
endfunction()

# Installs a document without what speaks of the source tree, and with links
# that fit the place: documents are not in a directory doc there.
function(install_document source directory)
  cmake_path(GET source FILENAME name)
  cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${CMAKE_SOURCE_DIR}
             OUTPUT_VARIABLE path)
  set(made ${MADE_DIR}/${path})
  cmake_path(GET made PARENT_PATH made_dir)
  add_custom_command(
    OUTPUT ${made}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${made_dir}
    COMMAND sed -f ${CMAKE_SOURCE_DIR}/cmake/installed_document.sed
            ${source} > ${made}
    DEPENDS ${source} ${CMAKE_SOURCE_DIR}/cmake/installed_document.sed
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY INSTALL_MADE ${made})
  install_as(${made} ${directory} ${name})
endfunction()

foreach(program ${PROGRAMS})
  install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  set_property(GLOBAL APPEND PROPERTY INSTALL_SOURCES $<TARGET_FILE:${program}>)
  set_property(GLOBAL APPEND PROPERTY INSTALL_FILES
               ${CMAKE_INSTALL_BINDIR}/${program})
  install_compressed(${CMAKE_SOURCE_DIR}/doc/${program}.1
                     ${CMAKE_INSTALL_MANDIR}/man1 ${program}.1)
  # The places where Debian's shells look.
  install_as(${CMAKE_SOURCE_DIR}/completion/${program}.bash
             ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${program})
  install_as(${CMAKE_SOURCE_DIR}/completion/_${program}
             "${CMAKE_INSTALL_DATADIR}/zsh/\${ZSH_FUNCTIONS}" _${program})
endforeach()

# What the completions of both programs use.
install_as(${CMAKE_SOURCE_DIR}/completion/_chronex_filter
           "${CMAKE_INSTALL_DATADIR}/zsh/\${ZSH_FUNCTIONS}" _chronex_filter)
install_as(${CMAKE_SOURCE_DIR}/share/json-events.schema.json
           ${CMAKE_INSTALL_DATADIR}/chronex json-events.schema.json)
install_as(${CMAKE_SOURCE_DIR}/share/lnav/chronex.json
           ${CMAKE_INSTALL_DATADIR}/chronex/lnav chronex.json)

install_document(${CMAKE_SOURCE_DIR}/README.md ${CMAKE_INSTALL_DOCDIR})
foreach(document ${DOCUMENTS})
  install_document(${CMAKE_SOURCE_DIR}/doc/${document} ${CMAKE_INSTALL_DOCDIR})
endforeach()
file(GLOB PICTURES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/doc/pictures/*.png)
foreach(picture ${PICTURES})
  cmake_path(GET picture FILENAME name)
  install_as(${picture} ${CMAKE_INSTALL_DOCDIR}/pictures ${name})
endforeach()
install_as(${CMAKE_SOURCE_DIR}/packaging/copyright ${CMAKE_INSTALL_DOCDIR}
           copyright)
install_compressed(${CMAKE_SOURCE_DIR}/packaging/changelog
                   ${CMAKE_INSTALL_DOCDIR} changelog.Debian)

install_document(${CMAKE_SOURCE_DIR}/examples/README.md
                 ${CMAKE_INSTALL_DOCDIR}/examples)
foreach(example ${EXAMPLES})
  install_as(${CMAKE_SOURCE_DIR}/examples/${example}
             ${CMAKE_INSTALL_DOCDIR}/examples ${example})
endforeach()
if(TARGET make_samples)
  set(SAMPLE_DIR ${CMAKE_BINARY_DIR}/sample)
  list(TRANSFORM SAMPLES PREPEND ${SAMPLE_DIR}/ OUTPUT_VARIABLE SAMPLE_LOGS)
  add_custom_command(
    OUTPUT ${SAMPLE_LOGS}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${SAMPLE_DIR}
    COMMAND make_samples ${SAMPLE_DIR}
    DEPENDS make_samples)
  set_property(GLOBAL APPEND PROPERTY INSTALL_MADE ${SAMPLE_LOGS})
  foreach(sample ${SAMPLES})
    install_as(${SAMPLE_DIR}/${sample} ${CMAKE_INSTALL_DOCDIR}/examples
               ${sample})
  endforeach()
endif()

get_property(INSTALL_SOURCES GLOBAL PROPERTY INSTALL_SOURCES)
get_property(INSTALL_FILES GLOBAL PROPERTY INSTALL_FILES)
get_property(INSTALL_MADE GLOBAL PROPERTY INSTALL_MADE)
configure_file(cmake/prepare_install.cmake.in
               ${CMAKE_BINARY_DIR}/prepare_install.cmake.in @ONLY)
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/prepare_install.cmake
     INPUT ${CMAKE_BINARY_DIR}/prepare_install.cmake.in)

# Everything that is installed.
add_custom_target(installation ALL DEPENDS ${PROGRAMS} ${INSTALL_MADE})
add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DLIST=${CMAKE_BINARY_DIR}/installed_files.txt
          -P ${CMAKE_SOURCE_DIR}/cmake/uninstall.cmake
  VERBATIM)

# The first line of the changelog counts the packages of one version.
file(STRINGS packaging/changelog CHANGELOG_TOP LIMIT_COUNT 1)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${CMAKE_SOURCE_DIR}/packaging/changelog)
if(NOT CHANGELOG_TOP MATCHES "^chronex \\(([^()]+)-([0-9]+)\\)" OR
   NOT CMAKE_MATCH_1 STREQUAL CHRONEX_VERSION)
  message(FATAL_ERROR "packaging/changelog begins with \"${CHANGELOG_TOP}\", "
                      "but the program's version is ${CHRONEX_VERSION}")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME chronex)
set(CPACK_PACKAGE_VENDOR KORVALINE)
set(CPACK_PACKAGE_VERSION ${CHRONEX_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "audit trail from the forward logs of a KORVALINE database")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
# Without some tools cpack would make a package without dependencies.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/package_tools.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER
    "KORVALINE chronex developers <chronex@localhost.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION database)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The crypto library is loaded by the name that the development package brings.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS libssl-dev)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"chronex reads the forward logs of a KORVALINE database server and tells
who changed which record, when, from what to what: as a clear-text report
and as a binary audit file that can be filtered and reported again.
chronex-trail hands the same trail on as data: one JSON object a change.
.
Encrypted data sets are decrypted with OpenSSL's libcrypto, which is
loaded on demand as libcrypto.so; libssl-dev provides that name.")
include(CPack)

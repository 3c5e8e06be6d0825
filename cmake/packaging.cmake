# What is installed besides the program, and the Debian package. To be included
# after the subdirectories.

include(GNUInstallDirs)

install(FILES ${CMAKE_SOURCE_DIR}/doc/chronex.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The places where Debian's shells look.
install(FILES ${CMAKE_SOURCE_DIR}/completion/chronex.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME chronex)
install(FILES ${CMAKE_SOURCE_DIR}/completion/_chronex
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)

install(FILES
          ${CMAKE_SOURCE_DIR}/doc/audit-file-format.md
          ${CMAKE_SOURCE_DIR}/doc/filter-language.md
          ${CMAKE_SOURCE_DIR}/doc/forward-log-format.md
          ${CMAKE_SOURCE_DIR}/doc/key-file.md
          ${CMAKE_SOURCE_DIR}/doc/performance.md
          ${CMAKE_SOURCE_DIR}/doc/robustness.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/doc)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples/
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
        FILES_MATCHING PATTERN "*.filter" PATTERN "README.md")

# The sample logs that the examples are about, where their maker is built.
if(TARGET make_samples)
  set(SAMPLE_DIR ${CMAKE_BINARY_DIR}/sample)
  set(SAMPLE_LOGS ${SAMPLE_DIR}/shop.7-1 ${SAMPLE_DIR}/shop.7-2
                  ${SAMPLE_DIR}/shop.8-1 ${SAMPLE_DIR}/shop.8-3)
  add_custom_command(
    OUTPUT ${SAMPLE_LOGS}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${SAMPLE_DIR}
    COMMAND make_samples ${SAMPLE_DIR}
    DEPENDS make_samples)
  add_custom_target(sample_logs ALL DEPENDS ${SAMPLE_LOGS})
  install(FILES ${SAMPLE_LOGS} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME chronex)
set(CPACK_PACKAGE_VENDOR KORVALINE)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "audit trail from the forward logs of a KORVALINE database")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

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
.
Encrypted data sets are decrypted with OpenSSL's libcrypto, which is
loaded on demand as libcrypto.so; libssl-dev provides that name.")
include(CPack)

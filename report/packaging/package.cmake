# Installing mpdiag-report, and its Debian package (cpack, or "cmake --build build-report --target package"):
# mpdiag-report_<version>_amd64.deb with the program, its manual page and its copyright file.
include(GNUInstallDirs)
set(_packaging ${CMAKE_CURRENT_SOURCE_DIR}/packaging)
set(_doc ${CMAKE_INSTALL_DATADIR}/doc/mpdiag-report)

# The manual page, compressed as Debian installs manual pages (no name or time in the gzip header).
add_custom_command(OUTPUT mpdiag-report.1.gz
                   COMMAND gzip -9 -n -c ${_packaging}/mpdiag-report.1 > mpdiag-report.1.gz
                   DEPENDS ${_packaging}/mpdiag-report.1)
# The copyright file: the program's own, then those of the two header-only libraries compiled into it.
add_custom_command(OUTPUT copyright
                   COMMAND ${CMAKE_COMMAND} -DOUT=copyright -DHEAD=${_packaging}/copyright
                           "-DLIBRARIES=nlohmann-json3-dev\;libcli11-dev" -P ${_packaging}/copyright.cmake
                   DEPENDS ${_packaging}/copyright ${_packaging}/copyright.cmake)
add_custom_target(report_documents ALL DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/mpdiag-report.1.gz ${CMAKE_CURRENT_BINARY_DIR}/copyright)

install(TARGETS mpdiag-report RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mpdiag-report.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/copyright DESTINATION ${_doc})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mpdiag-report)
set(CPACK_PACKAGE_VENDOR Quorvel)
set(CPACK_PACKAGE_CONTACT Quorvel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "reader of mpdiag.zip: what is wrong with a machine's recovery environment")
# The summary above is the first line; this the long description after it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "mpdiag-report reads an archive that mpdiag.exe collected on a Windows machine and says,\n\
with evidence, what is wrong with its recovery environment and boot configuration: the\n\
recovery image and its drivers for the machine's controllers, the boot chain and the disks,\n\
the setup and product logs and the System event log; as text, JSON or an HTML page.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The shared libraries' packages come from dpkg-shlibdeps; the PCI names are read at run time.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "pci.ids")
set(CPACK_STRIP_FILES ON)
include(CPack)

# Installation of what is not installed next to its target, and the Debian package.
#
# Installed elsewhere: the plugin (plugin/), nfcui-host (host/app), nfcui-daemon (daemon/), the tools
# (tools/), translations, D-Bus XML, policy and service files, and the systemd units (data/).
include(CMakePackageConfigHelpers)

# The platform API, so that another dialog plugin can be built against it.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nfc-ui
        FILES_MATCHING PATTERN "*.h")
# Its library, libnfcui-base, is installed by platform/ui.
set(NFCUI_BASE_SONAME libnfcui-base.so.${PROJECT_VERSION_MAJOR})
set(NFCUI_CMAKE_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/NfcUiPlatform)
# From the configuration's folder back to the installation prefix.
file(RELATIVE_PATH NFCUI_CONFIG_TO_PREFIX /${NFCUI_CMAKE_CONFIG_DIR} /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/NfcUiPlatformConfig.cmake.in
               ${PROJECT_BINARY_DIR}/NfcUiPlatformConfig.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/NfcUiPlatformConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/NfcUiPlatformConfig.cmake ${PROJECT_BINARY_DIR}/NfcUiPlatformConfigVersion.cmake
        DESTINATION ${NFCUI_CMAKE_CONFIG_DIR})

# Documentation.
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN "images" EXCLUDE)

# cpack -G DEB (in the build directory) makes nfc-ui_<version>_<arch>.deb. Its library dependencies are
# found by dpkg-shlibdeps; dbus is what the programs talk over. The package installs where the build was
# configured to install: configure with -DCMAKE_INSTALL_PREFIX=/usr for a package (the system bus reads
# policy files only from /usr/share and /etc).
set(CPACK_PACKAGE_NAME nfc-ui)
set(CPACK_PACKAGE_VENDOR "nfc-ui")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "NFC user interface: dialog server, NFC UI agent plugin and NFC daemon")
set(CPACK_PACKAGE_DESCRIPTION "The NFC user-interface agent plugin, the dialog server that loads it \
(nfcui-host), the NFC daemon (nfcui-daemon, with PC/SC readers and a simulator) and the tools nfcui-sim \
and nfcui-ndef.")
set(CPACK_PACKAGE_CONTACT "nfc-ui developers <nfc-ui@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "dbus")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pcscd, libccid")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/data/debian/postinst")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
include(CPack)

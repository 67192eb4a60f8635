# SPDX-License-Identifier: MIT
# Installation (binary, desktop entry, icon, AppStream metadata, help page) and the Debian
# package.
#   cmake --install build/default --prefix /usr/local
#   (cd build/default && cpack -G DEB)
include(GNUInstallDirs)

install(TARGETS vorrik RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/data/${VORRIK_APP_ID}.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/data/${VORRIK_APP_ID}.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${PROJECT_SOURCE_DIR}/data/${VORRIK_APP_ID}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
# The help page that the alert's button and the tray's entry open, found relative to the
# executable: installed under share/doc/vorrik/, and copied to the same place in the build tree
# so that a program run from there finds it too.
set(VORRIK_HELP_PAGE share/doc/vorrik/help.html)
configure_file(${PROJECT_SOURCE_DIR}/data/help.html ${PROJECT_BINARY_DIR}/${VORRIK_HELP_PAGE}
               COPYONLY)
install(FILES ${PROJECT_SOURCE_DIR}/data/help.html DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vorrik)

set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "vorrik")
set(CPACK_PACKAGE_VENDOR "The Vorrik developers")
set(CPACK_PACKAGE_CONTACT "The Vorrik developers <maintainers@vorrik.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "small, exact desktop auto-clicker")
set(CPACK_PACKAGE_DESCRIPTION
    "Vorrik clicks automatically, tick after tick, at the mouse pointer or in turn at up to five
points picked on screen: left, right or double clicks, bursts, jitter and a stop-after count,
started and stopped with F6 from any application. It lives in one floating panel and a tray
icon, in five languages.")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://vorrik.example/")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "utils")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
# Library dependencies come from dpkg-shlibdeps; the X server needs XTEST for clicks, which
# every stock X server has, so nothing beyond the libraries is required.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The wlroots backend's windows need the Qt Wayland platform plugin.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, qt6-wayland")
include(CPack)

# Desktop integration and packages: what `cmake --install` puts beside the executable and the sounds on
# Linux, and the .deb that CPack makes of it (`make package`). The bundle (macOS) and the version resource
# (Windows) belong to the executable: src/app/CMakeLists.txt.
include(GNUInstallDirs)

set(BREVLIN_APP_ID app.brevlin.Brevlin)
set(BREVLIN_HOMEPAGE_URL "https://www.brevlin.app/" CACHE STRING "Home page named in the package metadata")
set(BREVLIN_SCREENSHOT_URL "https://www.brevlin.app/screenshots/panel.png" CACHE STRING
    "Screenshot shown by software centres")
set(BREVLIN_ICON_SIZES 16 22 24 32 48 64 128 256 512)

if(UNIX AND NOT APPLE)
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/linux/${BREVLIN_APP_ID}.desktop
            DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

    configure_file(${CMAKE_CURRENT_LIST_DIR}/linux/${BREVLIN_APP_ID}.metainfo.xml.in
                   ${PROJECT_BINARY_DIR}/packaging/${BREVLIN_APP_ID}.metainfo.xml @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/packaging/${BREVLIN_APP_ID}.metainfo.xml
            DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

    foreach(size IN LISTS BREVLIN_ICON_SIZES)
        install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/brevlin-${size}.png
                DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
                RENAME ${BREVLIN_APP_ID}.png)
    endforeach()
    install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/brevlin.svg
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
            RENAME ${BREVLIN_APP_ID}.svg)
    # Debian's place for the licence of a package's files.
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/linux/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brevlin)
    # The user guide with its pictures, beside it (the guide links them as images/...).
    install(FILES ${PROJECT_SOURCE_DIR}/docs/user-guide.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brevlin)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/images DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brevlin
            FILES_MATCHING PATTERN "*.png")

    # The manual page and the package's changelog, compressed as Debian wants them (gzip -9n: no name and
    # no time stamp inside, so the package is reproducible).
    find_program(BREVLIN_GZIP gzip REQUIRED)
    set(packaging_out ${PROJECT_BINARY_DIR}/packaging)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/linux/brevlin.1.in ${packaging_out}/brevlin.1 @ONLY)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/linux/changelog.in ${packaging_out}/changelog @ONLY)
    add_custom_command(OUTPUT ${packaging_out}/brevlin.1.gz ${packaging_out}/changelog.gz
                       COMMAND ${BREVLIN_GZIP} -9nf -k ${packaging_out}/brevlin.1 ${packaging_out}/changelog
                       DEPENDS ${packaging_out}/brevlin.1 ${packaging_out}/changelog
                       COMMENT "Compressing the manual page and the changelog")
    add_custom_target(brevlin_packaging_docs ALL DEPENDS ${packaging_out}/brevlin.1.gz ${packaging_out}/changelog.gz)
    install(FILES ${packaging_out}/brevlin.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${packaging_out}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brevlin)
endif()

# The .deb: dpkg-shlibdeps computes the libraries; what is opened at run time without being linked is
# named: libXcursor (the xcb plug-in opens it for themed resize cursors) and a font for the digits. On
# Debian 12 the xcb platform plug-in itself is in libqt6gui6 (qt6-qpa-plugins holds only vnc and tuio),
# the sound output is libpulse0 (linked), and libsndfile1 depends on its MP3 decoder (libmpg123):
# shlibdeps brings all three. tests/packaging/test-deb.sh checks
# that every library and font the running program maps comes with these.
set(CPACK_PACKAGE_NAME brevlin)
set(CPACK_PACKAGE_VENDOR Brevlin)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
# Lines under 80 characters, as dpkg shows them.
set(CPACK_PACKAGE_DESCRIPTION
    "A small, title-less panel that floats above every window, full-screen slide
shows included, counts down the time of a talk and hands the keyboard straight
back to the slides. At zero it can play a sound and count on into overtime,
with a reminder every few minutes.")
set(CPACK_PACKAGE_CONTACT "Brevlin maintainers <packages@brevlin.app>")
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${BREVLIN_HOMEPAGE_URL}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libxcursor1, fonts-dejavu-core | fonts-liberation2 | fonts-freefont-ttf")
# Without a sound server the panel still runs, silently.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pulseaudio | pipewire-pulse, qt6-translations-l10n")
include(CPack)

if(BREVLIN_BUILD_TESTS)
    # The desktop entry and the metainfo as a software centre reads them (no network: the links are only
    # checked for form). Skipped (exit code 77) where the validators are not installed.
    add_test(NAME packaging_metadata_valid
             COMMAND ${PROJECT_SOURCE_DIR}/tests/packaging/validate-metadata.sh
                     ${CMAKE_CURRENT_LIST_DIR}/linux/${BREVLIN_APP_ID}.desktop
                     ${PROJECT_BINARY_DIR}/packaging/${BREVLIN_APP_ID}.metainfo.xml ${PROJECT_VERSION})
    set_tests_properties(packaging_metadata_valid PROPERTIES SKIP_RETURN_CODE 77 LABELS "core;packaging")

    # The Windows version resource must stay compilable where no Windows build runs.
    find_program(BREVLIN_MINGW_WINDRES x86_64-w64-mingw32-windres)
    if(BREVLIN_MINGW_WINDRES AND BREVLIN_WINDOWS_RC)
        add_test(NAME packaging_windows_rc_compiles
                 COMMAND ${BREVLIN_MINGW_WINDRES} -i ${BREVLIN_WINDOWS_RC} -o ${PROJECT_BINARY_DIR}/packaging/brevlin-rc.o)
        set_tests_properties(packaging_windows_rc_compiles PROPERTIES LABELS "core;packaging")
    endif()
endif()

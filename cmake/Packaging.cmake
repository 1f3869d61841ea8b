# What `cmake --install` puts where, and the packages cpack makes of it: a Debian package on
# Linux, an NSIS installer on Windows. Only the station goes in; the stand-in tools (reference
# service, store host, telnet client stand-in) stay in the build folder.
if(STATION_LOGIC_ONLY)
    return()
endif()
include(GNUInstallDirs)

set(CPACK_PACKAGE_NAME vorneterminal)
set(CPACK_PACKAGE_VENDOR "VORNE")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "VORNE Terminal station: store connections and device agent of the till")
set(CPACK_PACKAGE_DESCRIPTION
    "Fetches the store connections this PC may use from the central service, starts the telnet client with the chosen store's sign-on data and keeps its window under supervision; prints reports, labels and receipts and drives the pole display for the store host.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "VORNE station team <station@vorneonline.example>")
set(CPACK_STRIP_FILES ON)

if(WIN32 AND CMAKE_CROSSCOMPILING)
    # The mingw cross build has no windeployqt: its run folder (app/CMakeLists.txt) already holds
    # the program with every DLL its import tables name and the platform plug-in.
    install(DIRECTORY ${CMAKE_BINARY_DIR}/run/ DESTINATION .)
elseif(WIN32)
    install(TARGETS vorneterminal RUNTIME_DEPENDENCY_SET station_runtime RUNTIME DESTINATION .)
    # Qt's DLLs and the plug-ins it loads (platforms/qwindows.dll, printing, styles) are found and
    # copied by windeployqt. FILENAME_VARIABLE is what Qt 6.4 knows; later versions still take it.
    qt_generate_deploy_app_script(TARGET vorneterminal FILENAME_VARIABLE station_deploy NO_UNSUPPORTED_PLATFORM_ERROR)
    install(SCRIPT ${station_deploy})
    # Everything else the program links (libcurl with zlib and OpenSSL from vcpkg), without the
    # system's own DLLs and without Qt, which the step above brings.
    set(station_dll_folders)
    if(DEFINED VCPKG_INSTALLED_DIR AND DEFINED VCPKG_TARGET_TRIPLET)
        list(APPEND station_dll_folders "${VCPKG_INSTALLED_DIR}/${VCPKG_TARGET_TRIPLET}/bin")
    endif()
    install(RUNTIME_DEPENDENCY_SET station_runtime DESTINATION .
            PRE_EXCLUDE_REGEXES "^api-ms-" "^ext-ms-" "^[Qq]t6"
            POST_EXCLUDE_REGEXES ".*[Ss]ystem32/.*\\.dll$"
            DIRECTORIES ${station_dll_folders})
endif()
if(WIN32)
    set(CPACK_GENERATOR NSIS)
    set(CPACK_PACKAGE_INSTALL_DIRECTORY "VORNE Terminal")
    set(CPACK_PACKAGE_EXECUTABLES vorneterminal "VORNE Terminal")
    set(CPACK_NSIS_DISPLAY_NAME "VORNE Terminal")
    set(CPACK_NSIS_INSTALLED_ICON_NAME vorneterminal.exe)
    set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
    set(CPACK_NSIS_EXECUTABLES_DIRECTORY .)
    # A 64-bit program: a 64-bit installer that installs into the 64-bit Program Files.
    set(CPACK_NSIS_DEFINES "Target amd64-unicode")
    set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
else()
    install(TARGETS vorneterminal RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/vorneterminal.desktop
            DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/vorneterminal.svg
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION misc)
    # The libraries the binary links become dependencies through dpkg-shlibdeps; Qt's platform
    # plug-ins are loaded at run time, so nothing links them and they are named here.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
endif()

include(CPack)

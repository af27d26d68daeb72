# The Debian package: `cpack -G DEB`. What it talks to is decided by whoever builds it, and is never a port of the
# user's own machine, where anybody may listen for speech and passwords.
foreach(name TAVRIK_BACKEND_URL TAVRIK_OPENROUTER_URL)
    set(url "${${name}}")
    if(name STREQUAL "TAVRIK_BACKEND_URL" AND url STREQUAL "")
        continue()
    endif()
    # A name with a dot: neither this machine's nor an address.
    if(NOT url MATCHES "^https://([A-Za-z0-9-]+\\.)+[A-Za-z][A-Za-z0-9-]*(:[0-9]+)?$"
            OR url MATCHES "\\.(localhost|localdomain)(:[0-9]+)?$")
        message(FATAL_ERROR "A package needs a service of its own for ${name}: https:// and the name of a host. It is "
            "\"${url}\".\nscripts/package names the backend, or says that there is none.")
    endif()
endforeach()
if(NOT TAVRIK_MAINTAINER MATCHES "^[^<>]+ <[^<> ]+@[^<> ]+>$")
    message(FATAL_ERROR "TAVRIK_MAINTAINER is who answers for the package, as \"Name <address>\": ${TAVRIK_MAINTAINER}")
endif()

set(documents ${CMAKE_INSTALL_DATADIR}/doc/tavrik)
string(TIMESTAMP TAVRIK_CHANGED "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(changelog.in changelog @ONLY)
add_custom_command(OUTPUT changelog.gz
    COMMAND ${GZIP_PROGRAM} -9nkf changelog
    DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/changelog)
add_custom_target(package_files ALL DEPENDS changelog.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz copyright DESTINATION ${documents})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavrik)
set(CPACK_PACKAGE_CONTACT "${TAVRIK_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "status-bar dictation and translation")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Hold a shortcut in any application, speak Persian, let go: fluent English,
German, Italian or French is pasted where the cursor was, and kept in a local
history. Tavrik lives in the status bar and runs only while you speak.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is loaded at run time, which no linker knows of.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qml6-module-qtquick, qml6-module-qtquick-templates, qml6-module-qtquick-window, qml6-module-qtqml, qml6-module-qtqml-models, qml6-module-qtqml-workerscript, qt6-svg-plugins | libqt6svg6 (<< 6.8)")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "ca-certificates, dbus-user-session | dbus-session-bus, fonts-inter, gnome-keyring | gnome-shell | kwalletmanager, pulseaudio | pipewire-pulse, xdg-utils")
include(CPack)

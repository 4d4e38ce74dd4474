# Packages: `cpack -G DEB` for the Debian release of this machine, `cpack -G TGZ` for an archive to unpack anywhere.
set(CPACK_PACKAGE_NAME tarnwick)
set(CPACK_PACKAGE_VENDOR "The Tarnwick developers")
set(CPACK_PACKAGE_CONTACT "The Tarnwick developers <developers@tarnwick.app>")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_SOURCE_DIR}/build/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/PackageGenerators.cmake")
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)

file(STRINGS /etc/os-release release REGEX "^VERSION_ID=")
string(REGEX MATCH "[0-9]+" release "${release}")
# Empty on a machine without dpkg, which makes no packages.
execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE architecture OUTPUT_STRIP_TRAILING_WHITESPACE)
set(TARNWICK_DEBIAN_RELEASE "1~deb${release}u1")
set(CPACK_TARNWICK_PACKAGE_FILE "tarnwick_${PROJECT_VERSION}-${TARNWICK_DEBIAN_RELEASE}_${architecture}")
set(CPACK_TARNWICK_ARCHIVE_FILE "tarnwick-${PROJECT_VERSION}-debian${release}-${architecture}")

set(CPACK_DEBIAN_PACKAGE_RELEASE "${TARNWICK_DEBIAN_RELEASE}")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${PROJECT_HOMEPAGE_URL}")
# CPack puts the project's description before this text, as the synopsis.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Tarnwick compresses PNG, JPEG and GIF files in place and turns HEIC photos
into PNG, in a window or on the command line.
.
A file is replaced only when the result is smaller, decodes, has the same
size, orientation, frames and colours, and passes a perceptual score. The
originals can be restored for four hours.
.
The encoders come with it: pngquant, OxiPNG, jpegli and gifsicle. Its texts
are Chinese.")

# dpkg-shlibdeps finds the libraries, but not the modules that the window loads by name.
set(depends
    qml6-module-qt-labs-folderlistmodel qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-dialogs qml6-module-qtquick-layouts
    qml6-module-qtquick-templates qml6-module-qtquick-window)
# From Debian 13 on, the plug-ins of libheif and Qt SVG are separate packages.
if(release GREATER_EQUAL 13)
    list(APPEND depends libheif-plugin-libde265 qt6-svg-plugins)
endif()
list(JOIN depends ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "dbus-user-session, fonts-noto-cjk, qt6-wayland, xdg-desktop-portal")

tarnwick_compressed("${packaging}/debian/changelog.in" doc/changelog.Debian share/doc/tarnwick System)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    "${packaging}/debian/postinst" "${packaging}/debian/prerm" "${packaging}/debian/postrm")

include(CPack)

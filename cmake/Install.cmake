# Installation. The bundle goes to <prefix>/lib/tarnwick; the files that the desktop, the shells and man look for go to
# their usual folders. Two components differ in the paths that they contain:
#   System     for a fixed prefix: the desktop entry with D-Bus activation, the D-Bus service and the user's systemd unit
#   Portable   for an archive that is unpacked anywhere: a desktop entry that finds the program on the PATH
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Tarnwick)
set(TARNWICK_RELEASE_DATE 2026-11-21)
set(TARNWICK_TOOLS pngquant oxipng cjpegli gifsicle ssimulacra2)

set(contents lib/tarnwick/Tarnwick.app/Contents)
set(packaging "${PROJECT_SOURCE_DIR}/Packaging")
set(made "${PROJECT_BINARY_DIR}/Packaging")

# The programs, and the target that builds what an installation needs.
install(TARGETS tarnwick_application tarnwick DESTINATION ${contents}/Linux)
install(TARGETS tarnwick_background
    DESTINATION ${contents}/Library/LoginItems/TarnwickBackground.app/Contents/Linux)
set(extension PlugIns/TarnwickFinderSync.appex/Contents)
install(TARGETS tarnwick_pluginkit DESTINATION ${contents}/${extension}/Linux)
install(FILES "${TARNWICK_BUNDLE}/${extension}/Info.plist" DESTINATION ${contents}/${extension})
add_custom_target(tarnwick_installed
    DEPENDS tarnwick_application tarnwick tarnwick_background tarnwick_pluginkit)

# Copies of the tools, also where Vendor/Bin has links.
install(CODE "set(tools ${TARNWICK_TOOLS})
set(folder \"${PROJECT_SOURCE_DIR}/Vendor/Bin\")
set(destination \"\${CMAKE_INSTALL_PREFIX}/${contents}/Resources/Tools\")")
install(CODE [[foreach(tool IN LISTS tools)
    file(REAL_PATH "${folder}/${tool}" program)
    if(NOT EXISTS "${program}")
        message(FATAL_ERROR "${tool} is missing in ${folder}; Vendor/provision gets it.")
    endif()
    file(INSTALL DESTINATION "${destination}" TYPE PROGRAM RENAME ${tool} FILES "${program}")
endforeach()]])

# Not Tarnwick and tarnwick: people would confuse two commands that differ only in case.
file(MAKE_DIRECTORY "${made}/bin")
file(CREATE_LINK "../${contents}/Linux/tarnwick" "${made}/bin/tarnwick" SYMBOLIC)
file(CREATE_LINK "../${contents}/Linux/Tarnwick" "${made}/bin/tarnwick-window" SYMBOLIC)
install(FILES "${made}/bin/tarnwick" "${made}/bin/tarnwick-window" DESTINATION bin)

# Inserts version and date of the release, and compresses without a timestamp, so that builds are reproducible.
find_program(GZIP gzip REQUIRED)
function(tarnwick_compressed source name destination component)
    get_filename_component(folder "${made}/${name}" DIRECTORY)
    configure_file("${source}" "${made}/${name}" @ONLY)
    execute_process(COMMAND "${GZIP}" -9nc "${made}/${name}" OUTPUT_FILE "${made}/${name}.gz" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${made}/${name}.gz" DESTINATION "${destination}"
        COMPONENT ${component})
endfunction()
tarnwick_compressed("${packaging}/Manual/tarnwick.1.in" man1/tarnwick.1 share/man/man1 Tarnwick)
tarnwick_compressed("${packaging}/Manual/tarnwick-window.1" man1/tarnwick-window.1 share/man/man1 Tarnwick)
tarnwick_compressed("${packaging}/Manual/zh_CN/tarnwick.1.in" zh_CN/man1/tarnwick.1 share/man/zh_CN/man1 Tarnwick)
tarnwick_compressed("${packaging}/Manual/tarnwick-window.1" zh_CN/man1/tarnwick-window.1 share/man/zh_CN/man1 Tarnwick)

install(FILES "${packaging}/Completions/tarnwick.bash" DESTINATION share/bash-completion/completions RENAME tarnwick)
install(FILES "${packaging}/Completions/_tarnwick" DESTINATION share/zsh/vendor-completions)
install(FILES "${packaging}/Completions/tarnwick.fish" DESTINATION share/fish/vendor_completions.d)

foreach(size 16 22 24 32 48 64 128 256 512)
    install(FILES "${packaging}/Icons/${size}.png" DESTINATION share/icons/hicolor/${size}x${size}/apps
        RENAME app.tarnwick.Tarnwick.png)
endforeach()
install(FILES "${packaging}/Icons/app.tarnwick.Tarnwick.svg" DESTINATION share/icons/hicolor/scalable/apps)

configure_file("${packaging}/Desktop/app.tarnwick.Tarnwick.metainfo.xml.in"
    "${made}/app.tarnwick.Tarnwick.metainfo.xml" @ONLY)
install(FILES "${made}/app.tarnwick.Tarnwick.metainfo.xml" DESTINATION share/metainfo)
install(FILES "${packaging}/debian/copyright" DESTINATION share/doc/tarnwick)

set(entry "${packaging}/Desktop/app.tarnwick.Tarnwick.desktop")
set(activation "${packaging}/Desktop/activation.desktop")
install(FILES "${entry}" DESTINATION share/applications COMPONENT Portable EXCLUDE_FROM_ALL)
install(FILES "${packaging}/Portable/README" DESTINATION . COMPONENT Portable EXCLUDE_FROM_ALL)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${entry}" "${activation}")
file(READ "${entry}" entry)
file(READ "${activation}" activation)
file(CONFIGURE OUTPUT "${made}/app.tarnwick.Tarnwick.desktop" CONTENT "${entry}${activation}" @ONLY)
install(FILES "${made}/app.tarnwick.Tarnwick.desktop" DESTINATION share/applications COMPONENT System)

# For files that contain the prefix, which is final only when the installation runs.
function(tarnwick_install_placed name destination)
    install(CODE "set(source \"${packaging}/Desktop/${name}.in\")
set(made \"${made}/placed/${name}\")
set(contents \"\${CMAKE_INSTALL_PREFIX}/${contents}\")
configure_file(\"\${source}\" \"\${made}\" @ONLY)
file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${destination}\" TYPE FILE FILES \"\${made}\")" COMPONENT System)
endfunction()
tarnwick_install_placed(app.tarnwick.Tarnwick.service share/dbus-1/services)
tarnwick_install_placed(tarnwick-background.service lib/systemd/user)

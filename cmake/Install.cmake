# This says what is installed, and makes the Debian package of it.
include(GNUInstallDirs)

install(TARGETS VexConverter make-dump probe-dump)

# Manual pages and changelogs are installed compressed.
function(install_compressed source name folder)
    cmake_path(ABSOLUTE_PATH source)
    set(compressed ${CMAKE_CURRENT_BINARY_DIR}/packaging/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/packaging
        COMMAND gzip -9nc ${source} > ${compressed}
        DEPENDS ${source})
    add_custom_target(${name} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${folder})
endfunction()
foreach(page VexConverter.1 make-dump.1 probe-dump.1 vexconverter-rules.5)
    cmake_path(GET page EXTENSION LAST_ONLY extension)
    string(REPLACE "." "man" section ${extension})
    install_compressed(docs/man/${page} ${page} ${CMAKE_INSTALL_MANDIR}/${section})
endforeach()

set(documents ${CMAKE_INSTALL_DATADIR}/doc/vexconverter)
install_compressed(CHANGELOG.md changelog ${documents})
configure_file(packaging/changelog packaging/changelog @ONLY)
install_compressed(${CMAKE_CURRENT_BINARY_DIR}/packaging/changelog changelog.Debian ${documents})
install(FILES packaging/copyright DESTINATION ${documents})
# The README links to the pages of docs/. Two of them are for those who change the sources.
install(FILES README.md DESTINATION ${documents})
install(DIRECTORY docs DESTINATION ${documents} FILES_MATCHING PATTERN "*.md" PATTERN "*.png"
    PATTERN man EXCLUDE PATTERN architecture.md EXCLUDE PATTERN host-engine.md EXCLUDE)
install(FILES config/default-rules.json config/format-rules.schema.json
    DESTINATION ${CMAKE_INSTALL_DATADIR}/vexconverter)

# bash looks for a file of the command's name.
set(folder ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
foreach(command VexConverter make-dump probe-dump)
    install(FILES packaging/completions/VexConverter.bash DESTINATION ${folder} RENAME ${command})
endforeach()
# Debian's zsh has one folder for completions of packages, another for those of an administrator.
set(folder site-functions)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(folder vendor-completions)
endif()
install(FILES packaging/completions/_VexConverter DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${folder})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vexconverter)
set(CPACK_PACKAGE_CONTACT "VexConverter developers <vexconverter@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "converter of raw video-frame dumps to plain frames or pictures")
set(CPACK_PACKAGE_DESCRIPTION
"VexConverter reads dumps of video frames as a decoder or encoder has them in
memory: planar and semi-planar YUV, 10-bit, block and tile layouts, AFBC, and
the chip's CPQ and Lumo formats in four part files. It writes plain raw frames
or a PNG picture of each frame. Size and format come from options or from the
dumps' names, which rules decode. On a PC it reads AFBC, CPQ and Lumo only
if their blocks are stored uncompressed. Compressed blocks need the device.
.
The package also has probe-dump, which says what a dump is and whether it
converts, and make-dump, which writes samples of every format.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1~vex1)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)

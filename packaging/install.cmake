# Says which files are installed, and makes the Debian package; on a Mac, makes the bundle.
if(NOT Qt6_FOUND)
    install(TARGETS vestigo-scan)
    return()
endif()
if(APPLE)
    include(${CMAKE_CURRENT_LIST_DIR}/macos/bundle.cmake)
    return()
endif()

include(GNUInstallDirs)
# An installation needs only the two programs, so it does not build the other targets.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(sources ${CMAKE_CURRENT_LIST_DIR})
set(made ${CMAKE_BINARY_DIR}/install)
# Otherwise the permissions would depend on the umask of whoever makes the package.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Compresses without a name and a time, so that the same text always gives the same package.
function(install_compressed file name folder)
    add_custom_command(OUTPUT ${made}/${name}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${made}
        COMMAND gzip -9nc ${file} > ${made}/${name}
        DEPENDS ${file} VERBATIM)
    set_property(GLOBAL APPEND PROPERTY vestigo_compressed ${made}/${name})
    install(FILES ${made}/${name} DESTINATION ${folder})
endfunction()

install(TARGETS vestigo vestigo-scan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${sources}/linux/vestigo.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${sources}/vestigo.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${sources}/linux/org.vestigo.vestigo.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${sources}/org.vestigo.policy
        DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions)
install(FILES ${sources}/linux/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vestigo)
install(FILES ${sources}/linux/lintian-overrides RENAME vestigo
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)
set(completions ${sources}/linux/completions)
install(FILES ${completions}/vestigo-scan.bash RENAME vestigo-scan
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${completions}/_vestigo-scan
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${completions}/vestigo-scan.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
install_compressed(${sources}/linux/changelog changelog.Debian.gz
                   ${CMAKE_INSTALL_DATADIR}/doc/vestigo)
foreach(page vestigo vestigo-scan)
    install_compressed(${sources}/linux/${page}.1 ${page}.1.gz ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
get_property(compressed GLOBAL PROPERTY vestigo_compressed)
add_custom_target(vestigo-documents ALL DEPENDS ${compressed})

set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_NAME vestigo)
set(CPACK_PACKAGE_VENDOR "Vestigo developers")
set(CPACK_PACKAGE_CONTACT "Vestigo developers <developers@vestigo.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# pkexec asks for the owner's password, and runs the script that removes items of the whole machine.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "polkitd, pkexec")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "find Mac programs that Apple Silicon cannot run natively")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Vestigo looks through a Mac's disk, or a backup of one, for programs that an
Apple Silicon Mac cannot run natively: 64-bit Intel, 32-bit Intel and PowerPC.
It groups them by application, plug-in, driver or tool, and says who made each
of them and what to do about it.
.
A scan only reads. What the user decides to remove goes to the Trash, from
where it can be restored.
.
The package brings vestigo, the application with a window, and vestigo-scan,
which prints the findings as CSV or JSON.")
include(CPack)

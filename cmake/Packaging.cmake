# The Debian package: cmake --build FOLDER, then cpack --config FOLDER/CPackConfig.cmake -B WHERE. What it needs at run time is
# worked out from the libraries that the programs link.

set(package_folder ${CMAKE_BINARY_DIR}/package)
set(package_sources ${CMAKE_SOURCE_DIR}/data/package)
set(doc_folder ${CMAKE_INSTALL_DATADIR}/doc/orvane)

# orvane_compressed(SOURCE NAME DESTINATION): NAME.gz of SOURCE, the same bytes whenever it is made.
function(orvane_compressed source name destination)
    set(output ${package_folder}/${name}.gz)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${package_folder}
        COMMAND sh -c "gzip -9nc \"$1\" >\"$2\"" sh ${source} ${output}
        DEPENDS ${source} VERBATIM)
    install(FILES ${output} DESTINATION ${destination})
    set_property(GLOBAL APPEND PROPERTY ORVANE_COMPRESSED ${output})
endfunction()
orvane_compressed(${CMAKE_SOURCE_DIR}/docs/man/orvane.1 orvane.1 ${CMAKE_INSTALL_MANDIR}/man1)
orvane_compressed(${CMAKE_SOURCE_DIR}/docs/man/orvane-cli.1 orvane-cli.1 ${CMAKE_INSTALL_MANDIR}/man1)
orvane_compressed(${CMAKE_SOURCE_DIR}/CHANGELOG changelog ${doc_folder})
get_property(compressed GLOBAL PROPERTY ORVANE_COMPRESSED)
add_custom_target(package_texts ALL DEPENDS ${compressed})

install(FILES ${package_sources}/copyright ${CMAKE_SOURCE_DIR}/docs/dependencies.md DESTINATION ${doc_folder})
install(FILES ${package_sources}/orvane.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES ${package_sources}/lintian-overrides RENAME orvane DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Orvane maintainers <maintainers@orvane.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "workstation for the forensic analysis of photographs")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"An examiner loads a picture whose origin or integrity is questioned, with
another one to compare it with if there is any, and sees what the file and
its pixels say: how the file was written, which device and program wrote it,
whether it was saved again, which parts do not belong. Findings are kept in
projects and written as reports.
.
The evidence is never written to, and every result can be repeated.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/zorbase ${CMAKE_BINARY_DIR}/lib)
# A font for texts; tools that the program starts, and certificates for what is asked over the network.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-dejavu-core")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, ca-certificates, shared-mime-info, hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)

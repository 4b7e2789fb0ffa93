# What `cmake --install` and `cpack` make: the programs with their manual (component programs), and the libraries with
# headers and a CMake package (component dev).
include(CMakePackageConfigHelpers)

set(lConfigDirectory ${CMAKE_INSTALL_LIBDIR}/cmake/tessavox)
install(EXPORT tessavox FILE tessavoxTargets.cmake NAMESPACE tessavox:: DESTINATION ${lConfigDirectory} COMPONENT dev)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/tessavoxConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES packaging/tessavoxConfig.cmake ${CMAKE_BINARY_DIR}/tessavoxConfigVersion.cmake
    DESTINATION ${lConfigDirectory} COMPONENT dev)

set(lPrograms tessavox)
if(TESSAVOX_TOOLS)
    list(APPEND lPrograms mdi-make mdi-dump dcp-relay)
endif()
foreach(lProgram ${lPrograms})
    install(TARGETS ${lProgram} COMPONENT programs)
    install(FILES docs/${lProgram}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
endforeach()
install(FILES docs/tessavox.ini.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT programs)
install(FILES README.md "docs/VESTRAL Tessavox.ini" DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT programs)
install(FILES packaging/tessavox.service packaging/tessavox@.service DESTINATION lib/systemd/system COMPONENT programs)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "tessavox maintainers <${PROJECT_NAME}@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "plays DRM multiplex recordings onto an IP network")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL programs dev)
set(CPACK_COMPONENT_PROGRAMS_DESCRIPTION
    "Player for MDI recordings of Digital Radio Mondiale, and tools to make, check,\nrecord and relay them as DCP (ETSI TS 102 820, TS 102 821).")
set(CPACK_COMPONENT_DEV_DESCRIPTION "The DCP stack as static libraries, with headers and a CMake package.")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME tessavox)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtessavox-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
include(CPack)

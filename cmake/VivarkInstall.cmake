# What `cmake --install` puts in place and CPack packs: the vivark tool (its
# rule is in app/), the vivark_core library with its headers, a CMake package
# (find_package(Vivark) gives Vivark::vivark_core), a pkg-config file, the
# manual pages and the bash, zsh and fish completions the tool makes of its
# own option definitions (app/CMakeLists.txt), and a Debian package.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VIVARK_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/vivark)
set(VIVARK_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Vivark)

install(TARGETS vivark_core EXPORT VivarkTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${VIVARK_INSTALL_INCLUDEDIR})
# The headers keep their folders, as the sources include them ("core/Image.h").
foreach(folder core codecs formats ops batch textimg app/settings)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/
          DESTINATION ${VIVARK_INSTALL_INCLUDEDIR}/${folder}
          FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
endforeach()

install(EXPORT VivarkTargets NAMESPACE Vivark:: DESTINATION ${VIVARK_INSTALL_CMAKEDIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VivarkConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/VivarkConfig.cmake
                              INSTALL_DESTINATION ${VIVARK_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VivarkConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VivarkConfig.cmake
              ${PROJECT_BINARY_DIR}/VivarkConfigVersion.cmake
        DESTINATION ${VIVARK_INSTALL_CMAKEDIR})

file(RELATIVE_PATH VIVARK_PC_UP /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/vivark.pc.in ${PROJECT_BINARY_DIR}/vivark.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vivark.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_PACKAGE_NAME vivark)
set(CPACK_PACKAGE_VENDOR "Vivark")
set(CPACK_PACKAGE_CONTACT "Vivark developers <vivark@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Image viewer and converter: the vivark tool and library")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tool's own libraries come from dpkg-shlibdeps; building against the
# library also needs the JPEG headers.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libjpeg62-turbo-dev, libturbojpeg0-dev, pkg-config")
include(CPack)

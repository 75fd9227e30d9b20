# Installs the library, its C and C++ headers and a CMake package (an imported target
# qxcalc-avx::qxcalc-avx) with a pkg-config file beside it; the DLL build also
# installs its module-definition file and the import library.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS qxcalc-avx EXPORT qxcalc-avx-targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/qxcalc.h ${PROJECT_SOURCE_DIR}/include/qxcalc.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  install(FILES ${PROJECT_BINARY_DIR}/qxcalc-avx-x64.def DESTINATION ${CMAKE_INSTALL_LIBDIR} RENAME qxcalc-avx.def)
elseif(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/src/frame/qxcalc-avx.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/qxcalc-avx)
install(EXPORT qxcalc-avx-targets NAMESPACE qxcalc-avx:: DESTINATION ${packageDir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qxcalc-avx-config.cmake.in
  ${PROJECT_BINARY_DIR}/qxcalc-avx-config.cmake INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qxcalc-avx-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qxcalc-avx-config.cmake ${PROJECT_BINARY_DIR}/qxcalc-avx-config-version.cmake
        DESTINATION ${packageDir})

configure_file(${PROJECT_SOURCE_DIR}/cmake/qxcalc-avx.pc.in ${PROJECT_BINARY_DIR}/qxcalc-avx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qxcalc-avx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

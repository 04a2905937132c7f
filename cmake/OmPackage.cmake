# What other programs find the installed libraries by: a CMake package and a pkg-config file.

include(CMakePackageConfigHelpers)

foreach(directory IN ITEMS BINDIR DATADIR INCLUDEDIR LIBDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${directory}})
    message(FATAL_ERROR "CMAKE_INSTALL_${directory} has to be relative: an installation can be moved")
  endif()
endforeach()

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/omRender-${PROJECT_VERSION_MAJOR})
install(EXPORT omRenderTargets NAMESPACE omRender:: DESTINATION ${package_directory} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/omRenderConfig.cmake.in omRenderConfig.cmake
  INSTALL_DESTINATION ${package_directory} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(omRenderConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/omRenderConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/omRenderConfigVersion.cmake
  DESTINATION ${package_directory} COMPONENT development)

set(pkgconfig_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE prefix_from_pkgconfig)
configure_file(${CMAKE_CURRENT_LIST_DIR}/omRender.pc.in omRender.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/omRender.pc DESTINATION ${pkgconfig_directory} COMPONENT development)

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

# The pages, with README at their head and the examples beside them as in the source tree, so that their links hold.
if(OM_DEBIAN_PACKAGES)
  set(documentation ${CMAKE_INSTALL_DATADIR}/doc/libomrender-dev)
else()
  set(documentation ${CMAKE_INSTALL_DOCDIR})
endif()
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${documentation} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${documentation} COMPONENT development
  FILES_MATCHING PATTERN *.md PATTERN *.png PATTERN examples/*.cpp PATTERN examples/CMakeLists.txt
  PATTERN snippets EXCLUDE)

# Debian packages by CPack: the libraries, what it takes to build programs with them, and omrender.

set(OM_MAINTAINER "The libomRender authors <libomrender@example.org>" CACHE STRING "Whom the Debian packages name")
set(revision 1)

# As Debian wants its changelogs.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in changelog @ONLY)
add_custom_command(OUTPUT changelog.gz changelog.Debian.gz
  COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md > changelog.gz
  COMMAND gzip -9nc changelog > changelog.Debian.gz
  DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${CMAKE_CURRENT_BINARY_DIR}/changelog VERBATIM)
add_custom_target(omChangelogs ALL DEPENDS changelog.gz changelog.Debian.gz)

# packages_of(VARIABLE FLAGS HEADERS...): the Debian packages of the headers that those include, the compiler's and the C
# library's aside.
function(packages_of variable flags)
  list(TRANSFORM ARGN REPLACE "(.+)" "#include \"\\1\"\n" OUTPUT_VARIABLE source)
  string(CONCAT source ${source})
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/includes.cpp ${source})
  separate_arguments(flags UNIX_COMMAND "${flags}")
  execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -std=c++17 -fPIC -M -I${PROJECT_SOURCE_DIR} ${flags} includes.cpp
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} OUTPUT_VARIABLE rule COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "/usr/[^ \n]+" paths "${rule}")
  set(files "")
  foreach(path IN LISTS paths)
    file(REAL_PATH ${path} file)
    list(APPEND files ${file})
  endforeach()
  execute_process(COMMAND dpkg-query --search ${files} OUTPUT_VARIABLE owners COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "(:[a-z0-9]+)?: [^\n]*\n" ";" packages "${owners}")
  list(REMOVE_DUPLICATES packages)
  list(FILTER packages EXCLUDE REGEX "^(libc6|libgcc|libstdc\\+\\+|linux-libc)|^$")
  list(SORT packages)
  set(${variable} ${packages} PARENT_SCOPE)
endfunction()

set(headers "")
foreach(target IN ITEMS omFoundCore omFoundCommon omImage omRender)
  get_target_property(of_target ${target} HEADER_SET)
  list(APPEND headers ${of_target})
endforeach()
list(FILTER headers INCLUDE REGEX "\\.h$")
set(qt_headers ${headers})
list(FILTER qt_headers INCLUDE REGEX "Qt\\.h$")
list(REMOVE_ITEM headers ${qt_headers})

packages_of(depends "" ${headers})
if(OM_RENDER_QT)
  execute_process(COMMAND pkg-config --cflags Qt5OpenGL OUTPUT_VARIABLE qt_flags COMMAND_ERROR_IS_FATAL ANY)
  packages_of(recommends "${qt_flags}" ${qt_headers})
  list(REMOVE_ITEM recommends ${depends})
endif()
list(JOIN depends ", " depends)
list(JOIN recommends ", " recommends)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_PACKAGE_NAME omrender)
set(CPACK_PACKAGE_CONTACT ${OM_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}) # a dependency of the components
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# debian_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION)
macro(debian_package component package section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endmacro()

debian_package(runtime libomrender${PROJECT_VERSION_MAJOR} libs
  "OpenGL toolkit for showing and processing images (libraries)"
  "libomRender opens windows with a GL context, fills textures from images of any
size, runs GLSL programs over them, off screen too, and reads the result back.")
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/shlibs.in shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS libegl1) # loaded when a window opens without a display
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/shlibs ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)

debian_package(development libomrender-dev libdevel
  "OpenGL toolkit for showing and processing images (development files)"
  "Headers, a CMake package and a pkg-config file for programs that show and
process images with libomRender.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${depends})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS ${recommends}) # for the Qt back end's header

debian_package(tools omrender-tools graphics
  "show and filter images with OpenGL on the command line"
  "omrender shows pictures, runs fragment shaders over them on the graphics card,
one by one or in batches, and tells what the card offers.")
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

include(CPack)

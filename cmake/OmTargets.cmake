# How every library and program of this repository is built.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

add_library(omFlags INTERFACE)
target_compile_options(omFlags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
if(OM_SANITIZE)
  target_compile_options(omFlags INTERFACE -fsanitize=${OM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(omFlags INTERFACE -fsanitize=${OM_SANITIZE})
endif()

add_library(omProgramFlags INTERFACE)
target_link_libraries(omProgramFlags INTERFACE omFlags)
if(OM_SANITIZE)
  target_sources(omProgramFlags INTERFACE ${CMAKE_CURRENT_LIST_DIR}/keepLoaded.cpp)
  target_link_options(omProgramFlags INTERFACE -Wl,--export-dynamic-symbol=dlclose)
endif()

# om_library(NAME [FOLDER folder] SOURCES ... [PUBLIC ...] [PRIVATE ...]): a shared library with the project's soname,
# which exports the interface that its headers mark and nothing that it was instantiated from. The headers that lie
# directly in FOLDER, or in this one, are public and are installed.
function(om_library name)
  cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  cmake_path(APPEND CMAKE_CURRENT_SOURCE_DIR "${ARG_FOLDER}" OUTPUT_VARIABLE folder)
  file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h ${folder}/*.def)
  if(NOT OM_RENDER_QT)
    list(FILTER headers EXCLUDE REGEX "Qt\\.h$")
  endif()
  add_library(${name} SHARED ${ARG_SOURCES})
  add_library(omRender::${name} ALIAS ${name}) # as an installed package has it
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:omFlags>)
  if(NOT OM_SANITIZE) # the sanitizer runtimes come with the program
    target_link_options(${name} PRIVATE -Wl,--no-undefined -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  endif()
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN" UNITY_BUILD OFF)
  install(TARGETS ${name} EXPORT omRenderTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    FILE_SET HEADERS DESTINATION ${OM_INSTALL_INCLUDEDIR} COMPONENT development)
endfunction()

# om_program(NAME SOURCES ... [LIBRARIES ...]): a program.
function(om_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} omProgramFlags)
endfunction()

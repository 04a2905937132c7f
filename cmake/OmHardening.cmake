# What is packaged is built with all of Debian's hardening flags, and with names of files that are the same wherever the
# sources lie. scripts/package looks at what came of them.

set(ENV{DEB_BUILD_MAINT_OPTIONS} hardening=+all)
foreach(kind IN ITEMS CXXFLAGS CPPFLAGS LDFLAGS)
  execute_process(COMMAND dpkg-buildflags --get ${kind} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE ${kind} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endforeach()
string(APPEND CMAKE_CXX_FLAGS " ${CXXFLAGS} ${CPPFLAGS}")
foreach(kind IN ITEMS EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS " ${LDFLAGS}")
endforeach()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

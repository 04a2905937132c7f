# Finds libdeflate: the target Deflate::Deflate. Its own CMake package is not in every release of Debian.
include(FindPackageHandleStandardArgs)
find_path(Deflate_INCLUDE_DIR libdeflate.h)
find_library(Deflate_LIBRARY deflate)
mark_as_advanced(Deflate_INCLUDE_DIR Deflate_LIBRARY)
find_package_handle_standard_args(Deflate REQUIRED_VARS Deflate_LIBRARY Deflate_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "libdeflate is missing: install libdeflate-dev")
if(Deflate_FOUND AND NOT TARGET Deflate::Deflate)
  add_library(Deflate::Deflate UNKNOWN IMPORTED)
  set_target_properties(Deflate::Deflate PROPERTIES
    IMPORTED_LOCATION ${Deflate_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${Deflate_INCLUDE_DIR})
endif()

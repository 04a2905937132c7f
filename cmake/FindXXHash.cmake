# Finds xxHash: the target XXHash::XXHash. Its own CMake package is not in Debian.
include(FindPackageHandleStandardArgs)
find_path(XXHash_INCLUDE_DIR xxhash.h)
find_library(XXHash_LIBRARY xxhash)
mark_as_advanced(XXHash_INCLUDE_DIR XXHash_LIBRARY)
find_package_handle_standard_args(XXHash REQUIRED_VARS XXHash_LIBRARY XXHash_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "xxHash is missing: install libxxhash-dev")
if(XXHash_FOUND AND NOT TARGET XXHash::XXHash)
  add_library(XXHash::XXHash UNKNOWN IMPORTED)
  set_target_properties(XXHash::XXHash PROPERTIES
    IMPORTED_LOCATION ${XXHash_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${XXHash_INCLUDE_DIR})
endif()

# Finds libwebp: the target WebP::WebP. Its own CMake package is not in every release of Debian.
include(FindPackageHandleStandardArgs)
find_path(WebP_INCLUDE_DIR webp/decode.h)
find_library(WebP_LIBRARY webp)
mark_as_advanced(WebP_INCLUDE_DIR WebP_LIBRARY)
find_package_handle_standard_args(WebP REQUIRED_VARS WebP_LIBRARY WebP_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "libwebp is missing: install libwebp-dev, or leave it out by -DOM_IMAGE_WEBP=OFF")
if(WebP_FOUND AND NOT TARGET WebP::WebP)
  add_library(WebP::WebP UNKNOWN IMPORTED)
  set_target_properties(WebP::WebP PROPERTIES
    IMPORTED_LOCATION ${WebP_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${WebP_INCLUDE_DIR})
endif()

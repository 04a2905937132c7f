#include "tools/omrender/show/viewerIcon.h"

#include "image/omImageReaderWriter.h"

#include <filesystem>
#include <system_error>

OmImage viewerIcon()
{
  OmImage icon;
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  const std::filesystem::path file = program / OM_INSTALLED_ICON;
  if (std::filesystem::is_regular_file(file, error)) // reading a file that is not there would be reported
    OmImageReaderWriter::read(icon, file.string());
  return icon;
}

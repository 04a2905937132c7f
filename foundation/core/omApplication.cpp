#include "foundation/core/omApplication.h"

#include <filesystem>
#include <system_error>
#include <vector>

namespace Om
{

namespace
{

std::vector<std::filesystem::path>& searchPath()
{
  static std::vector<std::filesystem::path> directories;
  return directories;
}

bool isFile(const std::filesystem::path& path)
{
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  return std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

} // namespace

OmString Application::findFile(const OmString& name)
{
  const std::filesystem::path path(name);
  if (name.empty() || path.is_absolute() || isFile(path))
    return name;
  for (const std::filesystem::path& directory : searchPath())
    if (isFile(directory / path))
      return (directory / path).string();
  return name;
}

void Application::addSearchPath(const OmString& directory)
{
  searchPath().emplace_back(directory);
}

} // namespace Om

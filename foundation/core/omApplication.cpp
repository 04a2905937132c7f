#include "foundation/core/omApplication.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Om
{

namespace
{

constexpr std::size_t LargestText = std::size_t{16} << 20; ///< in bytes

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

OmString errorText()
{
  return std::generic_category().message(errno);
}

/// What keeps an open file from being read from its start to its end; empty for a regular one.
OmString refusal(int descriptor)
{
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0)
    return errorText();
  if (S_ISDIR(status.st_mode))
    return "it is a directory";
  return S_ISREG(status.st_mode) ? "" : "it is not a regular file";
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

std::FILE* Application::openFile(const OmString& path, OmString& reason)
{
  // O_NONBLOCK: opening a pipe that nobody writes to would wait for ever. Regular files ignore it.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0)
  {
    reason = errorText();
    return nullptr;
  }
  const OmString refused = refusal(descriptor);
  std::FILE* const file = refused.empty() ? ::fdopen(descriptor, "rb") : nullptr;
  if (!file)
  {
    reason = refused.empty() ? "out of memory" : refused;
    ::close(descriptor);
  }
  return file;
}

OmBoolean Application::readFile(const OmString& path, OmString& text, OmString& reason)
{
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(openFile(path, reason), std::fclose);
  if (!file)
    return false;
  OmString read;
  char part[4096];
  while (const std::size_t size = std::fread(part, 1, sizeof part, file.get()))
  {
    read.append(part, size);
    if (read.size() > LargestText)
    {
      reason = "it has more than 16 MiB";
      return false;
    }
  }
  if (std::ferror(file.get()) != 0)
  {
    reason = errorText();
    return false;
  }
  text.swap(read);
  return true;
}

} // namespace Om

#include "tools/omrender/filter/shaderFile.h"

#include "foundation/core/omApplication.h"
#include "tools/omrender/failure.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <ostream>
#include <sstream>
#include <system_error>
#include <vector>

namespace
{

std::vector<OmString> shaderDirectories()
{
  std::vector<OmString> directories;
  if (const char* const path = std::getenv("OM_SHADER_PATH"))
  {
    std::istringstream list(path);
    for (OmString directory; std::getline(list, directory, ':');)
      if (!directory.empty())
        directories.push_back(directory);
  }
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  directories.push_back((program / OM_INSTALLED_SHADERS).lexically_normal().string());
  directories.push_back((program / "../shaders").lexically_normal().string()); // in a build tree
  return directories;
}

bool isFile(const OmString& path)
{
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

bool exists(const OmString& path)
{
  std::error_code error;
  return std::filesystem::exists(path, error);
}

OmString readText(const OmString& path)
{
  OmString text;
  OmString reason;
  if (!Om::Application::readFile(path, text, reason))
    throw Failure("cannot read " + quoted(path) + ": " + reason);
  return text;
}

/// The comment lines at the start of a shader, without their slashes.
std::vector<OmString> comment(const OmString& source)
{
  std::vector<OmString> lines;
  std::istringstream text(source);
  for (OmString line; std::getline(text, line) && line.compare(0, 2, "//") == 0;)
  {
    if (line.back() == '\r')
      line.pop_back();
    const std::size_t start = line.find_first_not_of(' ', 2);
    lines.push_back(start == OmString::npos ? "" : line.substr(start));
  }
  return lines;
}

} // namespace

void addShaderDirectories()
{
  for (const OmString& directory : shaderDirectories())
    Om::Application::addSearchPath(directory);
}

OmString findShader(const OmString& name, const OmString& suffix)
{
  OmString path = Om::Application::findFile(name);
  if (isFile(path)) // and no directory that happens to have the name of a filter
    return path;
  const OmString withSuffix = Om::Application::findFile(name + suffix);
  if (!exists(withSuffix) && !exists(path))
    throw Failure("there is no shader " + quoted(name) + "; omrender filter --list names those there are");
  return exists(withSuffix) ? withSuffix : path;
}

void listShaders(std::ostream& out)
{
  std::map<OmString, std::filesystem::path> shaders;
  for (const OmString& directory : shaderDirectories())
  {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
      if (entry.path().extension() == ".frag" && isFile(entry.path().string()))
        shaders.emplace(entry.path().stem().string(), entry.path()); // keeps the first, as findFile() does
  }
  for (const auto& [name, path] : shaders)
  {
    out << name << '\n';
    for (const OmString& line : comment(readText(path.string())))
      out << "    " << line << '\n';
  }
}

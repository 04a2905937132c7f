#include "tools/shaderFile.h"

#include "foundation/core/omApplication.h"
#include "tools/failure.h"
#include "tools/numbers.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <sstream>
#include <system_error>

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

OmString readText(const OmString& path)
{
  std::ifstream file(path, std::ios::binary);
  OmString text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file.is_open() || file.bad())
    throw Failure("cannot read " + quoted(path));
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

/// The word behind `key` when the line starts with it; empty otherwise.
OmString wordAfter(const OmString& key, const OmString& line)
{
  OmString word;
  if (line.compare(0, key.size(), key) == 0)
    std::istringstream(line.substr(key.size())) >> word;
  return word;
}

void readComment(ShaderFile& shader)
{
  const OmString& path = shader.path;
  for (const OmString& line : comment(shader.source))
  {
    if (const OmString word = wordAfter("passes:", line); !word.empty())
    {
      const auto passes = readCount(word, MostPasses);
      if (!passes)
        throw Failure(quoted(path) + ": cannot make " + quoted(word) + " passes; write 1 to " +
                      std::to_string(MostPasses));
      shader.passes = *passes;
    }
    if (const OmString word = wordAfter("default:", line); !word.empty())
    {
      const auto setting = readUniformSetting(word);
      if (!setting)
        throw Failure(quoted(path) + ": the default " + quoted(word) + " is not like name=1.5 or name=i3");
      shader.defaults.push_back(*setting);
    }
  }
}

} // namespace

void addShaderDirectories()
{
  for (const OmString& directory : shaderDirectories())
    Om::Application::addSearchPath(directory);
}

ShaderFile readShader(const OmString& name, const OmString& suffix)
{
  ShaderFile shader;
  shader.path = Om::Application::findFile(name);
  if (!isFile(shader.path))
    shader.path = Om::Application::findFile(name + suffix);
  if (!isFile(shader.path))
    throw Failure("there is no shader " + quoted(name) + "; omrender filter --list names those there are");
  shader.source = readText(shader.path);
  readComment(shader);
  return shader;
}

void listShaders(std::ostream& out)
{
  std::map<OmString, std::filesystem::path> shaders;
  for (const OmString& directory : shaderDirectories())
  {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
      if (entry.path().extension() == ".frag" && isFile(entry.path().string()))
        shaders.emplace(entry.path().stem().string(), entry.path()); // the first directory's is the one that is found
  }
  for (const auto& [name, path] : shaders)
  {
    out << name << '\n';
    for (const OmString& line : comment(readText(path.string())))
      out << "    " << line << '\n';
  }
}

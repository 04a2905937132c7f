#include "tools/omrender/show/filterCommandLine.h"

#include <charconv>

namespace
{

/// A word as a shell reads it back.
OmString shellWord(const OmString& word)
{
  static const OmString plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=.,:/@%";
  if (!word.empty() && word.find_first_not_of(plain) == OmString::npos)
    return word;
  OmString text = "'";
  for (const char character : word)
    text += character == '\'' ? OmString("'\\''") : OmString(1, character);
  return text + '\'';
}

/// A file's name that is not taken for an option.
OmString fileWord(const OmString& file)
{
  return shellWord(file.rfind('-', 0) == 0 ? "./" + file : file);
}

OmString sizeWord(const PictureScaling::Size& size)
{
  return std::to_string(size.first) + 'x' + std::to_string(size.second);
}

OmString scalingText(const PictureScaling& scaling)
{
  OmString text;
  if (scaling.crop)
    text += " --crop " + std::to_string(scaling.crop->corner().x()) + ',' + std::to_string(scaling.crop->corner().y()) +
            ',' + std::to_string(scaling.crop->width()) + ',' + std::to_string(scaling.crop->height());
  if (scaling.size)
    text += " --size " + sizeWord(*scaling.size);
  if (scaling.fit)
    text += " --fit " + sizeWord(*scaling.fit);
  if (scaling.percent)
  {
    char number[64];
    text += " --percent " + OmString(number, std::to_chars(number, number + sizeof number, *scaling.percent).ptr);
  }
  return text;
}

} // namespace

OmString filterCommandLine(const FilterSettings& settings, const OmString& picture, const OmString& out)
{
  OmString line = "omrender filter";
  for (const ShaderSettings& shader : settings.shaders)
  {
    line += " --shader " + fileWord(shader.name);
    if (!shader.vertex.empty())
      line += " --vertex " + fileWord(shader.vertex);
    for (const OmString& uniform : shader.uniforms)
      line += " --set " + shellWord(uniform);
    for (const TextureSetting& texture : shader.textures)
      line += " --texture " + shellWord(texture.name + '=' + texture.file);
    if (shader.passes)
      line += " --passes " + std::to_string(*shader.passes);
  }
  line += scalingText(settings.scaling);
  if (settings.floats)
    line += " --float";
  if (!settings.backEnd.device.empty())
    line += " --device " + shellWord(settings.backEnd.device);
  return line + ' ' + fileWord(picture) + " --out " + fileWord(out);
}

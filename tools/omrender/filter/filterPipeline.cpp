#include "tools/omrender/filter/filterPipeline.h"

#include "render/omGL.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/libraryLog.h"

#include <algorithm>

FilterPipeline::FilterPipeline(const FilterSettings& settings, LibraryLog& log) : m_settings(settings), m_log(log)
{
  loadShader(m_settings.shader, ".frag", OmShader::Fragment);
  if (!m_settings.vertex.empty())
    loadShader(m_settings.vertex, ".vert", OmShader::Vertex);
  openWindow();
  m_gl = currentGL();
  m_largestSide = m_filter.largestSide();
  checkCapabilities();
  for (const OmString& uniform : m_settings.uniforms)
    check(m_filter.set(uniform));
  m_filter.setPasses(static_cast<OmU32>(m_settings.passes.value_or(0)));
  m_filter.setFloatsBetweenPasses(m_settings.floats);
  if (m_settings.size)
    m_filter.setSize(m_settings.size->first, m_settings.size->second);
  check(m_filter.init());
  loadTextures();
  check(m_filter.init());
}

void FilterPipeline::check(bool succeeded)
{
  if (!succeeded)
    throw Failure(m_log.takeReason("cannot set up the filter: no reason was given"));
}

void FilterPipeline::loadShader(const OmString& name, const OmString& suffix, OmShader::ShaderType type)
{
  check(m_filter.loadShaderFromFile(findShader(name, suffix), type));
}

void FilterPipeline::openWindow()
{
  m_window.setWindowSize(16, 16); // for its context alone: everything is drawn into textures
  m_window.setHideWindow(true);
  ::openWindow(m_window, m_settings.backEnd, BackEndOrder::HardwareFirst, m_log);
}

/// What the library would put in its own words, in those of the options.
void FilterPipeline::checkCapabilities() const
{
  if (m_settings.floats && !OmGL::isSupported(OmGL::SupportFloatTexture))
    throw Failure("--float needs float textures, which " + m_gl.renderer + " does not have");
  if (m_settings.textures.size() >= m_gl.textureUnits)
    throw Failure("a shader can read " + std::to_string(m_gl.textureUnits - 1) + " pictures by --texture on " +
                  m_gl.renderer + ", not " + std::to_string(m_settings.textures.size()));
  if (m_settings.size && std::max(m_settings.size->first, m_settings.size->second) > m_largestSide)
    throw Failure("the --size " + sizeText(m_settings.size->first, m_settings.size->second) + " is more than the " +
                  sizeText(m_largestSide, m_largestSide) + " of " + m_gl.renderer);
}

void FilterPipeline::loadTextures()
{
  const std::vector<TextureSetting>& given = m_settings.textures;
  for (const OmString& name : m_filter.pictureNames())
    if (std::none_of(given.begin(), given.end(), [&](const TextureSetting& setting) { return setting.name == name; }))
      throw Failure(quoted(findShader(m_settings.shader, ".frag")) + " reads another picture; give it with --texture " +
                    name + "=FILE");
  for (const TextureSetting& setting : given)
  {
    checkPicture(readHeader(setting.file, m_log));
    m_filter.setPicture(setting.name, readPicture(setting.file, m_log));
  }
}

void FilterPipeline::checkPicture(const PictureFile& picture) const
{
  checkSize(picture, m_largestSide, m_largestSide, m_gl.renderer);
}

void FilterPipeline::run(const OmImage& image, const OmString& file, OmImage& result)
{
  if (!m_filter.run(image, result))
    throw Failure("cannot filter " + quoted(file) + ": " + m_log.takeReason("no reason was given"));
}

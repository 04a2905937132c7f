#include "tools/omrender/filter/filterPipeline.h"

#include "render/omGL.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/libraryLog.h"

#include <algorithm>

namespace
{

/// While it lives, a window is current; then again the one before.
class Turn
{
public:
  explicit Turn(const OmWindow& window) : m_before(OmWindow::getWindow())
  {
    if (m_before != &window)
      window.makeCurrent();
  }
  ~Turn()
  {
    if (m_before && m_before != OmWindow::getWindow())
      m_before->makeCurrent();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

private:
  const OmWindow* const m_before;
};

} // namespace

FilterPipeline::FilterPipeline(const FilterSettings& settings, LibraryLog& log) : m_settings(settings), m_log(log)
{
  openWindow();
  m_gl = currentGL();
  m_largestSide = OmImageFilter().largestSide();
  checkCapabilities();
  makeFilter(m_settings.uniforms, {});
}

void FilterPipeline::check(bool succeeded)
{
  if (!succeeded)
    throw Failure(m_log.takeReason("cannot set up the filter: no reason was given"));
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

void FilterPipeline::loadShader(OmImageFilter& filter, const OmString& name, const OmString& suffix,
                                OmShader::ShaderType type)
{
  check(filter.loadShaderFromFile(findShader(name, suffix), type));
}

/// `pictures` are those of --texture that need not be read.
void FilterPipeline::makeFilter(const std::vector<OmString>& uniforms, Pictures pictures)
{
  auto filter = std::make_unique<OmImageFilter>();
  loadShader(*filter, m_settings.shader, ".frag", OmShader::Fragment);
  if (!m_settings.vertex.empty())
    loadShader(*filter, m_settings.vertex, ".vert", OmShader::Vertex);
  filter->setPasses(static_cast<OmU32>(m_settings.passes.value_or(0)));
  filter->setFloatsBetweenPasses(m_settings.floats);
  if (m_settings.size)
    filter->setSize(m_settings.size->first, m_settings.size->second);
  check(filter->init());
  std::vector<OmImageFilter::Setting> defaults = filter->settings();
  for (const OmString& uniform : uniforms)
    check(filter->set(uniform));
  check(filter->init());
  checkTextures(*filter);
  for (const TextureSetting& setting : m_settings.textures)
  {
    std::shared_ptr<const OmImage>& picture = pictures[setting.file];
    if (!picture)
    {
      checkPicture(readHeader(setting.file, m_log));
      picture = std::make_shared<const OmImage>(readPicture(setting.file, m_log));
    }
    filter->setPicture(setting.name, *picture);
  }
  check(filter->init());
  m_filter = std::move(filter);
  m_defaults = std::move(defaults);
  m_pictures = std::move(pictures);
}

void FilterPipeline::reload(const std::vector<OmString>& changed)
{
  const Turn turn(m_window);
  Pictures kept = m_pictures;
  for (const OmString& file : changed)
    kept.erase(file);
  makeFilter({}, std::move(kept));
}

std::vector<OmImageFilter::Setting> FilterPipeline::settings()
{
  const Turn turn(m_window);
  return m_filter->settings();
}

void FilterPipeline::set(const OmImageFilter::Setting& setting)
{
  if (setting.integers.empty())
    m_filter->setFloats(setting.name, setting.floats);
  else
    m_filter->setIntegers(setting.name, setting.integers);
}

/// Throws if the shader reads a picture that is not given.
void FilterPipeline::checkTextures(const OmImageFilter& filter) const
{
  const std::vector<TextureSetting>& given = m_settings.textures;
  for (const OmString& name : filter.pictureNames())
    if (std::none_of(given.begin(), given.end(), [&](const TextureSetting& setting) { return setting.name == name; }))
      throw Failure(quoted(findShader(m_settings.shader, ".frag")) + " reads another picture; give it with --texture " +
                    name + "=FILE");
}

void FilterPipeline::checkPicture(const PictureFile& picture) const
{
  checkSize(picture, m_largestSide, m_largestSide, m_gl.renderer);
}

void FilterPipeline::run(const OmImage& image, const OmString& file, OmImage& result)
{
  const Turn turn(m_window);
  if (!m_filter->run(image, result))
    throw Failure("cannot filter " + quoted(file) + ": " + m_log.takeReason("no reason was given"));
}

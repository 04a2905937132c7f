#include "tools/omrender/filter/filterPipeline.h"

#include "render/omGL.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/libraryLog.h"

#include <algorithm>
#include <filesystem>

#include <cstdint>
#include <strings.h>

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

/// Uniforms that a picture has for itself; at the end of its life they are as they were before.
class FilterPipeline::PictureUniforms
{
public:
  explicit PictureUniforms(FilterPipeline& pipeline) : m_pipeline(pipeline) {}
  ~PictureUniforms()
  {
    for (const OmImageFilter::Setting& setting : m_before)
      m_pipeline.set(setting);
  }
  PictureUniforms(const PictureUniforms&) = delete;
  PictureUniforms& operator=(const PictureUniforms&) = delete;

  /// Throws a Failure, with the cause in front, if the shaders have no such uniform. Whether the value fits is seen
  /// when they run: a name that is not there would make each run fail that follows.
  void set(const OmString& uniform, const OmString& cause)
  {
    const std::size_t sign = uniform.find('=');
    const OmImageFilter::Setting& setting = find(uniform.substr(0, sign), cause);
    m_before.push_back(setting);
    const auto [shader, name] = place(setting.name);
    m_pipeline.m_filters[shader]->set(name + uniform.substr(sign));
  }

private:
  /// The name of an array stands for its first element.
  const OmImageFilter::Setting& find(const OmString& name, const OmString& cause)
  {
    if (m_usual.empty())
      m_usual = m_pipeline.settingsOf(m_pipeline.m_filters);
    OmString names;
    for (const OmImageFilter::Setting& setting : m_usual)
    {
      if (setting.name == name || setting.name == name + "[0]")
        return setting;
      names += (names.empty() ? "" : ", ") + setting.name;
    }
    throw Failure(cause + "there is no uniform " + quoted(name) + " to set, but " + (names.empty() ? "none" : names));
  }

  FilterPipeline& m_pipeline;
  std::vector<OmImageFilter::Setting> m_usual;
  std::vector<OmImageFilter::Setting> m_before; ///< of the uniforms that are set
};

FilterPipeline::FilterPipeline(const FilterSettings& settings, LibraryLog& log) : m_settings(settings), m_log(log)
{
  openWindow();
  m_gl = currentGL();
  m_largestSide = OmImageFilter().largestSide();
  checkCapabilities();
  m_takesDeepImages = OmImageFilter().takesDeepImages();
  m_log.takeReason(""); // what was tried in vain is no failure
  makeFilters(true, {});
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
  for (const auto& [capability, name] :
       {std::pair(OmGL::SupportShaders, "shaders"), std::pair(OmGL::SupportFBO, "framebuffer objects")})
    if (!OmGL::isSupported(capability))
      throw Failure(OmString("filters need ") + name + ", which " + m_gl.renderer + " does not have", NoCard);
  if (m_settings.floats && !OmGL::isSupported(OmGL::SupportFloatTexture))
    throw Failure("--float needs float textures, which " + m_gl.renderer + " does not have", NoCard);
  for (const ShaderSettings& shader : m_settings.shaders)
    if (shader.textures.size() >= m_gl.textureUnits)
      throw Failure("a shader can read " + std::to_string(m_gl.textureUnits - 1) + " pictures by --texture on " +
                        m_gl.renderer + ", not " + std::to_string(shader.textures.size()),
                    NoCard);
  const std::optional<PictureScaling::Size>& size = m_settings.scaling.size;
  if (size && std::max(size->first, size->second) > m_largestSide)
    throw Failure("the --size " + sizeText(size->first, size->second) + " is more than the " +
                      sizeText(m_largestSide, m_largestSide) + " of " + m_gl.renderer,
                  NoCard);
}

void FilterPipeline::loadShader(OmImageFilter& filter, const OmString& name, const OmString& suffix,
                                OmShader::ShaderType type)
{
  check(filter.loadShaderFromFile(findShader(name, suffix), type));
}

/// `pictures` are those of --texture that need not be read.
void FilterPipeline::makeFilters(bool withUniforms, Pictures pictures)
{
  Filters filters;
  for (const ShaderSettings& settings : m_settings.shaders)
  {
    filters.push_back(makeFilter(settings));
    check(filters.back()->init());
  }
  std::vector<OmImageFilter::Setting> defaults = settingsOf(filters);
  for (std::size_t i = 0; i < filters.size(); ++i)
  {
    const ShaderSettings& settings = m_settings.shaders[i];
    for (const OmString& uniform : withUniforms ? settings.uniforms : std::vector<OmString>())
      check(filters[i]->set(uniform));
    check(filters[i]->init());
    checkTextures(*filters[i], settings);
  }
  for (std::size_t i = 0; i < filters.size(); ++i)
  {
    setTextures(*filters[i], m_settings.shaders[i], pictures);
    check(filters[i]->init());
    if (i > 0)
      check(filters[i - 1]->setNext(filters[i]));
  }
  m_filters = std::move(filters);
  m_defaults = std::move(defaults);
  m_pictures = std::move(pictures);
}

std::shared_ptr<OmImageFilter> FilterPipeline::makeFilter(const ShaderSettings& settings)
{
  auto filter = std::make_shared<OmImageFilter>();
  loadShader(*filter, settings.name, ".frag", OmShader::Fragment);
  if (!settings.vertex.empty())
    loadShader(*filter, settings.vertex, ".vert", OmShader::Vertex);
  filter->setPasses(static_cast<OmU32>(settings.passes.value_or(0)));
  filter->setFloatsBetweenPasses(m_settings.floats);
  return filter;
}

/// A table is known by its suffix, a picture by its content.
FilterPipeline::Picture FilterPipeline::readTexture(const OmString& file) const
{
  if (::strcasecmp(std::filesystem::path(file).extension().c_str(), ".cube") == 0)
  {
    OmColorTable table;
    if (!table.read(file))
      throw Failure(m_log.takeReason("cannot read " + quoted(file)));
    return table;
  }
  checkSize(readHeader(file, m_log), m_largestSide, m_largestSide, m_gl.renderer);
  return readPicture(file, m_log);
}

void FilterPipeline::setTextures(OmImageFilter& filter, const ShaderSettings& settings, Pictures& pictures)
{
  for (const TextureSetting& setting : settings.textures)
  {
    std::shared_ptr<const Picture>& picture = pictures[setting.file];
    if (!picture)
      picture = std::make_shared<const Picture>(readTexture(setting.file));
    std::visit([&](const auto& texture) { filter.setPicture(setting.name, texture); }, *picture);
  }
}

void FilterPipeline::reload(const std::vector<OmString>& changed)
{
  const Turn turn(m_window);
  Pictures kept = m_pictures;
  for (const OmString& file : changed)
    kept.erase(file);
  makeFilters(false, std::move(kept));
}

std::vector<OmImageFilter::Setting> FilterPipeline::settings()
{
  const Turn turn(m_window);
  return settingsOf(m_filters);
}

std::vector<OmImageFilter::Setting> FilterPipeline::settingsOf(const Filters& filters) const
{
  std::vector<OmImageFilter::Setting> all;
  for (std::size_t i = 0; i < filters.size(); ++i)
    for (OmImageFilter::Setting& setting : filters[i]->settings())
    {
      if (filters.size() > 1)
        setting.name = std::to_string(i + 1) + ':' + setting.name;
      all.push_back(std::move(setting));
    }
  return all;
}

std::pair<std::size_t, OmString> FilterPipeline::place(const OmString& setting)
{
  const std::size_t colon = setting.find(':'); // which no name in GLSL has
  if (colon == OmString::npos)
    return {0, setting};
  return {std::stoul(setting.substr(0, colon)) - 1, setting.substr(colon + 1)};
}

void FilterPipeline::set(const OmImageFilter::Setting& setting)
{
  const auto [shader, name] = place(setting.name);
  if (setting.integers.empty())
    m_filters[shader]->setFloats(name, setting.floats);
  else
    m_filters[shader]->setIntegers(name, setting.integers);
}

/// Throws if the shader reads a picture that is not given.
void FilterPipeline::checkTextures(const OmImageFilter& filter, const ShaderSettings& settings)
{
  const std::vector<TextureSetting>& given = settings.textures;
  for (const OmString& name : filter.pictureNames())
    if (std::none_of(given.begin(), given.end(), [&](const TextureSetting& setting) { return setting.name == name; }))
      throw Failure(quoted(findShader(settings.name, ".frag")) + " reads another picture; give it with --texture " +
                    name + "=FILE");
}

void FilterPipeline::checkPicture(const PictureFile& picture) const
{
  if (!m_settings.scaling.isSet())
    return checkSize(picture, m_largestSide, m_largestSide, m_gl.renderer);
  const std::uint64_t most = std::uint64_t{m_largestSide} * m_largestSide;
  if (std::uint64_t{picture.width} * picture.height > most)
    throw Failure(quoted(picture.file) + " is " + sizeText(picture.width, picture.height) + " pixels, more than the " +
                      std::to_string(most) + " that are read to be scaled",
                  NoCard);
  const auto [width, height] = resultSize(picture);
  if (std::max(width, height) > m_largestSide)
    throw Failure("the result of " + quoted(picture.file) + " would be " + sizeText(width, height) +
                      " pixels, more than the " + sizeText(m_largestSide, m_largestSide) + " of " + m_gl.renderer,
                  NoCard);
}

void FilterPipeline::scale(PicturePixels& pixels, const PictureFile& picture) const
{
  const auto apply = [&](auto& image) { image = m_settings.scaling.applied(image, picture, !picture.hasAlpha()); };
  if (m_settings.scaling.changes(picture))
    std::visit(apply, pixels);
}

template <typename Image>
void FilterPipeline::runFilters(const Image& image, const OmString& file, bool isOpaque,
                                const std::vector<OmString>& uniforms, Image& result)
{
  const Turn turn(m_window);
  PictureUniforms own(*this);
  const OmString cause = "cannot filter " + quoted(file) + ": ";
  for (const OmString& uniform : uniforms)
    own.set(uniform, cause);
  m_filters.front()->setOpaque(isOpaque);
  if (!m_filters.front()->run(image, result))
    throw Failure(cause + m_log.takeReason("no reason was given"));
}

void FilterPipeline::run(const OmImage& image, const OmString& file, bool isOpaque,
                         const std::vector<OmString>& uniforms, OmImage& result)
{
  runFilters(image, file, isOpaque, uniforms, result);
}

void FilterPipeline::run(const OmDeepImage& image, const OmString& file, bool isOpaque,
                         const std::vector<OmString>& uniforms, OmDeepImage& result)
{
  runFilters(image, file, isOpaque, uniforms, result);
}

#include "tools/filterPipeline.h"

#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "tools/failure.h"
#include "tools/libraryLog.h"

#include <algorithm>
#include <array>

namespace
{

/// A part of the storage that is drawn into along one axis, in pixels, and the texture coordinates at its ends.
struct Span
{
  OmU32 start;
  OmU32 end;
  float startCoordinate;
  float endCoordinate;
};

/// The picture, and behind it what pads it: there every pixel computes what the picture's last one does, so that the
/// next pass reads the edge beyond the edge.
std::array<Span, 2> spans(OmU32 side, OmU32 storageSide, float fromSide, float fromTexelSize)
{
  const float end = fromSide * fromTexelSize;
  const float last = end * (1.0f - 0.5f / static_cast<float>(side));
  return {{{0, side, 0.0f, end}, {side, storageSide, last, last}}};
}

} // namespace

FilterPipeline::FilterPipeline(const FilterSettings& settings, LibraryLog& log) : m_settings(settings), m_log(log)
{
  openWindow();
  m_gl = currentGL();
  checkCapabilities();
  if (std::max(m_settings.width, m_settings.height) > largestSide())
    throw Failure("the --size " + sizeText(m_settings.width, m_settings.height) + " is more than the " +
                  sizeText(largestSide(), largestSide()) + " of " + m_gl.renderer);
  m_program.emplace(m_settings.fragment, m_settings.vertex, m_log);
  for (const UniformSetting& setting : m_settings.fragment.defaults)
    m_program->setDefault(setting);
  for (const UniformSetting& setting : m_settings.uniforms)
    m_program->set(setting);
  loadTextures();
  checkErrors("cannot set up the filter", m_log);
}

void FilterPipeline::openWindow()
{
  m_window.setWindowSize(16, 16); // for its context alone: everything is drawn into textures
  m_window.setHideWindow(true);
  if (!m_window.init())
    failToOpenWindow(m_log);
}

void FilterPipeline::checkCapabilities() const
{
  const auto require = [this](OmU32 capability, const OmString& what)
  {
    if (!OmGL::isSupported(capability))
      throw Failure(what + ", which " + m_gl.renderer + " does not have");
  };
  require(OmGL::SupportShaders, "filters need shaders");
  require(OmGL::SupportFBO, "filters need framebuffer objects");
  if (m_settings.floats)
    require(OmGL::SupportFloatTexture, "--float needs float textures");
  if (m_settings.textures.size() >= m_gl.textureUnits)
    throw Failure("a shader can read " + std::to_string(m_gl.textureUnits - 1) + " pictures by --texture on " +
                  m_gl.renderer + ", not " + std::to_string(m_settings.textures.size()));
}

void FilterPipeline::loadTextures()
{
  const std::vector<TextureSetting>& given = m_settings.textures;
  for (const OmString& name : m_program->textures())
    if (std::none_of(given.begin(), given.end(), [&](const TextureSetting& setting) { return setting.name == name; }))
      throw Failure(quoted(m_settings.fragment.path) + " reads another picture; give it with --texture " + name +
                    "=FILE");
  for (const TextureSetting& setting : m_settings.textures)
  {
    checkPicture(readHeader(setting.file, m_log));
    OmImage image;
    if (!OmImageReaderWriter::read(image, setting.file))
      throw Failure(m_log.takeReason("cannot read " + quoted(setting.file)));
    PictureTexture& texture = m_textures.emplace_back();
    texture.load(image, false);
    checkErrors("cannot load " + quoted(setting.file), m_log);
    m_program->setPicture(setting.name, static_cast<int>(m_textures.size()), texture.size(), texture.texelSize());
  }
  OmU32 unit = 0; // unit 0 is that of the picture; these stay bound to theirs
  for (const PictureTexture& texture : m_textures)
    texture.bind(++unit);
}

OmU32 FilterPipeline::largestSide() const
{
  const OmU32 side = std::min({m_gl.textureSize, m_gl.viewportWidth, m_gl.viewportHeight});
  const OmU32 storage = PictureTexture::storageSide(side);
  return storage > side ? storage / 2 : side;
}

void FilterPipeline::checkPicture(const Picture& picture) const
{
  checkSize(picture, largestSide(), largestSide(), m_gl.renderer);
}

const OmImage& FilterPipeline::run(const OmImage& image, const OmString& file)
{
  const OmU32 width = m_settings.width ? m_settings.width : image.width();
  const OmU32 height = m_settings.height ? m_settings.height : image.height();
  try
  {
    if (!m_source)
      m_source = std::make_unique<PictureTexture>();
    m_source->load(image, width != image.width() || height != image.height());
    const PictureTexture* from = m_source.get();
    for (int pass = 0; pass < m_settings.passes; ++pass)
    {
      Target& to = target(pass, width, height);
      to.framebuffer.bind();
      draw(*from, pass, width, height);
      from = &to.picture;
    }
    read(image.channels() % 2 == 0 ? 4 : 3, width, height);
    OmFrameBufferObject::unbind();
    checkErrors("cannot filter " + quoted(file), m_log);
  }
  catch (...)
  {
    // What has failed may have left storage undefined.
    m_source.reset();
    for (auto& target : m_targets)
      target.reset();
    throw;
  }
  return m_result;
}

/// The last pass goes into the result, which is of bytes; those before take turns between the other two.
FilterPipeline::Target& FilterPipeline::target(int pass, OmU32 width, OmU32 height)
{
  const bool last = pass == m_settings.passes - 1;
  auto& target = m_targets[last ? 0 : 1 + pass % 2];
  if (!target)
    target = std::make_unique<Target>();
  if (target->picture.width() == width && target->picture.height() == height)
    return *target;
  target->picture.makeTarget(width, height, m_settings.floats && !last);
  const OmString what = "cannot make a " + OmString(m_settings.floats && !last ? "float " : "") + "picture of " +
                        sizeText(width, height) + " pixels to draw into";
  checkErrors(what, m_log);
  if (!target->framebuffer.init(target->picture.texture(), OmFrameBufferObject::Color, 0))
    throw Failure(what + ": " + m_log.takeReason("the framebuffer is not complete"));
  return *target;
}

void FilterPipeline::draw(const PictureTexture& from, int pass, OmU32 width, OmU32 height)
{
  const bool last = pass == m_settings.passes - 1; // nothing will read beyond its edge
  const OmU32 storageWidth = last ? width : PictureTexture::storageSide(width);
  const OmU32 storageHeight = last ? height : PictureTexture::storageSide(height);
  glViewport(0, 0, static_cast<GLsizei>(storageWidth), static_cast<GLsizei>(storageHeight));
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, storageWidth, 0.0, storageHeight, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  from.bind(0);
  m_program->setPass(pass, from.size(), from.texelSize());

  glBegin(GL_QUADS);
  for (const Span& y : spans(height, storageHeight, from.size()[1], from.texelSize()[1]))
    for (const Span& x : spans(width, storageWidth, from.size()[0], from.texelSize()[0]))
    {
      if (x.start == x.end || y.start == y.end)
        continue;
      glTexCoord2f(x.startCoordinate, y.startCoordinate);
      glVertex2f(static_cast<float>(x.start), static_cast<float>(y.start));
      glTexCoord2f(x.endCoordinate, y.startCoordinate);
      glVertex2f(static_cast<float>(x.end), static_cast<float>(y.start));
      glTexCoord2f(x.endCoordinate, y.endCoordinate);
      glVertex2f(static_cast<float>(x.end), static_cast<float>(y.end));
      glTexCoord2f(x.startCoordinate, y.endCoordinate);
      glVertex2f(static_cast<float>(x.start), static_cast<float>(y.end));
    }
  glEnd();
}

void FilterPipeline::read(OmU32 channels, OmU32 width, OmU32 height)
{
  if (m_result.channels() != channels || m_result.width() != width || m_result.height() != height)
    m_result = OmImage(channels, width, height);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), channels == 4 ? GL_RGBA : GL_RGB,
               GL_UNSIGNED_BYTE, m_result.data());
}

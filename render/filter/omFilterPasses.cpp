#include "render/filter/omFilterPasses.h"

#include "foundation/common/omUtils.h"
#include "render/filter/omFilterProgram.h"
#include "render/omGL.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

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

/// The picture, and behind it the padding. There every pixel computes what the picture's last one does, so that the
/// next pass reads the edge beyond the edge.
std::array<Span, 2> spans(OmU32 side, OmU32 storageSide, float fromSide, float fromTexelSize)
{
  const float end = fromSide * fromTexelSize;
  const float last = end * (1.0f - 0.5f / static_cast<float>(side));
  return {{{0, side, 0.0f, end}, {side, storageSide, last, last}}};
}

/// Makes RGBA pixels RGB ones.
template <typename Sample>
void dropAlpha(const Sample* source, Sample* target, std::size_t pixels)
{
  for (std::size_t i = 0; i + 1 < pixels; ++i) // four channels at a time; the next pixel replaces the fourth
    std::memcpy(target + 3 * i, source + 4 * i, 4 * sizeof(Sample));
  std::memcpy(target + 3 * (pixels - 1), source + 4 * (pixels - 1), 3 * sizeof(Sample));
}

GLenum pixelType(const OmImage&)
{
  return GL_UNSIGNED_BYTE;
}

GLenum pixelType(const OmDeepImage&)
{
  return GL_UNSIGNED_SHORT;
}

bool hasFlipped(const OmImage& image)
{
  return image.flippedData() != nullptr;
}

bool hasFlipped(const OmDeepImage&)
{
  return false;
}

/// Whether the texture that is bound keeps what 16 bits hold.
bool keepsDepth()
{
  GLint red = 0, alpha = 0;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_RED_SIZE, &red);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_ALPHA_SIZE, &alpha);
  return std::min(red, alpha) >= 16;
}

} // namespace

OmString OmFilterPasses::takeError()
{
  const GLenum error = glGetError();
  if (error == GL_OUT_OF_MEMORY)
    return "the graphics card is out of memory; scale the picture down first";
  return error == GL_NO_ERROR ? "" : "OpenGL error 0x" + OmINT2STRING(error, 16);
}

OmString OmFilterPasses::run(const OmImage& image, const OmFilterRun& filterRun, OmImage& result)
{
  m_source.load(image);
  return runLoaded(image, filterRun, m_read, result);
}

OmString OmFilterPasses::run(const OmDeepImage& image, const OmFilterRun& filterRun, OmDeepImage& result)
{
  m_source.load(image, filterRun.samples);
  return runLoaded(image, filterRun, m_deepRead, result);
}

template <typename Image>
OmString OmFilterPasses::runLoaded(const Image& image, const OmFilterRun& filterRun, Image& rgba, Image& result)
{
  OmString failure = drawAll(filterRun);
  if (failure.empty())
    failure = takeError();
  if (!failure.empty())
    return failure;

  const OmU32 channels = image.channels() % 2 == 0 ? 4 : 3;
  const bool fits = result.channels() == channels && result.width() == image.width() &&
                    result.height() == image.height() && !hasFlipped(result);
  if (fits)
    return read(rgba, result);
  Image made(channels, image.width(), image.height());
  failure = read(rgba, made);
  if (failure.empty())
    result = std::move(made);
  return failure;
}

/// Leaves the framebuffer with the result bound.
OmString OmFilterPasses::drawAll(const OmFilterRun& filterRun)
{
  const OmPictureTexture* from = &m_source;
  for (const OmFilterStep& step : filterRun.steps)
  {
    const bool isLastStep = &step == &filterRun.steps.back();
    step.program->use();
    OmU32 unit = 0; // what is filtered has unit 0
    for (const OmPictureTexture& picture : *step.pictures)
      picture.bind(++unit);
    for (OmU32 number = 0; number < step.passes; ++number)
    {
      // The last pass makes the result, which is not of floats. Those before take turns between the other two targets.
      const bool isLastPass = number + 1 == step.passes;
      const bool isLast = isLastStep && isLastPass;
      const int target = isLast ? 0 : m_targets[1] && from == &m_targets[1]->picture ? 2 : 1;
      const bool isFloat = !isLast && step.floats;
      const Pass pass = {number, target, isFloat ? OmPictureTexture::Floats : filterRun.samples, !isLast,
                         isLastPass && !isLast && !filterRun.hasAlpha};
      OmString failure = makeTarget(pass);
      if (!failure.empty())
        return failure;
      draw(*step.program, pass, *from);
      from = &m_targets[target]->picture;
    }
  }
  return "";
}

std::optional<OmPictureTexture::Samples> OmFilterPasses::deepSamples()
{
  takeError(); // that was pending
  for (const auto samples : {OmPictureTexture::Words, OmPictureTexture::Floats})
  {
    if (samples == OmPictureTexture::Floats && !OmGL::isSupported(OmGL::SupportFloatTexture))
      continue;
    constexpr OmU32 Side = 16;
    Target target;
    target.picture.makeTarget(Side, Side, samples);
    target.picture.bind(0);
    if (keepsDepth() && takeError().empty() &&
        target.framebuffer.init(target.picture.texture(), OmFrameBufferObject::Color, 0))
      return samples;
  }
  return std::nullopt;
}

OmString OmFilterPasses::makeTarget(const Pass& pass)
{
  const OmU32 width = m_source.width(), height = m_source.height();
  auto& target = m_targets[pass.target];
  if (!target)
    target.emplace();
  if (target->picture.isLike(width, height, pass.samples))
    return "";
  target->picture.makeTarget(width, height, pass.samples);
  OmString failure = takeError();
  if (failure.empty() && !target->framebuffer.init(target->picture.texture(), OmFrameBufferObject::Color, 0))
    failure = "the framebuffer is not complete";
  if (failure.empty())
    return "";
  return "cannot make a " + OmString(pass.samples == OmPictureTexture::Floats ? "float " : "") + "picture of " +
         std::to_string(width) + " x " + std::to_string(height) + " pixels to draw into: " + failure;
}

void OmFilterPasses::draw(const OmFilterProgram& program, const Pass& pass, const OmPictureTexture& from) const
{
  const Target& target = *m_targets[pass.target];
  const OmPictureTexture& to = target.picture;
  const OmU32 drawnWidth = pass.padding ? to.storageWidth() : to.width();
  const OmU32 drawnHeight = pass.padding ? to.storageHeight() : to.height();
  target.framebuffer.bind();
  glViewport(0, 0, static_cast<GLsizei>(drawnWidth), static_cast<GLsizei>(drawnHeight));
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, drawnWidth, 0.0, drawnHeight, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  from.bind(0);
  program.setPass(pass.number, from.size(), from.texelSize());

  glBegin(GL_QUADS);
  for (const Span& y : spans(to.height(), drawnHeight, from.size()[1], from.texelSize()[1]))
    for (const Span& x : spans(to.width(), drawnWidth, from.size()[0], from.texelSize()[0]))
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
  if (!pass.opaque)
    return;
  glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_TRUE);
  glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
  glClear(GL_COLOR_BUFFER_BIT);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

/// Reads the bound framebuffer into an image of the right shape. Always as RGBA: drivers convert to three bytes a pixel
/// more slowly than dropAlpha().
template <typename Image>
OmString OmFilterPasses::read(Image& rgba, Image& result)
{
  const OmU32 width = result.width();
  const OmU32 height = result.height();
  const bool isRGB = result.channels() == 3;
  if (isRGB && (rgba.width() != width || rgba.height() != height))
    rgba = Image(4, width, height);
  glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGBA, pixelType(result),
               isRGB ? rgba.data() : result.data());
  OmString failure = takeError();
  if (failure.empty() && isRGB)
    dropAlpha(rgba.data(), result.data(), std::size_t(width) * height);
  return failure;
}

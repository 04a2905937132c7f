#ifndef OM_FILTER_PASSES_H
#define OM_FILTER_PASSES_H

#include "render/filter/omPictureTexture.h"
#include "render/omFrameBufferObject.h"

#include <list>
#include <optional>
#include <vector>

class OmFilterProgram;

/// What one filter of a chain does. The other filters' steps may be before it and behind it.
struct OmFilterStep
{
  const OmFilterProgram* program;
  const std::list<OmPictureTexture>* pictures; ///< that the program reads, on the units from 1 on
  OmU32 passes;
  bool floats; ///< 32-bit floats between the passes, and for the next step
};

/// How a chain runs over an image.
struct OmFilterRun
{
  std::vector<OmFilterStep> steps;
  bool hasAlpha;                     ///< without alpha, each step reads 1
  OmPictureTexture::Samples samples; ///< of the image, the result, and what is not floats between the passes
};

/// Uploads images, draws the passes of programs and reads the results. Textures, framebuffers and memory stay for the
/// next image; only an image of another size has them made again. Belongs to one context.
class OmFilterPasses
{
public:
  /// Filters an image of 1 to 4 channels, top row first. Returns why that fails, with the result unchanged; an empty
  /// text if it does not.
  OmString run(const OmImage& image, const OmFilterRun& filterRun, OmImage& result);
  /// The same with samples that are not bytes.
  OmString run(const OmDeepImage& image, const OmFilterRun& filterRun, OmDeepImage& result);

  /// What this card keeps all bits of deep images in: words, else floats, else nothing. Binds a texture and a
  /// framebuffer.
  static std::optional<OmPictureTexture::Samples> deepSamples();

  /// Why GL failed since the last call; an empty text if it did not.
  static OmString takeError();

private:
  /// What sets a pass apart from the others.
  struct Pass
  {
    OmU32 number;                      ///< from 0, in its step
    int target;                        ///< index in m_targets
    OmPictureTexture::Samples samples; ///< that it makes
    bool padding; ///< fills the storage behind the picture too: the next pass may read beyond the edge
    bool opaque;  ///< makes alpha 1
  };

  struct Target
  {
    OmPictureTexture picture;
    OmFrameBufferObject framebuffer;
  };

  template <typename Image>
  OmString runLoaded(const Image& image, const OmFilterRun& filterRun, Image& rgba, Image& result);
  OmString drawAll(const OmFilterRun& filterRun);
  OmString makeTarget(const Pass& pass);
  void draw(const OmFilterProgram& program, const Pass& pass, const OmPictureTexture& from) const;
  template <typename Image>
  static OmString read(Image& rgba, Image& result);

  OmPictureTexture m_source;
  std::optional<Target> m_targets[3]; ///< the result, and two between the passes
  OmImage m_read;                     ///< RGBA of an RGB result; kept for the next one
  OmDeepImage m_deepRead;             ///< the same of a deep image
};

#endif

#ifndef OM_FILTER_PASSES_H
#define OM_FILTER_PASSES_H

#include "render/filter/omPictureTexture.h"
#include "render/omFrameBufferObject.h"

#include <optional>

class OmFilterProgram;

/// How a filter runs over an image.
struct OmFilterRun
{
  OmU32 passes = 0;
  bool floats = false; ///< 32-bit floats between the passes
  OmU32 width = 0;     ///< of the result, in pixels
  OmU32 height = 0;    ///< of the result, in pixels
};

/// Uploads images, draws the passes of a program and reads the results. Textures, framebuffers and memory stay for the
/// next image; only an image of another size has them made again. Belongs to one context.
class OmFilterPasses
{
public:
  /// Filters an image of 1 to 4 channels, top row first. The program is in use. Returns why that fails, with the result
  /// unchanged; an empty text if it does not.
  OmString run(const OmFilterProgram& program, const OmImage& image, const OmFilterRun& filterRun, OmImage& result);

  /// Why GL failed since the last call; an empty text if it did not.
  static OmString takeError();

private:
  /// What sets a pass apart from the others.
  struct Pass
  {
    OmU32 number; ///< from 0
    int target;   ///< index in m_targets
    bool floats;  ///< makes floats, not bytes
    bool padding; ///< fills the storage behind the picture too: the next pass may read beyond the edge
  };

  struct Target
  {
    OmPictureTexture picture;
    OmFrameBufferObject framebuffer;
  };

  OmString makeTarget(const Pass& pass, OmU32 width, OmU32 height);
  void draw(const OmFilterProgram& program, const Pass& pass, const OmPictureTexture& from) const;
  OmString read(OmImage& result);

  OmPictureTexture m_source;
  std::optional<Target> m_targets[3]; ///< the result, and two between the passes
  OmImage m_read;                     ///< RGBA of an RGB result; kept for the next one
};

#endif

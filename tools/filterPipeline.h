#ifndef OM_TOOLS_FILTER_PIPELINE_H
#define OM_TOOLS_FILTER_PIPELINE_H

#include "image/omImage.h"
#include "render/omFrameBufferObject.h"
#include "render/omSimpleWindow.h"
#include "tools/filterProgram.h"
#include "tools/glInformation.h"
#include "tools/pictureFile.h"
#include "tools/pictureTexture.h"

#include <list>
#include <memory>
#include <optional>
#include <vector>

class LibraryLog;

/// A picture that a shader reads besides the one it filters.
struct TextureSetting
{
  OmString name; ///< of the sampler
  OmString file;
};

/// What a filter does to every picture.
struct FilterSettings
{
  ShaderFile fragment;
  std::optional<ShaderFile> vertex;
  std::vector<UniformSetting> uniforms;
  std::vector<TextureSetting> textures;
  int passes = 1;
  bool floats = false; ///< 32-bit floats between the passes
  OmU32 width = 0;     ///< of the result; 0 for the picture's own
  OmU32 height = 0;
};

/// Runs a filter over pictures, off screen: each costs one upload, one draw a pass and one read. What is on the card is
/// made once, and anew only where a picture has another size than the one before.
class FilterPipeline
{
public:
  /// Opens a hidden window and makes the program. Throws a Failure for all that does not depend on the pictures.
  FilterPipeline(const FilterSettings& settings, LibraryLog& log);

  /// Throws a Failure when the picture or its result is larger than the card can hold.
  void checkPicture(const Picture& picture) const;
  /// The filtered picture, RGBA where the picture has alpha and RGB where it has not; valid until the next call. Throws
  /// a Failure when it cannot be made.
  const OmImage& run(const OmImage& image, const OmString& file);

private:
  struct Target
  {
    PictureTexture picture;
    OmFrameBufferObject framebuffer;
  };

  void openWindow();
  void checkCapabilities() const;
  OmU32 largestSide() const;
  void loadTextures();
  Target& target(int pass, OmU32 width, OmU32 height);
  void draw(const PictureTexture& from, int pass, OmU32 width, OmU32 height);
  void read(OmU32 channels, OmU32 width, OmU32 height);

  const FilterSettings m_settings;
  LibraryLog& m_log;
  OmSimpleWindow m_window; // outlives what lives in its context
  GLInformation m_gl;
  std::optional<FilterProgram> m_program;
  std::list<PictureTexture> m_textures;
  std::unique_ptr<PictureTexture> m_source;
  std::unique_ptr<Target> m_targets[3]; ///< the result, and two between the passes
  OmImage m_result;
};

#endif

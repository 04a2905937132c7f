#ifndef OM_TOOLS_FILTER_PIPELINE_H
#define OM_TOOLS_FILTER_PIPELINE_H

#include "image/omImage.h"
#include "render/omImageFilter.h"
#include "render/omSimpleWindow.h"
#include "tools/omrender/backEnd.h"
#include "tools/omrender/glInformation.h"
#include "tools/omrender/pictureFile.h"

#include <map>
#include <memory>
#include <optional>
#include <utility>
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
  OmString shader;                ///< as for findShader()
  OmString vertex;                ///< as for findShader(); empty for the library's own
  std::vector<OmString> uniforms; ///< as for OmImageFilter::set()
  std::vector<TextureSetting> textures;
  std::optional<int> passes;                   ///< as many as the shader asks for by default
  std::optional<std::pair<OmU32, OmU32>> size; ///< of the result, in pixels; that of the picture by default
  bool floats = false;                         ///< 32-bit floats between the passes
  BackEndChoice backEnd;
};

/// A filter as the user has set it, over pictures and off screen. Its operations leave the current window current.
class FilterPipeline
{
public:
  /// Reads the shaders, opens a hidden window and makes the filter. Throws a Failure when the settings fit no picture.
  FilterPipeline(const FilterSettings& settings, LibraryLog& log);

  /// The largest side, in pixels, that a picture or its result may have.
  OmU32 largestSide() const { return m_largestSide; }
  /// Throws a Failure when the picture or its result is larger than the card can hold.
  void checkPicture(const PictureFile& picture) const;
  /// Filters as OmImageFilter::run() does. `file` is for messages. Throws a Failure when the filter cannot run.
  void run(const OmImage& image, const OmString& file, OmImage& result);

  /// Makes the filter again from its files, without the uniforms that were set. Reads only those pictures of --texture
  /// again that are among the files that changed. Throws a Failure, and the filter before stays.
  void reload(const std::vector<OmString>& changed);
  /// The settings of the shader with the values that they have when nobody sets them.
  const std::vector<OmImageFilter::Setting>& defaults() const { return m_defaults; }
  /// The settings of the shader with the values that they have now.
  std::vector<OmImageFilter::Setting> settings();
  /// Sets a uniform that is among the defaults.
  void set(const OmImageFilter::Setting& setting);

private:
  using Pictures = std::map<OmString, std::shared_ptr<const OmImage>>; ///< by file

  void openWindow();
  void checkCapabilities() const;
  void loadShader(OmImageFilter& filter, const OmString& name, const OmString& suffix, OmShader::ShaderType type);
  void makeFilter(const std::vector<OmString>& uniforms, Pictures pictures);
  void checkTextures(const OmImageFilter& filter) const;
  void check(bool succeeded);

  const FilterSettings m_settings;
  LibraryLog& m_log;
  OmSimpleWindow m_window; // outlives what lives in its context
  GLInformation m_gl;
  Pictures m_pictures;
  std::unique_ptr<OmImageFilter> m_filter;
  std::vector<OmImageFilter::Setting> m_defaults;
  OmU32 m_largestSide = 0; ///< of a picture or a result, in pixels
};

#endif

#ifndef OM_TOOLS_FILTER_PIPELINE_H
#define OM_TOOLS_FILTER_PIPELINE_H

#include "render/omColorTable.h"
#include "render/omImageFilter.h"
#include "render/omSimpleWindow.h"
#include "tools/omrender/backEnd.h"
#include "tools/omrender/filter/pictureScaling.h"
#include "tools/omrender/filter/pictureSource.h"
#include "tools/omrender/glInformation.h"
#include "tools/omrender/pictureFile.h"

#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

class LibraryLog;

/// A picture or a colour table that a shader reads besides the picture it filters.
struct TextureSetting
{
  OmString name; ///< of the sampler
  OmString file;
};

/// One of the shaders that a picture goes through, and what it is given.
struct ShaderSettings
{
  OmString name;                  ///< as for findShader()
  OmString vertex;                ///< as for findShader(); empty for the library's own
  std::vector<OmString> uniforms; ///< as for OmImageFilter::set()
  std::vector<TextureSetting> textures;
  std::optional<int> passes; ///< as many as the shader asks for by default
};

/// What a filter does to every picture.
struct FilterSettings
{
  std::vector<ShaderSettings> shaders =
      std::vector<ShaderSettings>(1); ///< one after another; the first may lack a name
  PictureScaling scaling;             ///< before the first shader
  bool floats = false;                ///< 32-bit floats between the passes and the shaders
  BackEndChoice backEnd;

  bool hasShader() const { return !shaders.front().name.empty(); }
};

/// A filter as the user has set it, over pictures and off screen. Its operations leave the current window current.
class FilterPipeline
{
public:
  /// Reads the shaders, opens a hidden window and makes the filter. Throws a Failure when the settings fit no picture.
  FilterPipeline(const FilterSettings& settings, LibraryLog& log);

  /// The largest side, in pixels, that a picture may have when the filter gets it.
  OmU32 largestSide() const { return m_largestSide; }
  /// Throws a Failure when the card cannot hold the picture, as it is or as it is scaled.
  void checkPicture(const PictureFile& picture) const;
  /// The size of a picture's result, in pixels. Throws a Failure if nothing is left of it.
  PictureScaling::Size resultSize(const PictureFile& picture) const { return m_settings.scaling.resultSize(picture); }
  /// Cuts and scales the pixels of a picture as the filter gets them. Any thread may.
  void scale(PicturePixels& pixels, const PictureFile& picture) const;
  /// Filters what scale() has made, as OmImageFilter::run() does. `file` is for messages; `isOpaque` as for
  /// OmImageFilter::setOpaque(). The `uniforms` are as for OmImageFilter::set(), with names as those of defaults(), and
  /// hold for this picture alone. Throws a Failure when the filter cannot run.
  void run(const OmImage& image, const OmString& file, bool isOpaque, const std::vector<OmString>& uniforms,
           OmImage& result);
  /// The same with 16-bit channels.
  void run(const OmDeepImage& image, const OmString& file, bool isOpaque, const std::vector<OmString>& uniforms,
           OmDeepImage& result);
  /// Whether the card keeps 16-bit channels.
  bool takesDeepImages() const { return m_takesDeepImages; }
  /// The card, for messages.
  const OmString& renderer() const { return m_gl.renderer; }

  /// Makes the filter again from its files, without the uniforms that were set. Reads only those pictures of --texture
  /// again that are among the files that changed. Throws a Failure, and the filter before stays.
  void reload(const std::vector<OmString>& changed);
  /// The settings with the values that they have when nobody sets them. In a chain, the number of the shader, from 1,
  /// goes before a setting's name: "2:radius".
  const std::vector<OmImageFilter::Setting>& defaults() const { return m_defaults; }
  /// The settings with the values that they have now.
  std::vector<OmImageFilter::Setting> settings();
  /// Sets a uniform that is among the defaults.
  void set(const OmImageFilter::Setting& setting);
  /// The number of the shader, from 0, that a setting belongs to, and the setting's name there.
  static std::pair<std::size_t, OmString> place(const OmString& setting);

private:
  class PictureUniforms;
  using Filters = std::vector<std::shared_ptr<OmImageFilter>>; ///< one for each shader
  using Picture = std::variant<OmImage, OmColorTable>;
  using Pictures = std::map<OmString, std::shared_ptr<const Picture>>; ///< of --texture, by file

  void openWindow();
  void checkCapabilities() const;
  void loadShader(OmImageFilter& filter, const OmString& name, const OmString& suffix, OmShader::ShaderType type);
  void makeFilters(bool withUniforms, Pictures pictures);
  std::shared_ptr<OmImageFilter> makeFilter(const ShaderSettings& settings);
  Picture readTexture(const OmString& file) const;
  void setTextures(OmImageFilter& filter, const ShaderSettings& settings, Pictures& pictures);
  static void checkTextures(const OmImageFilter& filter, const ShaderSettings& settings);
  std::vector<OmImageFilter::Setting> settingsOf(const Filters& filters) const;
  void check(bool succeeded);
  template <typename Image>
  void runFilters(const Image& image, const OmString& file, bool isOpaque, const std::vector<OmString>& uniforms,
                  Image& result);

  const FilterSettings m_settings;
  LibraryLog& m_log;
  OmSimpleWindow m_window; // outlives what lives in its context
  GLInformation m_gl;
  Pictures m_pictures;
  Filters m_filters;
  std::vector<OmImageFilter::Setting> m_defaults;
  bool m_takesDeepImages = false;
  OmU32 m_largestSide = 0; ///< of a picture on the card, in pixels
};

#endif

#ifndef OM_COLOR_TABLE_H
#define OM_COLOR_TABLE_H

#include "foundation/core/omTypes.h"
#include "render/omRenderShader.h"

#include <cstddef>
#include <vector>

/// A colour table, read from a .cube file: what a film or a camera makes of each colour.
///
/// \code
///   OmColorTable table;
///   if (!table.read("film.cube"))
///     return 1;                                                // the reason has been printed
///   table.apply(colors.data(), results.data(), colors.size()); // on the processor
///   OmRenderShader::Texture3 texture = table.texture();        // the texels themselves
///   OmImageFilter filter;                                      // or on the card, by a shader like shaders/lut.frag
///   filter.setPicture("lut", table);
/// \endcode
///
/// A table of 1 dimension is a curve for each of red, green and blue; one of 3 dimensions gives a colour for each
/// colour. The domain says which colours the first and the last texel of an axis are for. Nothing here needs a GL
/// context.
class OM_EXPORT OmColorTable
{
public:
  /// The sizes that a table may have.
  enum Limits : OmU32
  {
    Smallest = 2,          ///< of any table
    Largest1D = 65536,     ///< of a table of 1 dimension
    Largest3D = 65,        ///< of a table of 3 dimensions, along each axis
    LargestFile = 64 << 20 ///< bytes of a file
  };

  /// Reads an Adobe or IRIDAS .cube file that Om::Application::findFile() finds: LUT_1D_SIZE or LUT_3D_SIZE, DOMAIN_MIN
  /// and DOMAIN_MAX or LUT_1D_INPUT_RANGE and LUT_3D_INPUT_RANGE, TITLE, comments, lines that end by LF or CR LF.
  /// Numbers have a decimal point whatever the locale. If the file cannot be read, or is not exactly such a table, one
  /// error message names it and its line and says why. Then false is returned and the table is unchanged.
  OmBoolean read(const OmString& fileName);

  /// 1 or 3; 0 before a table was read.
  OmU32 dimensions() const { return m_dimensions; }
  /// Texels along each axis.
  OmU32 size() const { return m_size; }
  /// The title in the file, or an empty text.
  const OmString& title() const { return m_title; }
  /// The colour at the first texel of each axis, usually 0.
  const OmRenderShader::vecT3<float>& domainMin() const { return m_domainMin; }
  /// The colour at the last texel of each axis, usually 1.
  const OmRenderShader::vecT3<float>& domainMax() const { return m_domainMax; }
  /// Red, green and blue of each texel, in the order of the file and of Texture3: red varies fastest.
  const std::vector<float>& texels() const { return m_texels; }

  /// A texture that interpolates between the texels of this table, which has to stay; a table of 1 dimension lies along
  /// x, and its y and z have one texel. A colour inside the domain of a table of 3 dimensions lies at
  /// `(color - domainMin) / (domainMax - domainMin) * (size - 1) / size`.
  OmRenderShader::Texture3 texture();
  /// Looks up `count` colours with linear interpolation. A colour outside the domain is looked up at its edge,
  /// and NaN at the lower one.
  /// `results` has room for them and may be `colors` itself. Without a table they are the colours.
  void apply(const OmRenderShader::vecT3<float>* colors, OmRenderShader::vecT3<float>* results,
             std::size_t count) const;

private:
  class OM_INTERNAL Parser;

  OmU32 m_dimensions = 0;
  OmU32 m_size = 0;
  OmString m_title;
  OmRenderShader::vecT3<float> m_domainMin = {0.0f, 0.0f, 0.0f};
  OmRenderShader::vecT3<float> m_domainMax = {1.0f, 1.0f, 1.0f};
  std::vector<float> m_texels;
};

#endif

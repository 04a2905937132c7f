#ifndef OM_TABLE_PICTURE_H
#define OM_TABLE_PICTURE_H

#include "render/omColorTable.h"

/// A colour table as a picture. One of 3 dimensions is as many squares side by side as it has texels along an axis; in
/// a square red grows from left to right and green from top to bottom, and blue grows from square to square. One of 1
/// dimension lies in rows of up to 256 pixels, and its last texel fills the last row. Without a table it is empty.
struct OmTablePicture
{
  OmTablePicture() = default;
  explicit OmTablePicture(const OmColorTable& table);

  OmU32 width = 0;
  OmU32 height = 0;
  std::vector<float> pixels; ///< RGBA, top row first
  int entries = 0;           ///< of a table of 1 dimension
  OmRenderShader::vecT3<float> domainMin = {0.0f, 0.0f, 0.0f};
  OmRenderShader::vecT3<float> domainMax = {1.0f, 1.0f, 1.0f};
};

#endif

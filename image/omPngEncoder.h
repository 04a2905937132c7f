#ifndef OM_PNG_ENCODER_H
#define OM_PNG_ENCODER_H

#include "image/omImage.h"

#include <cstdio>

#include <png.h>

/// Encodes an image of 1 to 4 channels as PNG with libpng.
class OmPngEncoder
{
public:
  OmPngEncoder();
  ~OmPngEncoder();
  OmPngEncoder(const OmPngEncoder&) = delete;
  OmPngEncoder& operator=(const OmPngEncoder&) = delete;

  /// Writes the pixels to `stream`, once. When it returns false, reason() says why.
  bool encode(const OmImage& image, std::FILE* stream);
  const char* reason() const { return m_reason; }

private:
  void writePicture(const OmImage& image, std::FILE* stream);
  static void onError(png_structp png, png_const_charp message);

  png_structp m_png = nullptr;
  png_infop m_info = nullptr;
  char m_reason[256] = "out of memory"; ///< when libpng cannot even be set up
};

#endif

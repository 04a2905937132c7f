// The formats of OmImageReaderWriter and their names.

#include "image/codec/omTiff.h"
#include "image/codec/omWebP.h"
#include "image/omImageReaderWriter.h"

#include <algorithm>
#include <cctype>

const std::vector<OmImageReaderWriter::FormatSupport>& OmImageReaderWriter::formats()
{
  static const std::vector<FormatSupport> table = {{PNG, "png", {".png"}, true, true},
                                                   {JPEG, "jpeg", {".jpg", ".jpeg"}, true, true},
                                                   {WebP, "webp", {".webp"}, OmWebP::isBuilt(), OmWebP::isBuilt()},
                                                   {TIFF, "tiff", {".tif", ".tiff"}, OmTiff::isBuilt(), false},
                                                   {PPM, "ppm", {".ppm", ".pgm", ".pnm"}, true, true},
                                                   {PAM, "pam", {".pam"}, true, true},
                                                   {Raw, "raw", {}, false, true}};
  return table;
}

OmBoolean OmImageReaderWriter::formatOfName(const OmString& fileName, Format& format)
{
  const std::size_t dot = fileName.find_last_of("./");
  if (dot == OmString::npos || fileName[dot] == '/')
    return false;
  OmString suffix = fileName.substr(dot);
  std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  for (const FormatSupport& support : formats())
    if (std::count(support.suffixes.begin(), support.suffixes.end(), suffix) > 0)
    {
      format = support.format;
      return true;
    }
  return false;
}

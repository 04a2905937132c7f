#include "image/codec/omPnmEncoder.h"

#include "image/codec/omOrigin.h"

OmString OmPnmEncoder::header(OmImageReaderWriter::Format format, OmU32 channels, OmU32 width, OmU32 height)
{
  constexpr const char* TupleTypes[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  const OmString w = std::to_string(width), h = std::to_string(height);
  switch (format)
  {
  case OmImageReaderWriter::PPM:
    return OmString(channels == 1 ? "P5" : "P6") + "\n" + w + " " + h + "\n255\n";
  case OmImageReaderWriter::PAM:
    return "P7\nWIDTH " + w + "\nHEIGHT " + h + "\nDEPTH " + std::to_string(channels) + "\nMAXVAL 255\nTUPLTYPE " +
           TupleTypes[channels - 1] + "\nENDHDR\n";
  default:
    return "";
  }
}

void OmPnmEncoder::encode(OmImageRows& rows, std::vector<OmU8>& bytes) const
{
  OmString text = header(m_settings.format, rows.channels(), rows.width(), rows.height());
  const OmString comment = OmOrigin::commentOf(m_settings.metadata);
  if (!text.empty() && !comment.empty())
    text.insert(text.find('\n') + 1, "# " + comment + "\n");
  bytes.reserve(bytes.size() + text.size() + rows.byteSize());
  bytes.insert(bytes.end(), text.begin(), text.end());
  for (OmU32 y = 0; y < rows.height(); ++y)
  {
    const OmU8* const row = rows.row(y);
    bytes.insert(bytes.end(), row, row + rows.rowSize());
  }
}

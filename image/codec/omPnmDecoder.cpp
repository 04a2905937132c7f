#include "image/codec/omPnmDecoder.h"

#include "image/codec/omOrigin.h"

#include <algorithm>
#include <cstring>

namespace
{

OmU8 scaled(OmU32 value, OmU32 maximum)
{
  return static_cast<OmU8>((std::min(value, maximum) * 255 + maximum / 2) / maximum);
}

} // namespace

bool OmPnmDecoder::readHeader()
{
  std::vector<OmU8> text;
  OmString reason;
  if (!m_header.read(m_file.stream(), text, reason))
    return fail(reason.c_str());
  if (m_header.pixelBytes() > m_file.size() - text.size())
    return fail("the file is too small for the size in its header");
  m_headerText.assign(text.begin(), text.end());
  m_width = m_header.width();
  m_height = m_header.height();
  m_channels = m_header.channels();
  return true;
}

/// A comment is a line that begins with this.
void OmPnmDecoder::readMetadata(OmImageMetadata& metadata)
{
  const OmString start = "\n# ";
  for (std::size_t at = 0; (at = m_headerText.find(start, at)) != OmString::npos && metadata.origin.empty();)
  {
    at += start.size();
    OmOrigin::keepComment(m_headerText.substr(at, m_headerText.find('\n', at) - at), metadata);
  }
}

bool OmPnmDecoder::start()
{
  m_rowSize = std::size_t{m_width} * m_header.channels() * m_header.depth();
  m_ownRow.resize(m_rowSize + 1); // addAlpha() reads one byte more
  for (OmU32 value = 0; value < m_scaled.size(); ++value)
    m_scaled[value] = scaled(value, m_header.maximum());
  return true;
}

bool OmPnmDecoder::readRow(OmU8* row)
{
  const bool isDirect = row != nullptr && m_header.maximum() == 255 && !m_addsAlpha;
  if (std::fread(isDirect ? row : m_ownRow.data(), 1, m_rowSize, m_file.stream()) != m_rowSize)
    return fail(std::ferror(m_file.stream()) != 0 ? "the file cannot be read to its end" : "the file ends early");
  if (row != nullptr && !isDirect && m_header.maximum() == 255)
    addAlpha(row);
  else if (row != nullptr && !isDirect)
    convertRow(row);
  return true;
}

/// Copies four bytes at a time, which is several times as fast as one by one.
void OmPnmDecoder::addAlpha(OmU8* row) const
{
  const OmU8* source = m_ownRow.data();
  for (OmU32 x = 0; x < m_width; ++x, source += 3, row += 4)
  {
    std::memcpy(row, source, 4);
    row[3] = 255;
  }
}

void OmPnmDecoder::convertRow(OmU8* row) const
{
  const OmU32 channels = m_header.channels();
  const OmU8* source = m_ownRow.data();
  for (OmU32 x = 0; x < m_width; ++x)
  {
    for (OmU32 channel = 0; channel < channels; ++channel, source += m_header.depth())
      *row++ =
          m_header.depth() == 1 ? m_scaled[*source] : scaled(OmU32{source[0]} * 256 + source[1], m_header.maximum());
    if (m_addsAlpha)
      *row++ = 255;
  }
}

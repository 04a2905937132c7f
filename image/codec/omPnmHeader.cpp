#include "image/codec/omPnmHeader.h"

#include <cctype>
#include <utility>

namespace
{

/// Comments make a header long. No real one comes near this.
constexpr std::size_t LongestHeader = 1U << 16;

/// The largest side: the size of a picture of four channels of 16 bits then fits into 64 bits.
constexpr OmU32 LargestSide = (1U << 30) - 1;

constexpr std::pair<const char*, OmU32> TupleTypes[] = {
    {"BLACKANDWHITE", 1},       {"GRAYSCALE", 1}, //
    {"BLACKANDWHITE_ALPHA", 2}, {"GRAYSCALE_ALPHA", 2}, {"RGB", 3}, {"RGB_ALPHA", 4}};

bool isSpace(int character)
{
  return std::isspace(character) != 0;
}

/// Whether the channels have the meaning that their number says.
bool isKnown(const OmString& tupleType, OmU32 channels)
{
  for (const auto& [name, count] : TupleTypes)
    if (tupleType == name)
      return channels == count;
  return tupleType.empty() && channels >= 1 && channels <= 4;
}

} // namespace

/// The header's bytes, one by one.
class OmPnmHeader::Text
{
public:
  Text(std::FILE* stream, std::vector<OmU8>& bytes) : m_stream(stream), m_bytes(bytes), m_start(bytes.size()) {}

  /// The next byte; EOF at the end or if the header is too long.
  int next()
  {
    const int character = m_bytes.size() - m_start < LongestHeader ? std::getc(m_stream) : EOF;
    if (character == EOF)
      m_ended = true;
    else
      m_bytes.push_back(static_cast<OmU8>(character));
    return character;
  }

  /// The next word and the byte after it. Space and comments before it are skipped.
  OmString word()
  {
    int character = next();
    while (isSpace(character) || character == '#')
    {
      if (character == '#')
        skipLine();
      character = next();
    }
    OmString result;
    for (; character != EOF && !isSpace(character) && character != '#'; character = next())
      result += static_cast<char>(character);
    if (character == '#')
      skipLine();
    m_last = character;
    return result;
  }

  /// The next word as a number; 0, which no header has, if it is none.
  OmU32 number()
  {
    const OmString digits = word();
    OmU32 result = 0;
    for (const char digit : digits)
    {
      if (std::isdigit(static_cast<unsigned char>(digit)) == 0 || result > LargestSide / 10)
        return 0;
      result = result * 10 + static_cast<OmU32>(digit - '0');
    }
    return result;
  }

  /// The rest of the line that the last word stands in, without the space around it.
  OmString line()
  {
    OmString result;
    for (int character = m_last; character != '\n' && character != EOF; character = next())
      if (!isSpace(character) || !result.empty())
        result += static_cast<char>(character);
    while (!result.empty() && isSpace(static_cast<unsigned char>(result.back())))
      result.pop_back();
    m_last = '\n';
    return result;
  }

  bool hasEnded() const { return m_ended; }
  bool isTooLong() const { return m_bytes.size() - m_start >= LongestHeader; }

private:
  void skipLine()
  {
    for (int character = next(); character != '\n' && character != EOF;)
      character = next();
  }

  std::FILE* m_stream;
  std::vector<OmU8>& m_bytes;
  std::size_t m_start;
  int m_last = '\n'; ///< the byte after the last word
  bool m_ended = false;
};

bool OmPnmHeader::read(std::FILE* stream, std::vector<OmU8>& bytes, OmString& reason)
{
  Text text(stream, bytes);
  const OmString magic = text.word();
  if (!text.hasEnded() && magic != "P5" && magic != "P6" && magic != "P7")
  {
    reason = "it begins with \"P\" like a PPM, PGM or PAM picture, but not with P5, P6 or P7";
    return false;
  }
  m_isPam = magic == "P7";
  if (m_isPam && !readPam(text, reason))
    return false;
  if (!m_isPam)
  {
    m_channels = magic == "P6" ? 3 : 1;
    m_width = text.number();
    m_height = text.number();
    m_maximum = text.number();
  }
  if (text.isTooLong())
    reason = "its header is longer than 64 KiB";
  else if (text.hasEnded())
    reason = std::ferror(stream) != 0 ? "the file cannot be read to its end" : "the file ends early";
  else
    return check(reason);
  return false;
}

bool OmPnmHeader::readPam(Text& text, OmString& reason)
{
  const std::pair<const char*, OmU32&> numbers[] = {
      {"WIDTH", m_width}, {"HEIGHT", m_height}, {"DEPTH", m_channels}, {"MAXVAL", m_maximum}};
  OmString tupleType;
  for (OmString word = text.word(); word != "ENDHDR" && !text.hasEnded(); word = text.word())
  {
    if (word == "TUPLTYPE")
      tupleType = text.line();
    for (const auto& [name, number] : numbers)
      if (word == name)
        number = text.number();
  }
  if (text.hasEnded() || isKnown(tupleType, m_channels))
    return true;
  reason = "a PAM picture of " + std::to_string(m_channels) + " channels" +
           (tupleType.empty() ? "" : " of type " + tupleType) + " is not supported";
  return false;
}

bool OmPnmHeader::check(OmString& reason) const
{
  if (m_width >= 1 && m_width <= LargestSide && m_height >= 1 && m_height <= LargestSide && m_maximum >= 1 &&
      m_maximum <= 65535)
    return true;
  reason = "its header has no size of 1 to " + std::to_string(LargestSide) + " a side, or no maximum of 1 to 65535";
  return false;
}

#include "render/omColorTable.h"

#include "foundation/core/omApplication.h"
#include "foundation/core/omPrint.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

using Color = OmRenderShader::vecT3<float>;

namespace
{

constexpr std::size_t LongestLine = 4096; ///< in bytes
constexpr std::string_view Blanks = " \t\r";

/// The next word of a line, which it is taken from; empty at the end.
std::string_view takeWord(std::string_view& line)
{
  line.remove_prefix(std::min(line.find_first_not_of(Blanks), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(Blanks));
  line.remove_prefix(word.size());
  return word;
}

/// A word from a file for a message: short, and of letters that can be printed.
OmString shown(std::string_view word)
{
  constexpr std::size_t Most = 40;
  OmString result(word.substr(0, Most));
  std::replace_if(
      result.begin(), result.end(), [](unsigned char letter) { return letter < ' ' || letter > '~'; }, '?');
  return '"' + result + (word.size() > Most ? "...\"" : "\"");
}

/// Whether the word is a finite number and nothing else.
bool readNumber(std::string_view word, float& number)
{
  if (word.size() > 1 && word[0] == '+' && word[1] != '-') // from_chars() takes no plus sign
    word.remove_prefix(1);
  double value = 0.0; // also holds what is too small for a float
  const char* const end = word.data() + word.size();
  const std::from_chars_result result = std::from_chars(word.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || !(std::abs(value) <= std::numeric_limits<float>::max()))
    return false;
  number = static_cast<float>(value);
  return true;
}

/// Reads exactly that many numbers. Returns what is wrong, or an empty text.
OmString readNumbers(std::string_view line, float* numbers, std::size_t count)
{
  for (std::size_t i = 0; i < count; ++i)
  {
    const std::string_view word = takeWord(line);
    if (word.empty())
      return "there are " + std::to_string(i) + " numbers and not " + std::to_string(count);
    if (!readNumber(word, numbers[i]))
      return shown(word) + " is no finite number";
  }
  const std::string_view more = takeWord(line);
  return more.empty() ? "" : shown(more) + " stands behind " + std::to_string(count) + " numbers";
}

OmString readColor(std::string_view line, Color& color)
{
  return readNumbers(line, &color.x, 3);
}

/// Linear interpolation between the texels of a channel, `at` from 0 to 1.
float curve(const std::vector<float>& texels, std::size_t channel, float at)
{
  const std::size_t last = texels.size() / 3 - 1;
  const double place = static_cast<double>(at) * static_cast<double>(last);
  const auto lower = std::min(static_cast<std::size_t>(place), last);
  const std::size_t upper = std::min(lower + 1, last);
  const double part = place - static_cast<double>(lower);
  return static_cast<float>((1.0 - part) * static_cast<double>(texels[3 * lower + channel]) +
                            part * static_cast<double>(texels[3 * upper + channel]));
}

} // namespace

/// Reads the lines of a file into a table. The operations that return a text return what is wrong with the line, or an
/// empty text.
class OmColorTable::Parser
{
public:
  explicit Parser(OmColorTable& table) : m_table(table) {}

  /// Reads the whole file, and returns also where it is wrong.
  OmString read(std::FILE* file);

private:
  struct Keyword
  {
    std::string_view name;
    OmString (Parser::*read)(std::string_view rest);
  };

  OmString takeLine(std::FILE* file);
  OmString readLine(std::string_view line);
  OmString readRow(std::string_view line);
  OmString readTitle(std::string_view rest);
  OmString readSize1D(std::string_view rest) { return readSize(rest, 1, Largest1D); }
  OmString readSize3D(std::string_view rest) { return readSize(rest, 3, Largest3D); }
  OmString readSize(std::string_view rest, OmU32 dimensions, OmU32 largest);
  OmString readMin(std::string_view rest) { return readColor(rest, m_table.m_domainMin); }
  OmString readMax(std::string_view rest) { return readColor(rest, m_table.m_domainMax); }
  OmString readRange(std::string_view rest);
  OmString checkHeader() const;
  OmString checkEnd() const;
  std::size_t rows() const { return m_table.m_texels.size() / 3; }
  std::size_t wantedRows() const;

  static const std::array<Keyword, 7> Keywords;

  OmColorTable& m_table;
  std::array<bool, 7> m_isGiven = {}; ///< by keyword
  OmString m_text;                    ///< of the line
  std::size_t m_line = 0;             ///< its number, from 1
  std::size_t m_bytes = 0;            ///< that were read
  bool m_isEnd = false;
};

const std::array<OmColorTable::Parser::Keyword, 7> OmColorTable::Parser::Keywords = {{
    {"TITLE", &Parser::readTitle},
    {"LUT_1D_SIZE", &Parser::readSize1D},
    {"LUT_3D_SIZE", &Parser::readSize3D},
    {"DOMAIN_MIN", &Parser::readMin},
    {"DOMAIN_MAX", &Parser::readMax},
    {"LUT_1D_INPUT_RANGE", &Parser::readRange},
    {"LUT_3D_INPUT_RANGE", &Parser::readRange},
}};

OmString OmColorTable::Parser::read(std::FILE* file)
{
  OmString failure;
  while (failure.empty() && !m_isEnd)
  {
    failure = takeLine(file);
    if (failure.empty())
      failure = readLine(m_text);
  }
  if (std::ferror(file) != 0)
    return std::generic_category().message(errno);
  if (failure.empty())
    failure = checkEnd();
  return failure.empty() ? "" : "line " + std::to_string(m_line) + ": " + failure;
}

OmString OmColorTable::Parser::takeLine(std::FILE* file)
{
  m_text.clear();
  ++m_line;
  int letter = 0;
  while ((letter = std::getc(file)) != EOF && letter != '\n')
  {
    if (m_text.size() == LongestLine)
      return "it is longer than " + std::to_string(LongestLine) + " bytes";
    if (++m_bytes > LargestFile)
      return "the file is larger than " + std::to_string(LargestFile >> 20) + " MiB";
    m_text += static_cast<char>(letter);
  }
  ++m_bytes;
  m_isEnd = letter == EOF;
  return "";
}

OmString OmColorTable::Parser::readLine(std::string_view line)
{
  constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
  if (m_line == 1 && line.substr(0, ByteOrderMark.size()) == ByteOrderMark)
    line.remove_prefix(ByteOrderMark.size());
  std::string_view rest = line;
  const std::string_view word = takeWord(rest);
  if (word.empty() || word[0] == '#')
    return "";
  if (word.find_first_of("+-.0123456789") == 0)
    return readRow(line);
  for (std::size_t i = 0; i < Keywords.size(); ++i)
    if (word == Keywords[i].name)
    {
      if (rows() > 0 || m_isGiven[i])
        return OmString(word) + (m_isGiven[i] ? " is given twice" : " stands behind the first row");
      m_isGiven[i] = true;
      return (this->*Keywords[i].read)(rest);
    }
  return shown(word) + " is neither a finite number nor a keyword of a table";
}

std::size_t OmColorTable::Parser::wantedRows() const
{
  const std::size_t size = m_table.m_size;
  return m_table.m_dimensions == 1 ? size : size * size * size;
}

OmString OmColorTable::Parser::readRow(std::string_view line)
{
  OmString failure = rows() == 0 ? checkHeader() : "";
  if (!failure.empty())
    return failure;
  if (rows() == wantedRows())
    return "there is a row behind the " + std::to_string(rows()) + " of the table";
  float row[3];
  OmString wrong = readNumbers(line, row, 3);
  if (wrong.empty())
    m_table.m_texels.insert(m_table.m_texels.end(), std::begin(row), std::end(row));
  return wrong;
}

OmString OmColorTable::Parser::readTitle(std::string_view rest)
{
  const std::size_t first = rest.find_first_not_of(Blanks);
  if (first == std::string_view::npos)
    return "";
  rest = rest.substr(first, rest.find_last_not_of(Blanks) + 1 - first);
  if (rest.size() > 1 && rest.front() == '"' && rest.back() == '"')
    rest = rest.substr(1, rest.size() - 2);
  m_table.m_title = rest;
  return "";
}

OmString OmColorTable::Parser::readSize(std::string_view rest, OmU32 dimensions, OmU32 largest)
{
  const std::string_view word = takeWord(rest);
  const char* const end = word.data() + word.size();
  OmU32 size = 0;
  const std::from_chars_result result = std::from_chars(word.data(), end, size);
  if (m_table.m_dimensions != 0)
    return "a table has either 1 dimension or 3";
  if (result.ec != std::errc() || result.ptr != end || !takeWord(rest).empty() || size < Smallest || size > largest)
    return "the size of a table of " + std::to_string(dimensions) + (dimensions == 1 ? " dimension" : " dimensions") +
           " is a number from " + std::to_string(Smallest) + " to " + std::to_string(largest);
  m_table.m_dimensions = dimensions;
  m_table.m_size = size;
  return "";
}

OmString OmColorTable::Parser::readRange(std::string_view rest)
{
  float range[2];
  OmString failure = readNumbers(rest, range, 2);
  if (failure.empty())
  {
    m_table.m_domainMin = {range[0], range[0], range[0]};
    m_table.m_domainMax = {range[1], range[1], range[1]};
  }
  return failure;
}

OmString OmColorTable::Parser::checkHeader() const
{
  const Color& min = m_table.m_domainMin;
  const Color& max = m_table.m_domainMax;
  if (m_table.m_dimensions == 0)
    return "there is neither LUT_1D_SIZE nor LUT_3D_SIZE before this";
  if (!OmRenderShader::all({min.x < max.x, min.y < max.y, min.z < max.z}) ||
      !OmRenderShader::all({std::isfinite(max.x - min.x), std::isfinite(max.y - min.y), std::isfinite(max.z - min.z)}))
    return "the domain before this is empty or too large";
  return "";
}

OmString OmColorTable::Parser::checkEnd() const
{
  OmString failure = checkHeader();
  if (!failure.empty() || rows() == wantedRows())
    return failure;
  return "the file ends with " + std::to_string(rows()) + " rows and not " + std::to_string(wantedRows());
}

OmBoolean OmColorTable::read(const OmString& fileName)
{
  const OmString path = Om::Application::findFile(fileName);
  OmString failure;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(Om::Application::openFile(path, failure), std::fclose);
  OmColorTable table;
  if (file)
    failure = Parser(table).read(file.get());
  if (failure.empty())
    *this = std::move(table);
  else
    Om::Print::instance().write(Om::Print::Error, "OmColorTable: cannot read \"%s\": %s.\n", path.c_str(),
                                failure.c_str());
  return failure.empty();
}

OmRenderShader::Texture3 OmColorTable::texture()
{
  const auto size = static_cast<int>(m_size);
  const int others = m_dimensions == 3 ? size : 1;
  OmRenderShader::Texture3 result({size, others, others}, 3, m_texels.data());
  result.interpolate = 1;
  return result;
}

void OmColorTable::apply(const Color* colors, Color* results, std::size_t count) const
{
  const auto part = [](float value, float min, float max)
  {
    const float at = (value - min) / (max - min);
    return at > 0.0f ? std::min(at, 1.0f) : 0.0f; // NaN is 0
  };
  const auto size = static_cast<float>(m_size);
  const float scale = m_dimensions == 3 ? (size - 1.0f) / size : 1.0f;
  for (std::size_t i = 0; i < count; ++i)
  {
    const Color color = colors[i];
    results[i] = m_dimensions == 0 ? color
                                   : Color{scale * part(color.x, m_domainMin.x, m_domainMax.x),
                                           scale * part(color.y, m_domainMin.y, m_domainMax.y),
                                           scale * part(color.z, m_domainMin.z, m_domainMax.z)};
    if (m_dimensions == 1)
      results[i] = {curve(m_texels, 0, results[i].x), curve(m_texels, 1, results[i].y),
                    curve(m_texels, 2, results[i].z)};
  }
  if (m_dimensions == 3)
    const_cast<OmColorTable*>(this)->texture().tex3D(results, results, count); // which only reads the texels
}

#include "render/omColorTable.h"
#include "tests/support/printCapture.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <fstream>
#include <limits>
#include <utility>
#include <vector>

#include <unistd.h>

using Color = OmRenderShader::vecT3<float>;

namespace
{

/// Reads a table from a text; `message` gets what was printed.
bool readText(OmColorTable& table, const OmString& text, OmString& message)
{
  const OmString file = testing::TempDir() + "omColorTableTest" + std::to_string(::getpid()) + ".cube";
  std::ofstream(file, std::ios::binary) << text;
  const PrintCapture capture;
  const bool isRead = table.read(file);
  for (const auto& [type, line] : capture.messages())
    message += line;
  std::remove(file.c_str());
  return isRead;
}

OmString rows(std::size_t count, const OmString& row = "0.5 0.25 1\n")
{
  OmString text;
  while (count-- > 0)
    text += row;
  return text;
}

TEST(omColorTableTest, ReadsWhatProgramsWrite)
{
  const OmString plain = "TITLE \"a film\"\n# comment\n\nDOMAIN_MIN 0 -0.5 0\nDOMAIN_MAX 1 1.5 2\nLUT_3D_SIZE 2\n";
  const OmString texels = "0 0 0\n1 0 0\n# in between\n0 1.5e0 0\n1 1 0\n0 0 -.25\n1 0 1\n0 1 1e-50\n+1 1 1\n";
  OmString crlf;
  for (const char letter : "\xEF\xBB\xBF" + plain + texels)
    crlf += letter == '\n' ? OmString(" \t\r\n") : OmString(1, letter);
  std::setlocale(LC_ALL, "de_DE.UTF-8"); // with commas in numbers, where it is installed
  for (const OmString& text : {plain + texels, crlf, (plain + texels).substr(0, plain.size() + texels.size() - 1)})
  {
    OmColorTable table;
    OmString message;
    ASSERT_TRUE(readText(table, text, message)) << message;
    EXPECT_EQ(table.dimensions(), 3U);
    EXPECT_EQ(table.size(), 2U);
    EXPECT_EQ(table.title(), "a film");
    EXPECT_EQ(table.domainMin().y, -0.5f);
    EXPECT_EQ(table.domainMax().z, 2.0f);
    const std::vector<float> expected = {0, 0, 0, 1, 0, 0, 0, 1.5f, 0, 1, 1, 0, 0, 0, -.25f, 1, 0, 1, 0, 1, 0, 1, 1, 1};
    EXPECT_EQ(table.texels(), expected);
    OmRenderShader::Texture3 texture = table.texture();
    EXPECT_EQ(texture.tex3D({0.0f, 0.5f, 0.0f}).y, 1.5f); // the texel 0, 1, 0
  }
  std::setlocale(LC_ALL, "C");
}

TEST(omColorTableTest, AppliesWhatItHas)
{
  OmColorTable table;
  OmString message;
  Color colors[] = {{0.0f, 0.5f, 9.0f}, {-1.0f, 0.25f, std::numeric_limits<float>::quiet_NaN()}};
  const auto apply = [&](std::vector<Color> expected)
  {
    Color results[2];
    table.apply(colors, results, 2);
    for (std::size_t i = 0; i < 2; ++i)
      for (float Color::*const channel : {&Color::x, &Color::y, &Color::z})
        EXPECT_NEAR(results[i].*channel, expected[i].*channel, 1e-6f) << i;
  };
  ASSERT_TRUE(readText(table, "LUT_1D_INPUT_RANGE -1 1\nLUT_1D_SIZE 3\n0 1 0\n.5 0 .25\n1 1 1\n", message)) << message;
  EXPECT_EQ(table.texture().size.x, 3);
  apply({{0.5f, 0.5f, 1.0f}, {0.0f, 0.25f, 0.0f}});
  // Red becomes green, green 1 - green, blue stays.
  const OmString turned = "LUT_3D_SIZE 2\n0 1 0\n0 1 0\n1 0 0\n1 0 0\n0 1 1\n0 1 1\n1 0 1\n1 0 1\n";
  ASSERT_TRUE(readText(table, turned, message)) << message;
  apply({{0.5f, 0.5f, 1.0f}, {0.25f, 0.75f, 0.0f}});
  EXPECT_FALSE(readText(table, "LUT_3D_SIZE 2\n", message)); // what it had stays
  apply({{0.5f, 0.5f, 1.0f}, {0.25f, 0.75f, 0.0f}});
}

TEST(omColorTableTest, TakesTheLargestAndNoMore)
{
  for (const auto& [header, count] : {std::pair("LUT_1D_SIZE 65536\n", 65536), {"LUT_3D_SIZE 65\n", 65 * 65 * 65}})
    for (const int more : {-1, 0, 1})
    {
      OmColorTable table;
      OmString message;
      const bool isRead = readText(
          table, header + rows(static_cast<std::size_t>(count) + static_cast<std::size_t>(more + 1) - 1), message);
      EXPECT_EQ(isRead, more == 0) << message;
      const OmString line = "line " + std::to_string(count + 2) + ": ";
      EXPECT_EQ(message.find(line) != OmString::npos, more == 1) << message;
      EXPECT_EQ(table.texels().size(), more == 0 ? 3U * static_cast<unsigned>(count) : 0U);
    }
}

TEST(omColorTableTest, RefusesWithTheLine)
{
  const OmString header = "LUT_3D_SIZE 2\n";
  const struct
  {
    OmString text;
    const char* message;
  } cases[] = {
      {"", "line 1: there is neither"},
      {"\x89PNG\r\n\x1a\n", "line 1: \"?PNG\" is neither"},
      {"0 0 0\n", "line 1: there is neither"},
      {"\nLUT_3D_SIZE 1\n", "line 2: the size of a table of 3 dimensions is a number from 2 to 65"},
      {"LUT_3D_SIZE 66\n", "line 1: the size"},
      {"LUT_3D_SIZE 4294967298\n", "line 1: the size"},
      {"LUT_3D_SIZE -2\n", "line 1: the size"},
      {"LUT_3D_SIZE 2 2\n", "line 1: the size"},
      {"LUT_3D_SIZE\n", "line 1: the size"},
      {"LUT_1D_SIZE 1\n", "line 1: the size of a table of 1 dimension is a number from 2 to 65536"},
      {"LUT_1D_SIZE 65537\n", "line 1: the size"},
      {header + header, "line 2: LUT_3D_SIZE is given twice"},
      {header + "LUT_1D_SIZE 4\n", "line 2: a table has either"},
      {header + "WIDTH 4\n", "line 2: \"WIDTH\" is neither"},
      {header + rows(7), "line 9: the file ends with 7 rows and not 8"},
      {header + rows(9), "line 10: there is a row behind the 8"},
      {header + rows(8) + "DOMAIN_MAX 1 1 2\n", "line 10: DOMAIN_MAX stands behind"},
      {header + rows(3) + "0 0\n", "line 5: there are 2 numbers and not 3"},
      {header + rows(3) + "0 0 0 0\n", "line 5: \"0\" stands behind 3 numbers"},
      {header + rows(3) + "0 0,5 0\n", "line 5: \"0,5\" is no finite number"},
      {header + rows(3) + "0 nan 0\n", "line 5: \"nan\" is no finite number"},
      {header + rows(3) + "nan 0 0\n", "line 5: \"nan\" is neither a finite number"},
      {header + rows(3) + "-inf 0 0\n", "line 5: \"-inf\" is no finite number"},
      {header + rows(3) + "0 1e39 0\n", "line 5: \"1e39\" is no finite number"},
      {header + rows(3) + "0 0x1 0\n", "line 5: \"0x1\" is no finite number"},
      {header + rows(3) + "0 +-1 0\n", "line 5: \"+-1\" is no finite number"},
      {header + rows(3) + OmString("0 0\0 0\n", 7), "line 5: \"0?\" is no finite number"},
      {header + "DOMAIN_MIN 0 1 0\n" + rows(8), "line 3: the domain"},
      {header + "DOMAIN_MIN 0 0\n" + rows(8), "line 2: there are 2 numbers"},
      {header + "LUT_3D_INPUT_RANGE 1 0\n" + rows(8), "line 3: the domain"},
      {header + "DOMAIN_MIN 0 -3e38 0\nDOMAIN_MAX 1 3e38 1\n" + rows(8), "line 4: the domain"},
      {header + OmString(5000, '#'), "line 2: it is longer than 4096 bytes"},
      {rows(70000, OmString(1000, '#') + '\n'), ": the file is larger than 64 MiB"},
  };
  for (const auto& c : cases)
  {
    OmColorTable table;
    OmString message;
    EXPECT_FALSE(readText(table, c.text, message)) << c.text.substr(0, 99);
    EXPECT_NE(message.find(c.message), OmString::npos) << message << c.message;
    EXPECT_EQ(table.dimensions(), 0U);
  }
  const PrintCapture capture;
  EXPECT_FALSE(OmColorTable().read("nowhere.cube"));
  EXPECT_FALSE(OmColorTable().read("/"));
  EXPECT_FALSE(OmColorTable().read("/dev/zero"));
  const std::vector<PrintCapture::Message> expected = {
      {Om::Print::Error, "OmColorTable: cannot read \"nowhere.cube\": No such file or directory.\n"},
      {Om::Print::Error, "OmColorTable: cannot read \"/\": it is a directory.\n"},
      {Om::Print::Error, "OmColorTable: cannot read \"/dev/zero\": it is not a regular file.\n"}};
  EXPECT_EQ(capture.messages(), expected);
}

} // namespace

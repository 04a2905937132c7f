#include "tools/omdemo/testChart.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace
{

constexpr int Width = 641;
constexpr int Height = 479;

using Color = std::array<int, 3>;

constexpr Color Black = {0, 0, 0};
constexpr Color White = {255, 255, 255};
constexpr Color Red = {255, 0, 0};
constexpr Color Green = {0, 255, 0};
constexpr Color Blue = {0, 0, 255};
constexpr Color Yellow = {255, 255, 0};

/// A capital letter or digit, 5 x 7; bit 4 of a row is the leftmost pixel.
struct Glyph
{
  char character;
  OmU8 rows[7];
};

constexpr Glyph Glyphs[] = {
    {'1', {4, 12, 4, 4, 4, 4, 14}},      {'4', {2, 6, 10, 18, 31, 2, 2}},     {'6', {14, 16, 16, 30, 17, 17, 14}},
    {'7', {31, 1, 2, 4, 8, 8, 8}},       {'9', {14, 17, 17, 15, 1, 1, 14}},   {'B', {30, 17, 17, 30, 17, 17, 30}},
    {'E', {31, 16, 16, 30, 16, 16, 31}}, {'F', {31, 16, 16, 30, 16, 16, 16}}, {'G', {14, 17, 16, 23, 17, 17, 15}},
    {'H', {17, 17, 17, 31, 17, 17, 17}}, {'I', {14, 4, 4, 4, 4, 4, 14}},      {'L', {16, 16, 16, 16, 16, 16, 31}},
    {'M', {17, 27, 21, 21, 17, 17, 17}}, {'O', {14, 17, 17, 17, 17, 17, 14}}, {'P', {30, 17, 17, 30, 16, 16, 16}},
    {'R', {30, 17, 17, 30, 20, 18, 17}}, {'T', {31, 4, 4, 4, 4, 4, 4}},       {'U', {17, 17, 17, 17, 17, 17, 14}},
    {'X', {17, 17, 10, 4, 10, 17, 17}},
};

class Canvas
{
public:
  Canvas() : m_image(3, Width, Height) {}

  /// Gives every pixel of a rectangle the colour that a function returns for its place in the rectangle.
  template <typename ColorAt>
  void paint(int left, int top, int width, int height, const ColorAt& colorAt)
  {
    for (int y = std::max(top, 0); y < std::min(top + height, Height); ++y)
      for (int x = std::max(left, 0); x < std::min(left + width, Width); ++x)
        set(x, y, colorAt(x - left, y - top));
  }

  void fill(int left, int top, int width, int height, const Color& color)
  {
    paint(left, top, width, height, [&color](int, int) { return color; });
  }

  void write(int left, int top, int scale, const Color& color, const char* text)
  {
    for (; *text; ++text, left += 6 * scale)
      for (const Glyph& glyph : Glyphs)
        if (glyph.character == *text)
          writeGlyph(left, top, scale, color, glyph);
  }

  OmImage take() { return std::move(m_image); }

private:
  void writeGlyph(int left, int top, int scale, const Color& color, const Glyph& glyph)
  {
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 5; ++x)
        if (glyph.rows[y] & (16 >> x))
          fill(left + x * scale, top + y * scale, scale, scale, color);
  }

  void set(int x, int y, const Color& color)
  {
    OmU8* const pixel = m_image.data() + (static_cast<std::size_t>(y) * Width + static_cast<std::size_t>(x)) * 3;
    for (std::size_t c = 0; c < color.size(); ++c)
      pixel[c] = static_cast<OmU8>(color[c]);
  }

  OmImage m_image;
};

Color grey(int value)
{
  return {value, value, value};
}

void paintGradients(Canvas& canvas)
{
  canvas.paint(0, 0, Width, Height,
               [](int x, int y) {
                 return Color{x * 255 / (Width - 1), y * 255 / (Height - 1), 255 - x * 255 / (Width - 1)};
               });
  canvas.paint(40, 40, 256, 32, [](int x, int) { return grey(x); });
  canvas.paint(40, 72, 256, 16, [](int x, int) { return grey(x / 16 * 17); });
}

void paintPatterns(Canvas& canvas)
{
  canvas.paint(40, 110, 96, 96, [](int x, int y) { return (x / 8 + y / 8) % 2 ? White : Black; });
  canvas.paint(146, 110, 96, 96, [](int x, int y) { return (x + y) % 2 ? White : Black; });
  canvas.paint(252, 110, 96, 96, [](int x, int) { return x % 2 ? White : Black; });
  canvas.paint(358, 110, 96, 96, [](int, int y) { return y % 2 ? White : Black; });
  canvas.paint(464, 110, 96, 96, [](int x, int y) { return x == y || x % 16 == 0 || y % 12 == 0 ? Yellow : Black; });
}

/// An upward arrow, 81 pixels wide and 120 high.
void paintArrow(Canvas& canvas, int left, int top)
{
  canvas.paint(left, top, 81, 120,
               [](int x, int y)
               {
                 const int fromAxis = std::abs(x - 40);
                 return fromAxis <= (y < 60 ? y * 2 / 3 : 12) ? White : Black;
               });
}

void paintText(Canvas& canvas)
{
  canvas.fill(170, 230, 260, 120, Black);
  canvas.write(182, 240, 14, White, "FRG");
  canvas.write(32, 8, 2, White, "TOP LEFT");
  canvas.write(504, 8, 2, White, "TOP RIGHT");
  canvas.write(32, 456, 2, Black, "BOTTOM LEFT");
  canvas.write(466, 456, 2, Black, "BOTTOM RIGHT");
  canvas.write(440, 240, 3, White, "641 X 479");
  for (int line = 0; line < 6; ++line)
    canvas.write(440 + line, 300 + line * 9, 1, line % 2 ? Black : White, "641 X 479 PIXEL TEXT OF THE HOUR");
}

/// One-pixel lines along the edges, and a colour in each corner: a cut-off row or column takes a line away.
void paintFrame(Canvas& canvas)
{
  canvas.fill(0, 0, Width, 1, White);
  canvas.fill(0, Height - 1, Width, 1, Yellow);
  canvas.fill(0, 0, 1, Height, Red);
  canvas.fill(Width - 1, 0, 1, Height, Green);
  canvas.fill(1, 1, 24, 24, Red);
  canvas.fill(Width - 25, 1, 24, 24, Green);
  canvas.fill(1, Height - 25, 24, 24, Blue);
  canvas.fill(Width - 25, Height - 25, 24, 24, Black);
}

} // namespace

OmImage makeTestChart()
{
  Canvas canvas;
  paintGradients(canvas);
  paintPatterns(canvas);
  paintArrow(canvas, 60, 230);
  paintText(canvas);
  paintFrame(canvas);
  return canvas.take();
}

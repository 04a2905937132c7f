// omrenderFilterReference noise CHANNELS WIDTH HEIGHT OUT.png: writes a picture of noise.
// omrenderFilterReference FILTER PICTURE FILTERED.png TABLE: whether the filter, with the settings that stand in
// omrenderFilterTest.sh, made the second picture from the first one, to within one step of 255; `identity` exactly.
// `near` only compares them.
// omrenderFilterReference cube PICTURE FILTERED.png TABLE.cube: whether the table made it, as by Texture3.

#include "image/omImageReaderWriter.h"
#include "render/omColorTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <set>

namespace
{

/// A channel, 0 to 1, of a picture without alpha or of one with it. The picture's edge goes on beyond the edge.
double at(const OmImage& image, int x, int y, int c)
{
  const auto width = static_cast<int>(image.width());
  const auto channels = static_cast<int>(image.channels());
  const int place = std::clamp(y, 0, static_cast<int>(image.height()) - 1) * width + std::clamp(x, 0, width - 1);
  if (c == 3 && channels % 2 != 0)
    return 1.0;
  return image.data()[place * channels + (c == 3 ? channels - 1 : channels < 3 ? 0 : c)] / 255.0;
}

/// One channel of one pixel, and those around it.
struct Place
{
  const OmImage& picture;
  const OmImage& table;
  int x;
  int y;
  int c;

  double operator()(int i = 0, int j = 0) const { return at(picture, x + i, y + j, c); }
  double channel(int other, int i = 0, int j = 0) const { return at(picture, x + i, y + j, other); }
  double alpha(int i = 0, int j = 0) const { return channel(3, i, j); }
};

double luma(const Place& p, int i, int j)
{
  return 0.299 * p.channel(0, i, j) + 0.587 * p.channel(1, i, j) + 0.114 * p.channel(2, i, j);
}

double edges(const Place& p)
{
  const auto seen = [&p](int i, int j) { return luma(p, 0, 0) + p.alpha(i, j) * (luma(p, i, j) - luma(p, 0, 0)); };
  double gx = 0.0;
  double gy = 0.0;
  for (int k = -1; k <= 1; ++k)
  {
    gx += (2 - k * k) * (seen(1, k) - seen(-1, k));
    gy += (2 - k * k) * (seen(k, 1) - seen(k, -1));
  }
  return 0.75 * std::sqrt(gx * gx + gy * gy);
}

/// The mean of the pixels around a place, weighted by exp(-steepness * distance * distance), by how near their colours
/// are, exp(-strictness * distance * distance), and unless it is one of alpha, by alpha.
double mean(const Place& p, int reach, double steepness, double strictness = 0.0)
{
  double sum = 0.0;
  double weights = 0.0;
  for (int j = -reach; j <= reach; ++j)
    for (int i = -reach; i <= reach; ++i)
    {
      double distances = steepness * (i * i + j * j);
      for (int c = 0; c < 3; ++c)
        distances += strictness * std::pow(p.channel(c) - p.channel(c, i, j), 2);
      const double weight = std::exp(-distances) * (p.c == 3 ? 1.0 : p.alpha(i, j));
      weights += weight;
      sum += weight * p(i, j);
    }
  return weights > 0.0 ? sum / weights : p();
}

/// Where half of all alpha is reached, from the least value on.
double median(const Place& p)
{
  std::multimap<double, int> values;
  int total = 0;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i)
      total += values.emplace(p(i, j), std::lround(255.0 * p.alpha(i, j)))->second;
  auto value = values.begin();
  for (int sum = value->second; 2 * sum < total; sum += value->second)
    ++value;
  return value->first;
}

double unsharp(const Place& p)
{
  const double difference = p() - mean(p, 2, 4.5 / (2.5 * 2.5));
  return p() + std::copysign(1.5 * std::max(std::abs(difference) - 0.05, 0.0), difference);
}

double levels(const Place& p)
{
  return 0.05 + 0.9 * std::pow(std::clamp((p() - 0.1) / 0.7, 0.0, 1.0), 1.0 / 1.4);
}

double hueSaturation(const Place& p)
{
  const double rgb[] = {p.channel(0), p.channel(1), p.channel(2)};
  const double* const most = std::max_element(rgb, rgb + 3);
  const double chroma = *most - *std::min_element(rgb, rgb + 3);
  const double light = *most - chroma / 2.0;
  const auto main = static_cast<int>(most - rgb);
  const double hue = chroma == 0.0 ? 0.0 : 120.0 * main + 60.0 * (rgb[(main + 1) % 3] - rgb[(main + 2) % 3]) / chroma;
  const double saturation = chroma == 0.0 ? 0.0 : chroma / (1.0 - std::abs(2.0 * light - 1.0));
  const double k = std::fmod(12.0 - 4.0 * p.c + (hue + 200.0 + 360.0) / 30.0, 12.0);
  const double l = 0.9 * light;
  const double a = std::min(1.3 * saturation, 1.0) * std::min(l, 1.0 - l);
  return l - a * std::clamp(std::min(k - 3.0, 9.0 - k), -1.0, 1.0);
}

/// Turns a light of 4000 K, whose v of CIE 1960 is 0.006 more than a black body's, into one of 6500 K: the product of
/// the published matrices of sRGB and Bradford, and of the cone responses to (u, v) = (0.22510, 0.34039) and (0.20044,
/// 0.31036), which are from a table of black bodies.
double whiteBalance(const Place& p)
{
  constexpr double Change[3][3] = {
      {0.88176, -0.18546, -0.05258}, {0.00848, 1.04732, -0.02298}, {0.02614, 0.09950, 2.11846}};
  double light = 0.0;
  for (int c = 0; c < 3; ++c)
    light += Change[p.c][c] *
             (p.channel(c) <= 0.04045 ? p.channel(c) / 12.92 : std::pow((p.channel(c) + 0.055) / 1.055, 2.4));
  return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1.0 / 2.4) - 0.055;
}

/// The eight entries of the table around the colour, each by its share.
double lookUp(const Place& p)
{
  const auto size = static_cast<int>(p.table.height());
  double sum = 0.0;
  for (int corner = 0; corner < 8; ++corner)
  {
    double share = 1.0;
    int cell[3];
    for (int axis = 0; axis < 3; ++axis)
    {
      const double place = p.channel(axis) * (size - 1);
      cell[axis] = static_cast<int>(place) + (corner >> axis & 1);
      share *= std::max(0.0, 1.0 - std::abs(place - cell[axis])); // none for a cell beyond the last
    }
    sum += share * at(p.table, cell[2] * size + cell[0], cell[1], p.c);
  }
  return sum;
}

const std::map<std::string, double (*)(const Place&)> Filters = {
    {"identity", [](const Place& p) { return p(); }},
    {"near", [](const Place& p) { return p(); }},
    {"invert", [](const Place& p) { return 1.0 - p(); }},
    {"grayscale", [](const Place& p) { return luma(p, 0, 0); }},
    {"gamma", [](const Place& p) { return std::pow(p(), 1.0 / 1.8); }},
    {"brightness-contrast", [](const Place& p) { return (p() - 0.5) * 1.5 + 0.6; }},
    {"edges", edges},
    {"blur", [](const Place& p) { return mean(p, 3, 4.5 / (3.5 * 3.5)); }},
    {"sharpen", [](const Place& p) { return 2.5 * p() - 1.5 * mean(p, 1, std::log(2.0)); }},
    {"median", median},
    {"lut", lookUp},
    {"unsharp", unsharp},
    {"bilateral", [](const Place& p) { return mean(p, 2, 4.5 / (2.5 * 2.5), 0.5 / (3.0 * 0.15 * 0.15)); }},
    {"levels", levels},
    {"hue-saturation", hueSaturation},
    {"white-balance", whiteBalance},
    {"threshold", [](const Place& p) { return (luma(p, 0, 0) - 0.4001) / 0.1 + 0.5; }},
};

/// These leave the colours of pixels that cannot be seen.
const std::set<std::string> KeepHidden = {"bilateral", "median", "sharpen", "unsharp"};

bool agrees(const std::string& name, const OmImage& picture, const OmImage& filtered, const OmImage& table)
{
  if (filtered.channels() != picture.channels() || filtered.width() != picture.width() ||
      filtered.height() != picture.height())
    return false;
  double worst = 0.0;
  for (int y = 0; y < static_cast<int>(picture.height()); ++y)
    for (int x = 0; x < static_cast<int>(picture.width()); ++x)
      for (int c = 0; c < 4; ++c)
      {
        const bool isBlur = name == "blur";
        const bool keeps = (c == 3 && !isBlur) || (at(picture, x, y, 3) == 0.0 && KeepHidden.count(name) != 0);
        const auto filter = Filters.at(keeps ? "identity" : name);
        const double exact = std::round(255.0 * std::clamp(filter({picture, table, x, y, c}), 0.0, 1.0));
        // Between the passes of the blur, alpha is rounded; what matters of the colours is what can be seen.
        const double share = isBlur && c < 3 ? at(filtered, x, y, 3) : 1.0;
        worst = std::max(worst, share * std::abs(exact - 255.0 * at(filtered, x, y, c)));
      }
  std::printf("off by %g\n", worst);
  return worst < (name == "identity" ? 0.5 : 1.5);
}

/// The largest difference between two pictures of RGB that the table leaves, in steps of 255; halves may go either way.
int differenceByTable(const OmImage& picture, const OmImage& filtered, const OmColorTable& table)
{
  int worst = picture.channels() == 3 && filtered.byteSize() == picture.byteSize() ? 0 : 999;
  for (std::size_t i = 0; worst < 999 && i < picture.byteSize(); i += 3)
  {
    OmRenderShader::vecT3<float> color;
    float* const channels[] = {&color.x, &color.y, &color.z};
    for (std::size_t c = 0; c < 3; ++c)
      *channels[c] = static_cast<float>(picture.data()[i + c]) / 255.0f;
    table.apply(&color, &color, 1);
    for (std::size_t c = 0; c < 3; ++c)
    {
      const double exact = 255.0 * std::clamp(static_cast<double>(*channels[c]), 0.0, 1.0);
      worst = std::max(worst, static_cast<int>(std::abs(exact - filtered.data()[i + c]) + 0.499));
    }
  }
  std::printf("off by %d\n", worst);
  return worst;
}

} // namespace

int main(int argc, char** argv)
{
  if (argc == 6) // noise
  {
    OmImage image(OmU32(std::stoi(argv[2])), OmU32(std::stoi(argv[3])), OmU32(std::stoi(argv[4])));
    std::minstd_rand random;
    std::generate_n(image.data(), image.byteSize(), [&random] { return static_cast<OmU8>(random() >> 8); });
    return OmImageReaderWriter::write(image, argv[5]) ? 0 : 1;
  }
  OmImage images[3];
  if (argc == 5 && std::string(argv[1]) == "cube")
  {
    OmColorTable table;
    return OmImageReaderWriter::read(images[0], argv[2]) && OmImageReaderWriter::read(images[1], argv[3]) &&
                   table.read(argv[4]) && differenceByTable(images[0], images[1], table) <= 1
               ? 0
               : 1;
  }
  for (int i = 0; i < 3; ++i)
    if (argc != 5 || !OmImageReaderWriter::read(images[i], argv[2 + i]))
      return 1;
  return agrees(argv[1], images[0], images[1], images[2]) ? 0 : 1;
}

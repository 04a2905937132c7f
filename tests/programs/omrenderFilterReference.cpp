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
};

double luma(const Place& p, int i, int j)
{
  return 0.299 * p.channel(0, i, j) + 0.587 * p.channel(1, i, j) + 0.114 * p.channel(2, i, j);
}

double edges(const Place& p)
{
  double gx = 0.0;
  double gy = 0.0;
  for (int k = -1; k <= 1; ++k)
  {
    gx += (2 - k * k) * (luma(p, 1, k) - luma(p, -1, k));
    gy += (2 - k * k) * (luma(p, k, 1) - luma(p, k, -1));
  }
  return 0.75 * std::sqrt(gx * gx + gy * gy);
}

/// The mean of the pixels around a place, weighted by exp(-steepness * distance * distance).
double mean(const Place& p, int reach, double steepness)
{
  double sum = 0.0;
  double weights = 0.0;
  for (int j = -reach; j <= reach; ++j)
    for (int i = -reach; i <= reach; ++i)
    {
      const double weight = std::exp(-steepness * (i * i + j * j));
      weights += weight;
      sum += weight * p(i, j);
    }
  return sum / weights;
}

double median(const Place& p)
{
  std::multiset<double> values;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i)
      values.insert(p(i, j));
  return *std::next(values.begin(), 4);
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
};

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
        const auto filter = Filters.at(c == 3 && name != "blur" ? "identity" : name);
        const double exact = std::round(255.0 * std::clamp(filter({picture, table, x, y, c}), 0.0, 1.0));
        worst = std::max(worst, std::abs(exact - 255.0 * at(filtered, x, y, c)));
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

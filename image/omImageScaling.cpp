#include "image/omImageScaling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace
{

/// The pixels of a row or column that one of the result is made of.
struct Span
{
  std::size_t start;  ///< the first pixel
  std::size_t weight; ///< the index of its weight
  std::size_t count;
};

/// What each pixel along one side of the result is made of.
class Side
{
public:
  Side(OmU32 from, OmU32 to)
  {
    for (std::uint64_t i = 0; i < to; ++i)
      if (to < from)
        addMean(from, to, i);
      else
        addBetween(from, to, i);
  }

  const std::vector<Span>& spans() const { return m_spans; }
  const float* weights(const Span& span) const { return m_weights.data() + span.weight; }

private:
  /// The mean of the pixels whose centres lie in what the pixel covers. Each pixel goes into one mean, so that none is
  /// left out and no edge gets softer than it must.
  void addMean(std::uint64_t from, std::uint64_t to, std::uint64_t i)
  {
    const std::uint64_t start = (2 * i * from + to) / (2 * to);
    const std::uint64_t end = (2 * (i + 1) * from + to) / (2 * to);
    m_spans.push_back({start, m_weights.size(), end - start});
    m_weights.resize(m_weights.size() + (end - start), 1.0F / static_cast<float>(end - start));
  }

  void addBetween(OmU32 from, OmU32 to, std::uint64_t i)
  {
    const double last = from - 1.0;
    const double place = std::clamp((static_cast<double>(i) + 0.5) * from / to - 0.5, 0.0, last);
    const double before = std::min(std::floor(place), std::max(last - 1.0, 0.0));
    m_spans.push_back({static_cast<std::size_t>(before), m_weights.size(), from > 1 ? 2U : 1U});
    m_weights.push_back(static_cast<float>(1.0 - (place - before)));
    if (from > 1)
      m_weights.push_back(static_cast<float>(place - before));
  }

  std::vector<Span> m_spans;
  std::vector<float> m_weights;
};

/// Adds a row by its weight. With an alpha channel, the colours are multiplied by it.
template <std::size_t Channels, bool HasAlpha, typename Sample>
void addRow(const Sample* row, std::size_t pixels, float weight, float* sums)
{
  if constexpr (HasAlpha)
    for (const Sample* const end = row + pixels * Channels; row != end; row += Channels, sums += Channels)
    {
      const float alpha = weight * static_cast<float>(row[Channels - 1]);
      for (std::size_t c = 0; c < Channels; ++c)
        sums[c] += alpha * (c + 1 == Channels ? 1.0F : static_cast<float>(row[c]));
    }
  else
    for (std::size_t i = 0; i < pixels * Channels; ++i)
      sums[i] += weight * static_cast<float>(row[i]);
}

/// Makes a row of the result from the sums of the rows that it covers.
template <std::size_t Channels, bool HasAlpha>
void makeRow(const float* sums, const Side& side, float* row)
{
  for (const Span& span : side.spans())
  {
    float pixel[Channels] = {};
    const float* const weights = side.weights(span);
    const float* from = sums + span.start * Channels;
    for (std::size_t i = 0; i < span.count; ++i, from += Channels)
      for (std::size_t c = 0; c < Channels; ++c)
        pixel[c] += weights[i] * from[c];
    const float alpha = HasAlpha ? pixel[Channels - 1] : 1.0F;
    for (std::size_t c = 0; c < Channels; ++c)
      row[c] = !HasAlpha || c + 1 == Channels ? pixel[c] : alpha > 0.0F ? pixel[c] / alpha : 0.0F;
    row += Channels;
  }
}

/// Rounds.
template <typename Sample>
void makeSamples(const float* values, std::size_t count, Sample* samples)
{
  constexpr float Largest = std::numeric_limits<Sample>::max();
  for (std::size_t i = 0; i < count; ++i)
    samples[i] = static_cast<Sample>(static_cast<int>(std::min(values[i] + 0.5F, Largest)));
}

template <typename Image, std::size_t Channels, bool HasAlpha>
Image scaledAs(const Image& image, OmU32 width, OmU32 height)
{
  Image result(Channels, width, height);
  const Side columns(image.width(), width);
  const Side rows(image.height(), height);
  const std::size_t rowSize = std::size_t{image.width()} * Channels;
  std::vector<float> sums(rowSize);
  std::vector<float> row(std::size_t{width} * Channels);
  auto* to = result.data();
  for (const Span& span : rows.spans())
  {
    std::fill(sums.begin(), sums.end(), 0.0F);
    for (std::size_t i = 0; i < span.count; ++i)
      addRow<Channels, HasAlpha>(image.data() + (span.start + i) * rowSize, image.width(), rows.weights(span)[i],
                                 sums.data());
    makeRow<Channels, HasAlpha>(sums.data(), columns, row.data());
    makeSamples(row.data(), row.size(), to);
    to += row.size();
  }
  return result;
}

template <typename Image>
struct Scaler
{
  OmU32 channels;
  bool hasAlpha;
  Image (*scaled)(const Image& image, OmU32 width, OmU32 height);
};

template <typename Image>
constexpr Scaler<Image> Scalers[] = {
    {1, false, scaledAs<Image, 1, false>}, {2, false, scaledAs<Image, 2, false>}, {2, true, scaledAs<Image, 2, true>},
    {3, false, scaledAs<Image, 3, false>}, {4, false, scaledAs<Image, 4, false>}, {4, true, scaledAs<Image, 4, true>},
};

template <typename Image>
Image scaledImage(const Image& image, OmU32 width, OmU32 height, bool isOpaque)
{
  const bool hasAlpha = image.channels() % 2 == 0 && !isOpaque;
  for (const Scaler<Image>& scaler : Scalers<Image>)
    if (scaler.channels == image.channels() && scaler.hasAlpha == hasAlpha && image.data() && width > 0 && height > 0)
      return scaler.scaled(image, width, height);
  return Image();
}

} // namespace

OmImage OmImageScaling::scaled(const OmImage& image, OmU32 width, OmU32 height, OmBoolean isOpaque)
{
  return scaledImage(image, width, height, isOpaque);
}

OmDeepImage OmImageScaling::scaled(const OmDeepImage& image, OmU32 width, OmU32 height, OmBoolean isOpaque)
{
  return scaledImage(image, width, height, isOpaque);
}

OmDeepImage OmImageScaling::cropped(const OmDeepImage& image, const OmImageBlock& block)
{
  return OmDeepImage(cropped(image.bytes(), block));
}

OmImage OmImageScaling::cropped(const OmImage& image, const OmImageBlock& block)
{
  const OmPixel corner = block.corner();
  if (!image.data() || corner.x() >= image.width() || corner.y() >= image.height())
    return OmImage();
  OmImage result(image.channels(), std::min(block.width(), image.width() - corner.x()),
                 std::min(block.height(), image.height() - corner.y()));
  const std::size_t rowSize = std::size_t{result.width()} * image.channels();
  for (OmU32 y = 0; y < result.height() && rowSize > 0; ++y)
  {
    const std::size_t pixel = std::size_t{corner.y() + y} * image.width() + corner.x();
    std::memcpy(result.data() + y * rowSize, image.data() + pixel * image.channels(), rowSize);
  }
  return result;
}

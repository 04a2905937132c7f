#include "image/codec/omPngFilter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

// The loops are written so that the compiler vectorizes them: no aliasing, bytes only, one operation for all pixels.

namespace
{

/// A row and the one above it. Both have a pixel of zeros on their left, which is not in memory.
struct Rows
{
  const OmU8* __restrict row;
  const OmU8* __restrict above;
  std::size_t size;
  std::size_t channels;
};

void copyRow(const Rows& rows, OmU8* __restrict target)
{
  std::copy_n(rows.row, rows.size, target);
}

void subtractLeft(const Rows& rows, OmU8* __restrict target)
{
  std::copy_n(rows.row, rows.channels, target);
  const OmU8* __restrict const row = rows.row;
  for (std::size_t i = rows.channels; i < rows.size; ++i)
    target[i] = static_cast<OmU8>(row[i] - row[i - rows.channels]);
}

void subtractAbove(const Rows& rows, OmU8* __restrict target)
{
  for (std::size_t i = 0; i < rows.size; ++i)
    target[i] = static_cast<OmU8>(rows.row[i] - rows.above[i]);
}

void subtractAverage(const Rows& rows, OmU8* __restrict target)
{
  for (std::size_t i = 0; i < rows.channels; ++i)
    target[i] = static_cast<OmU8>(rows.row[i] - rows.above[i] / 2);
  for (std::size_t i = rows.channels; i < rows.size; ++i)
    target[i] = static_cast<OmU8>(rows.row[i] - (rows.row[i - rows.channels] + rows.above[i]) / 2);
}

OmU8 paeth(int left, int above, int corner)
{
  const int toLeft = std::abs(above - corner);
  const int toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  const int nearest = toLeft <= toAbove && toLeft <= toCorner ? left : toAbove <= toCorner ? above : corner;
  return static_cast<OmU8>(nearest);
}

void subtractPaeth(const Rows& rows, OmU8* __restrict target)
{
  for (std::size_t i = 0; i < rows.channels; ++i)
    target[i] = static_cast<OmU8>(rows.row[i] - rows.above[i]);
  for (std::size_t i = rows.channels; i < rows.size; ++i)
    target[i] = static_cast<OmU8>(rows.row[i] -
                                  paeth(rows.row[i - rows.channels], rows.above[i], rows.above[i - rows.channels]));
}

/// By the filters' numbers in the file.
constexpr std::array<void (*)(const Rows&, OmU8*), 5> Filters = {copyRow, subtractLeft, subtractAbove, subtractAverage,
                                                                 subtractPaeth};

const std::vector<OmU8>& candidates(OmPngFilter::Choice choice)
{
  static const std::array<std::vector<OmU8>, 5> filters = {{{0}, {1}, {1, 2}, {4}, {0, 1, 2, 3, 4}}};
  return filters[choice];
}

/// The sum of the differences' absolute values, as a guess at how well they compress.
std::uint64_t cost(const OmU8* differences, std::size_t size)
{
  constexpr std::size_t BlockSize = 4096; // whose sum fits into 32 bits
  std::uint64_t sum = 0;
  for (std::size_t start = 0; start < size; start += BlockSize)
  {
    const std::size_t end = std::min(size, start + BlockSize);
    OmU32 part = 0;
    for (std::size_t i = start; i < end; ++i)
      part += std::min(differences[i], static_cast<OmU8>(-differences[i]));
    sum += part;
  }
  return sum;
}

} // namespace

OmPngFilter::OmPngFilter(Choice choice, std::size_t rowSize, std::size_t channels)
    : m_choice(choice), m_rowSize(rowSize), m_channels(channels), m_above(rowSize), m_trial(rowSize)
{
}

void OmPngFilter::filter(const OmU8* row, const OmU8* previous, OmU8* target)
{
  const Rows rows = {row, previous != nullptr ? previous : m_above.data(), m_rowSize, m_channels};
  const std::vector<OmU8>& numbers = candidates(m_choice);
  OmU8* const differences = target + 1;
  *target = numbers.front();
  Filters[*target](rows, differences);
  if (numbers.size() == 1)
    return;

  std::uint64_t least = cost(differences, m_rowSize);
  for (std::size_t i = 1; i < numbers.size(); ++i)
  {
    Filters[numbers[i]](rows, m_trial.data());
    const std::uint64_t sum = cost(m_trial.data(), m_rowSize);
    if (sum >= least)
      continue;
    least = sum;
    *target = numbers[i];
    std::copy(m_trial.begin(), m_trial.end(), differences);
  }
}

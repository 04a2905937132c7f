#ifndef OM_PNG_FILTER_H
#define OM_PNG_FILTER_H

#include "foundation/core/omTypes.h"

#include <cstddef>
#include <vector>

/// Turns the rows of a picture into differences to their neighbours, which compress better. The filters are those of
/// PNG; before each row goes the number of its filter.
class OmPngFilter
{
public:
  /// Which filter a row gets. If there are several, it is the one with the least sum of absolute differences.
  enum Choice
  {
    None,    ///< the bytes themselves, best for drawings
    Sub,     ///< differences to the pixel on the left
    SubOrUp, ///< to the left or to the one above
    Paeth,   ///< to the left, above or above left, whichever is nearest to a guess
    All      ///< any of the five filters
  };

  /// For rows of `rowSize` bytes. `channels` is the size of a pixel in bytes.
  OmPngFilter(Choice choice, std::size_t rowSize, std::size_t channels);

  /// Writes the number of the filter and the filtered row to `target`: a byte more than a row. `previous` is the row
  /// above, or null for the first row.
  void filter(const OmU8* row, const OmU8* previous, OmU8* target);

private:
  Choice m_choice;
  std::size_t m_rowSize;
  std::size_t m_channels;
  std::vector<OmU8> m_above; ///< zeros, above the first row
  std::vector<OmU8> m_trial; ///< a filtered row that may be better
};

#endif

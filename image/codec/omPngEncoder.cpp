#include "image/codec/omPngEncoder.h"

#include "image/codec/omPngFilter.h"
#include "image/codec/omPngMetadata.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include <libdeflate.h>

namespace
{

/// Readers hold a chunk in memory, so the pixels are split into chunks of this many bytes.
constexpr std::size_t ChunkSize = std::size_t{1} << 20;

constexpr OmU8 Signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

/// libdeflate's levels go from 1 to 12.
constexpr int QuickLevel = 1, SmallestLevel = 12;

struct FreeCompressor
{
  void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};

struct Bytes
{
  std::unique_ptr<OmU8[]> data; ///< not initialized: memory that is not written to is not taken
  std::size_t size = 0;
};

Bytes allocate(std::size_t size)
{
  return {std::unique_ptr<OmU8[]>(new OmU8[size]), size};
}

/// The rows, each behind a byte that names its filter.
Bytes filtered(OmImageRows& rows, OmPngFilter::Choice choice)
{
  OmPngFilter filter(choice, rows.rowSize(), std::size_t{rows.channels()} * rows.sampleSize());
  Bytes result = allocate((rows.rowSize() + 1) * rows.height());
  const OmU8* previous = nullptr;
  for (OmU32 y = 0; y < rows.height(); ++y)
  {
    const OmU8* const row = rows.row(y);
    filter.filter(row, previous, result.data.get() + y * (rows.rowSize() + 1));
    previous = row;
  }
  return result;
}

/// A stream of zlib's format.
Bytes compressed(const Bytes& source, int level)
{
  const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(libdeflate_alloc_compressor(level));
  if (!compressor)
    throw std::bad_alloc();
  Bytes result = allocate(libdeflate_zlib_compress_bound(compressor.get(), source.size));
  result.size =
      libdeflate_zlib_compress(compressor.get(), source.data.get(), source.size, result.data.get(), result.size);
  return result;
}

/// No choice is the best for every kind of picture. A lower level does not foresee which one is, so each is tried.
Bytes smallest(OmImageRows& rows)
{
  Bytes best;
  for (const auto choice : {OmPngFilter::None, OmPngFilter::Paeth, OmPngFilter::All})
  {
    Bytes trial = compressed(filtered(rows, choice), SmallestLevel);
    if (!best.data || trial.size < best.size)
      best = std::move(trial);
  }
  return best;
}

Bytes compressedRows(OmImageRows& rows, OmImageReaderWriter::Compression compression)
{
  switch (compression)
  {
  case OmImageReaderWriter::Fast:
    return compressed(filtered(rows, OmPngFilter::Sub), QuickLevel);
  case OmImageReaderWriter::Small:
    return smallest(rows);
  default:
    return compressed(filtered(rows, OmPngFilter::SubOrUp), QuickLevel);
  }
}

void appendNumber(std::size_t number, std::vector<OmU8>& bytes)
{
  for (const int shift : {24, 16, 8, 0})
    bytes.push_back(static_cast<OmU8>(number >> shift));
}

/// `type` has four letters.
void appendChunk(const char* type, const OmU8* data, std::size_t size, std::vector<OmU8>& bytes)
{
  appendNumber(size, bytes);
  const std::size_t start = bytes.size();
  bytes.insert(bytes.end(), type, type + 4);
  bytes.insert(bytes.end(), data, data + size);
  appendNumber(libdeflate_crc32(0, bytes.data() + start, bytes.size() - start), bytes);
}

std::vector<OmU8> header(const OmImageRows& rows)
{
  constexpr OmU8 ColorTypes[] = {0, 4, 2, 6};
  std::vector<OmU8> bytes;
  appendNumber(rows.width(), bytes);
  appendNumber(rows.height(), bytes);
  const auto depth = static_cast<OmU8>(8 * rows.sampleSize());
  bytes.insert(bytes.end(), {depth, ColorTypes[rows.channels() - 1], 0, 0, 0}); // not interlaced
  return bytes;
}

} // namespace

void OmPngEncoder::encode(OmImageRows& rows, std::vector<OmU8>& bytes) const
{
  const Bytes pixels = compressedRows(rows, m_settings.compression);
  const std::size_t chunks = (pixels.size + ChunkSize - 1) / ChunkSize;
  bytes.reserve(bytes.size() + pixels.size + chunks * 12 + 64);

  bytes.insert(bytes.end(), std::begin(Signature), std::end(Signature));
  const std::vector<OmU8> start = header(rows);
  appendChunk("IHDR", start.data(), start.size(), bytes);
  for (const auto& [type, data] : OmPngMetadata::chunks(m_settings.metadata, rows.channels()))
    appendChunk(type, data.data(), data.size(), bytes);
  for (std::size_t at = 0; at < pixels.size; at += ChunkSize)
    appendChunk("IDAT", pixels.data.get() + at, std::min(ChunkSize, pixels.size - at), bytes);
  appendChunk("IEND", nullptr, 0, bytes);
}

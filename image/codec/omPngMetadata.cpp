#include "image/codec/omPngMetadata.h"

#include "image/codec/omOrigin.h"
#include "image/codec/omPngChunks.h"
#include "image/codec/omProfile.h"

#include <algorithm>
#include <memory>
#include <new>

#include <libdeflate.h>

namespace
{

constexpr std::size_t LongestName = 79; ///< of a profile
constexpr char OriginName[] = "Origin"; ///< the keyword; a zero follows it
constexpr char ProfileName[] = "ICC profile";
constexpr int ProfileLevel = 9; ///< libdeflate's, of 12
constexpr OmU32 LargestNumber = 0x7fffffff;

struct FreeDeflate
{
  void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
  void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
};

OmU32 number(const OmU8* bytes)
{
  return OmU32{bytes[0]} << 24 | OmU32{bytes[1]} << 16 | OmU32{bytes[2]} << 8 | bytes[3];
}

void append(OmU32 number, std::vector<OmU8>& bytes)
{
  for (const int shift : {24, 16, 8, 0})
    bytes.push_back(static_cast<OmU8>(number >> shift));
}

/// Unpacks a profile behind its name and the number of the method. Memory is doubled until it is enough.
void readProfile(const std::vector<OmU8>& chunk, OmImageMetadata& metadata)
{
  const auto nameEnd = std::find(chunk.begin(), chunk.end(), OmU8{0});
  const auto nameSize = static_cast<std::size_t>(nameEnd - chunk.begin());
  if (nameSize > LongestName || chunk.size() < nameSize + 2 || nameEnd[1] != 0)
    return;
  const std::unique_ptr<libdeflate_decompressor, FreeDeflate> decompressor(libdeflate_alloc_decompressor());
  if (!decompressor)
    throw std::bad_alloc();
  std::vector<OmU8> profile(1U << 14);
  for (;;)
  {
    std::size_t size = 0;
    const libdeflate_result result =
        libdeflate_zlib_decompress(decompressor.get(), chunk.data() + nameSize + 2, chunk.size() - nameSize - 2,
                                   profile.data(), profile.size(), &size);
    if (result == LIBDEFLATE_SUCCESS)
      OmProfile::keep(profile.data(), size, metadata);
    if (result != LIBDEFLATE_INSUFFICIENT_SPACE || profile.size() >= OmImageMetadata::LargestProfile)
      return;
    profile.resize(profile.size() * 2);
  }
}

std::vector<OmU8> profileChunk(const std::vector<OmU8>& profile)
{
  const std::unique_ptr<libdeflate_compressor, FreeDeflate> compressor(libdeflate_alloc_compressor(ProfileLevel));
  if (!compressor)
    throw std::bad_alloc();
  std::vector<OmU8> chunk(std::begin(ProfileName), std::end(ProfileName));
  chunk.push_back(0); // the method
  const std::size_t start = chunk.size();
  chunk.resize(start + libdeflate_zlib_compress_bound(compressor.get(), profile.size()));
  chunk.resize(start + libdeflate_zlib_compress(compressor.get(), profile.data(), profile.size(), chunk.data() + start,
                                                chunk.size() - start));
  return chunk;
}

} // namespace

void OmPngMetadata::read(const OmInputFile& file, OmImageMetadata& metadata)
{
  const OmString originType = "tEXt" + OmString(OriginName, sizeof OriginName);
  const OmPngChunks chunks(file, {"iCCP", "gAMA", "cHRM", "sRGB", "cICP", "pHYs", originType},
                           OmImageMetadata::LargestProfile);
  const auto find = [&chunks](const char* type, std::size_t size) -> const OmU8*
  {
    const std::vector<OmU8>* const data = chunks.find(type);
    return data != nullptr && data->size() == size ? data->data() : nullptr;
  };
  if (const std::vector<OmU8>* const profile = chunks.find("iCCP"))
    readProfile(*profile, metadata);
  if (const OmU8* const gamma = find("gAMA", 4); gamma != nullptr && number(gamma) - 1 < LargestNumber)
    metadata.gamma = number(gamma);
  if (const OmU8* const points = find("cHRM", 32))
  {
    metadata.chromaticities.emplace();
    for (std::size_t i = 0; i < 8; ++i)
      (*metadata.chromaticities)[i] = number(points + 4 * i);
  }
  if (const OmU8* const intent = find("sRGB", 1); intent != nullptr && *intent < 4)
    metadata.renderingIntent = *intent;
  if (const OmU8* const points = find("cICP", 4))
    metadata.codePoints = {points[0], points[1], points[2], points[3]};
  if (const OmU8* const size = find("pHYs", 9); size != nullptr && number(size) != 0 && number(size + 4) != 0)
    metadata.resolution = {number(size), number(size + 4), size[8] == 1};
  if (const std::vector<OmU8>* const text = chunks.find(originType))
    OmOrigin::keep(OmString(text->begin() + sizeof OriginName, text->end()), metadata);
}

std::vector<OmPngMetadata::Chunk> OmPngMetadata::chunks(const OmImageMetadata* metadata, OmU32 channels)
{
  std::vector<Chunk> result;
  if (metadata == nullptr)
    return result;
  const auto add = [&result](const char* type) -> std::vector<OmU8>&
  { return result.emplace_back(type, std::vector<OmU8>()).second; };
  const std::vector<OmU8>* const profile = OmProfile::of(metadata, channels);
  if (metadata->codePoints)
    add("cICP").assign(metadata->codePoints->begin(), metadata->codePoints->end());
  if (profile != nullptr)
    add("iCCP") = profileChunk(*profile);
  else if (metadata->renderingIntent) // beside a profile it must not stand
    add("sRGB").push_back(*metadata->renderingIntent);
  if (metadata->gamma)
    append(*metadata->gamma, add("gAMA"));
  if (metadata->chromaticities)
  {
    std::vector<OmU8>& data = add("cHRM");
    for (const OmU32 coordinate : *metadata->chromaticities)
      append(coordinate, data);
  }
  if (metadata->resolution)
  {
    std::vector<OmU8>& data = add("pHYs");
    append(metadata->resolution->x, data);
    append(metadata->resolution->y, data);
    data.push_back(metadata->resolution->isPerMetre ? 1 : 0);
  }
  if (const OmString origin = OmOrigin::of(metadata); !origin.empty())
  {
    std::vector<OmU8>& data = add("tEXt");
    data.assign(std::begin(OriginName), std::end(OriginName));
    data.insert(data.end(), origin.begin(), origin.end());
  }
  return result;
}

#include "image/codec/omPictureKinds.h"

#include "image/codec/omJpegDecoder.h"
#include "image/codec/omJpegEncoder.h"
#include "image/codec/omPngDecoder.h"
#include "image/codec/omPngEncoder.h"
#include "image/codec/omPnmDecoder.h"
#include "image/codec/omPnmEncoder.h"
#include "image/codec/omTiff.h"
#include "image/codec/omWebP.h"

#include <algorithm>
#include <cstring>

namespace
{

using Writer = OmImageReaderWriter;

template <typename Decoder>
std::unique_ptr<OmImageDecoder> makeDecoder(const OmInputFile& file)
{
  return std::make_unique<Decoder>(file);
}

struct Kind
{
  OmString signature; ///< a question mark stands for any byte
  std::unique_ptr<OmImageDecoder> (*makeDecoder)(const OmInputFile& file);
};

bool begins(const OmString& start, const OmString& signature)
{
  const auto isSame = [](char expected, char byte) { return expected == '?' || expected == byte; };
  return start.size() >= signature.size() && std::equal(signature.begin(), signature.end(), start.begin(), isSame);
}

/// What a format holds.
struct Limits
{
  const char* name;
  OmU32 largestSide; ///< in pixels; 0 if there is none
  bool hasGrey;
  bool hasAlpha;
};

Limits limitsOf(Writer::Format format)
{
  switch (format)
  {
  case Writer::PNG:
    return {"PNG", 0x7fffffff, true, true};
  case Writer::JPEG:
    return {"JPEG", OmJpegEncoder::LargestSide, true, false};
  case Writer::WebP:
    return {"WebP", OmWebP::LargestSide, false, true};
  default:
    return {"", 0, true, true};
  }
}

/// Whether red, green and blue are equal in every pixel. A picture with colours is left at its first row that has some.
template <typename Image>
bool isGrey(const Image& image)
{
  const std::size_t channels = image.channels();
  const auto* pixel = image.data();
  int differences = 0;
  for (OmU32 y = 0; y < image.height() && differences == 0; ++y)
    for (OmU32 x = 0; x < image.width(); ++x, pixel += channels)
      differences |= (pixel[0] ^ pixel[1]) | (pixel[0] ^ pixel[2]);
  return differences == 0;
}

template <typename Image>
OmU32 chosenChannels(const Image& image, Writer::Channels choice)
{
  const OmU32 own = image.channels();
  switch (choice)
  {
  case Writer::AsTheyAre:
    return own;
  case Writer::GreyIfEqual:
    return (own == 3 || own == 4) && isGrey(image) ? own - 2 : own;
  default:
    return static_cast<OmU32>(choice - Writer::Grey) + 1;
  }
}

OmImage withChannels(const OmImage& image, OmU32 channels, OmImageRows::LostAlpha lostAlpha)
{
  OmImageRows rows(image, channels, lostAlpha);
  OmImage result(channels, rows.width(), rows.height());
  for (OmU32 y = 0; y < rows.height(); ++y)
    std::memcpy(result.data() + y * rows.rowSize(), rows.row(y), rows.rowSize());
  return result;
}

/// Gives the reason why an image cannot be written, or an empty one.
template <typename Image>
OmString obstacle(const Image& image, const Writer::WriteSettings& settings, OmU32 channels)
{
  const Limits limits = limitsOf(settings.format);
  if (image.data() == nullptr)
    return "the image has no pixels";
  if (image.channels() > 4)
    return "the image has " + std::to_string(image.channels()) + " channels, and picture files hold 1 to 4";
  if (settings.format == Writer::TIFF)
    return "TIFF is only read; write PNG";
  if (settings.format == Writer::PPM && channels % 2 == 0)
    return "PPM holds no alpha; write PAM or PNG, or leave the alpha out";
  if (limits.largestSide > 0 && std::max(image.width(), image.height()) > limits.largestSide)
    return limits.name + OmString(" holds at most ") + std::to_string(limits.largestSide) + " pixels a side";
  if (settings.quality < 0 || settings.quality > 100)
    return "the quality " + std::to_string(settings.quality) + " is not from 0 to 100";
  return "";
}

/// The channels that are written, grey also for a format without grey, or 0 and the reason why the image cannot be
/// written.
template <typename Image>
OmU32 writtenChannels(const Image& image, const Writer::WriteSettings& settings, OmString& reason)
{
  const Limits limits = limitsOf(settings.format);
  OmU32 channels = chosenChannels(image, settings.channels);
  if (channels % 2 == 0 && (settings.withoutAlpha || !limits.hasAlpha))
    --channels;
  reason = obstacle(image, settings, channels);
  return reason.empty() ? channels : 0;
}

OmImageRows::LostAlpha lostAlpha(const Writer::WriteSettings& settings)
{
  return settings.withoutAlpha ? OmImageRows::LeftOut : OmImageRows::OverWhite;
}

} // namespace

std::unique_ptr<OmImageDecoder> OmPictureKinds::openDecoder(const OmInputFile& file, OmString& reason)
{
  static const Kind kinds[] = {{OmString("\x89PNG\r\n\x1a\n", 8), ::makeDecoder<OmPngDecoder>},
                               {OmString("\xff\xd8\xff", 3), ::makeDecoder<OmJpegDecoder>},
                               {"RIFF????WEBP", OmWebP::makeDecoder},
                               {OmString("II*\0", 4), OmTiff::makeDecoder},
                               {OmString("MM\0*", 4), OmTiff::makeDecoder},
                               {OmString("II+\0", 4), OmTiff::makeDecoder},
                               {OmString("MM\0+", 4), OmTiff::makeDecoder},
                               {"P5", ::makeDecoder<OmPnmDecoder>},
                               {"P6", ::makeDecoder<OmPnmDecoder>},
                               {"P7", ::makeDecoder<OmPnmDecoder>}};

  std::rewind(file.stream());
  char bytes[12] = {};
  const OmString start(bytes, std::fread(bytes, 1, sizeof bytes, file.stream()));
  std::rewind(file.stream());

  for (const Kind& kind : kinds)
    if (begins(start, kind.signature))
    {
      std::unique_ptr<OmImageDecoder> decoder = kind.makeDecoder(file);
      if (decoder->readHeader())
        return decoder;
      reason = decoder->reason();
      return nullptr;
    }
  reason = "it is neither a PNG, JPEG, WebP, TIFF, PPM, PGM nor PAM file";
  return nullptr;
}

bool OmPictureKinds::encode(const OmImage& image, const Writer::WriteSettings& settings, std::vector<OmU8>& bytes,
                            OmString& reason)
{
  OmU32 channels = writtenChannels(image, settings, reason);
  if (channels == 0)
    return false;
  OmImage grey; // what becomes grey stays it in a format that only has colours
  if (channels < 3 && !limitsOf(settings.format).hasGrey)
  {
    if (image.channels() > 2)
      grey = withChannels(image, channels, lostAlpha(settings));
    channels += 2;
  }
  OmImageRows rows(grey.data() != nullptr ? grey : image, channels, lostAlpha(settings));
  switch (settings.format)
  {
  case Writer::PNG:
    OmPngEncoder(settings).encode(rows, bytes);
    return true;
  case Writer::JPEG:
    return OmJpegEncoder(settings).encode(rows, bytes, reason);
  case Writer::WebP:
    return OmWebP::encode(rows, settings, bytes, reason);
  default:
    OmPnmEncoder(settings).encode(rows, bytes);
    return true;
  }
}

bool OmPictureKinds::encode(const OmDeepImage& image, const Writer::WriteSettings& settings, std::vector<OmU8>& bytes,
                            OmString& reason)
{
  if (settings.format != Writer::PNG)
    return encode(image.toImage(), settings, bytes, reason);
  const OmU32 channels = writtenChannels(image, settings, reason);
  if (channels == 0)
    return false;
  OmImageRows rows(image, channels, lostAlpha(settings));
  OmPngEncoder(settings).encode(rows, bytes);
  return true;
}

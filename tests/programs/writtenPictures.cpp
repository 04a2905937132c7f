// Writes pictures of many kinds for writtenPicturesTest.sh: each as a file, and its pixels alone beside it.

#include "image/omImageReaderWriter.h"
#include "tests/support/pictures.h"

#include <string>
#include <utility>

namespace
{

using Writer = OmImageReaderWriter;

/// Noise; or the same, but slowly changing; or flat.
OmImage makeKind(const std::string& kind, OmU32 channels, OmU32 width, OmU32 height)
{
  if (kind == "flat")
    return OmImage(channels, width, height);
  OmImage image = makePicture(channels, width, height);
  for (std::size_t i = 0; kind == "smooth" && i < image.byteSize(); ++i)
    image.data()[i] = static_cast<OmU8>(image.data()[i] / 64 + i / 64);
  return image;
}

bool writeAll(const OmImage& image, const std::string& name)
{
  const std::pair<const char*, Writer::WriteSettings> files[] = {
      {".fast.png", {Writer::PNG, Writer::Fast, false}},   {".default.png", {}},
      {".small.png", {Writer::PNG, Writer::Small, false}}, {".pam", {Writer::PAM, Writer::Default, false}},
      {".pnm", {Writer::PPM, Writer::Default, false}},     {".raw", {Writer::Raw, Writer::Default, false}}};
  bool isDone = true;
  for (const auto& [suffix, settings] : files)
    if (settings.format != Writer::PPM || image.channels() % 2 == 1)
      isDone = Writer::write(image, name + suffix, settings) && isDone;
  return isDone;
}

} // namespace

int main(int argc, char** argv)
{
  if (argc != 2)
    return 2;
  const std::pair<OmU32, OmU32> sizes[] = {{1, 1}, {1, 300}, {333, 1}, {255, 257}, {30000, 2}, {640, 600}};
  bool isDone = true;
  for (const char* kind : {"noise", "smooth", "flat"})
    for (const auto& [width, height] : sizes)
      for (OmU32 channels = 1; channels <= 4; ++channels)
        isDone = writeAll(makeKind(kind, channels, width, height),
                          std::string(argv[1]) + "/" + kind + "-" + std::to_string(channels) + "-" +
                              std::to_string(width) + "x" + std::to_string(height)) &&
                 isDone;
  return isDone ? 0 : 1;
}

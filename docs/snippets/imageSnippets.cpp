// The snippets of foundation/ and image/. The lines between two markers stand in a header, word for word.

#include "docs/snippets/snippet.h"
#include "foundation/common/omColor.h"
#include "foundation/common/omUtils.h"
#include "foundation/core/omApplication.h"
#include "foundation/core/omPrint.h"
#include "image/omDeepImage.h"
#include "image/omImage.h"
#include "image/omImageMetadata.h"
#include "image/omImageReaderWriter.h"
#include "image/omImageScaling.h"
#include "image/omImageStream.h"
#include "image/omPixel.h"
#include "image/omReplacementFile.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace
{

void color()
{
  // [omColor.h
  const OmColor amber(1.0, 0.75, 0.0, 1.0);
  const double green = amber.g();
  // omColor.h]
  CHECK(green == 0.75 && amber.r() == 1.0 && amber.b() == 0.0 && amber.a() == 1.0);
}

void utils()
{
  const auto start = std::chrono::steady_clock::now();
  // [omUtils.h
  const OmString name = "picture" + OmINT2STRING(7, 10) + ".png"; // picture7.png
  OmSLEEPMS(20);
  // omUtils.h]
  CHECK(name == "picture7.png");
  CHECK(std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(20));
}

void application()
{
  std::filesystem::create_directory("data");
  std::ofstream("data/edges.frag") << "\n";
  // [omApplication.h
  Om::Application::addSearchPath("data");
  const OmString shader = Om::Application::findFile("edges.frag"); // itself, else data/edges.frag
  // omApplication.h]
  CHECK(shader == "data/edges.frag");
  std::ofstream("edges.frag") << "\n";
  CHECK(Om::Application::findFile("edges.frag") == "edges.frag");
  CHECK(Om::Application::findFile("missing.frag") == "missing.frag");
}

void print()
{
  const OmString name = "photo.jpg";
  OmString lines;
  // [omPrint.h
  Om::Print::instance().setSink([&lines](int type, const std::string& text)
                                { lines += OmINT2STRING(type, 10) + ": " + text; });
  Om::Print::instance().write(Om::Print::Error, "%s: no such picture\n", name.c_str());
  OmImage image;
  OmImageReaderWriter::read(image, "missing.png"); // says why it fails, as an Error
  Om::Print::instance().setSink({});               // back to standard error
  // omPrint.h]
  CHECK(lines == "4: photo.jpg: no such picture\n"
                 "4: OmImageReaderWriter: cannot read \"missing.png\": No such file or directory\n");
  Om::Print::instance().write(Om::Print::Error, "This line belongs on standard error.\n");
  CHECK(lines.find("belongs") == OmString::npos);
}

void image()
{
  // [omImage.h
  OmImage image(3, 640, 480); // RGB, black
  const std::size_t pixel = std::size_t{20} * image.width() + 10;
  image.data()[pixel * image.channels()] = 255; // (10, 20) is red
  image.copyFromOrToFlipped(false);             // a texture is filled from the flipped copy now
  // omImage.h]
  const OmU8* const flipped = image.flippedData() + (std::size_t{459} * 640 + 10) * 3;
  CHECK(image.isFlipped() && flipped[0] == 255 && flipped[1] == 0 && flipped[2] == 0);
  CHECK(std::count(image.data(), image.data() + image.byteSize(), OmU8(0)) == 640 * 480 * 3 - 1);
}

void deepImage()
{
  // [omDeepImage.h
  OmDeepImage image(3, 640, 480);        // RGB, black
  image.data()[0] = 65535;               // the first pixel is red
  const OmImage bytes = image.toImage(); // and has 255 here
  // omDeepImage.h]
  CHECK(bytes.data()[0] == 255 && bytes.data()[1] == 0 && bytes.channels() == 3 && bytes.height() == 480);
}

int readAndWrite()
{
  // [omImageReaderWriter.h
  OmImage image;
  if (!OmImageReaderWriter::read(image, "photo.jpg") || !OmImageReaderWriter::write(image, "photo.png"))
    return 1; // the reason has been printed
  // omImageReaderWriter.h]
  OmImage written;
  CHECK(OmImageReaderWriter::read(written, "photo.png") && isSame(written, image));
  // [omImageScaling.h
  const OmImage small = OmImageScaling::scaled(image, image.width() / 8, image.height() / 8);
  // omImageScaling.h]
  CHECK(small.width() == image.width() / 8 && small.height() == image.height() / 8);
  return 0;
}

int keepMetadata()
{
  OmImage image;
  // [omImageMetadata.h
  OmImageMetadata metadata;
  if (!OmImageReaderWriter::read(image, "photo.jpg", 0, metadata))
    return 1;
  OmImageReaderWriter::WriteSettings settings;
  settings.metadata = &metadata; // the photo's colour profile goes along
  return OmImageReaderWriter::write(image, "photo.png", settings) ? 0 : 1;
  // omImageMetadata.h]
}

void stream()
{
  OmImageReaderWriter::WriteSettings settings;
  settings.format = OmImageReaderWriter::PPM;
  CHECK(OmImageReaderWriter::write(OmImage(3, 4, 2), "frame.ppm", settings));
  CHECK(std::system("cat frame.ppm frame.ppm > frames") == 0);
  int count = 0;
  std::FILE* const file = std::fopen("frames", "rb");
  // [omImageStream.h
  OmImageStream stream(file); // or stdin, for example from ffmpeg -f image2pipe
  std::vector<OmU8> bytes;
  OmImageReaderWriter::Format format;
  OmString reason;
  OmImage image;
  while (stream.next(bytes, format, reason) == OmImageStream::Picture)
    count += OmImageReaderWriter::decode(image, bytes, "a picture of the stream", 0);
  // omImageStream.h]
  CHECK(count == 2 && isSame(image, OmImage(3, 4, 2)));
  std::fclose(file);
}

void pixel()
{
  // [omPixel.h
  OmPixel pixel(10, 20);
  pixel.setX(pixel.x() + 1); // its neighbour on the right
  // omPixel.h]
  CHECK(pixel.x() == 11 && pixel.y() == 20);
}

int replace()
{
  // [omReplacementFile.h
  OmReplacementFile file;
  std::error_code error;
  if (!file.open("table.csv", error) || !file.write("1,2\n", 4, error) || !file.commit(error))
    return error == std::errc::no_space_on_device ? 2 : 1; // what was in table.csv before is there still
  // omReplacementFile.h]
  OmString line;
  CHECK(std::getline(std::ifstream("table.csv"), line) && line == "1,2");
  return 0;
}

} // namespace

int main(int argc, char** argv)
{
  CHECK(argc == 2);
  const std::filesystem::path photo = std::filesystem::absolute(argv[1]);
  const Workplace workplace;
  color();
  utils();
  application();
  print();
  image();
  deepImage();
  stream();
  pixel();
  CHECK(replace() == 0);
  CHECK(readAndWrite() == 1); // there is no photo.jpg yet
  std::filesystem::copy_file(photo, "photo.jpg");
  CHECK(readAndWrite() == 0);
  CHECK(keepMetadata() == 0);
  return 0;
}

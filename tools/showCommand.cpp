#include "tools/showCommand.h"

#include "foundation/common/omUtils.h"
#include "image/omImage.h"
#include "image/omImageBlock.h"
#include "image/omImageReaderWriter.h"
#include "render/omSimpleWindow.h"
#include "tools/failure.h"
#include "tools/glInformation.h"
#include "tools/libraryLog.h"
#include "tools/numbers.h"
#include "tools/parsedOption.h"
#include "tools/pictureFile.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

namespace
{

constexpr OmU32 LargestWindowSide = 32767; // X's coordinates are signed 16-bit numbers

struct ShowOptions
{
  std::vector<OmString> files;
  double seconds = 3.0;
  OmPixel position;
  std::optional<OmString> title;
  bool fullScreen = false;
  OmString capture; ///< the file to write; empty for none
  std::optional<OmImageBlock> block;
};

std::vector<Picture> readHeaders(const std::vector<OmString>& files, LibraryLog& log)
{
  std::vector<Picture> pictures;
  for (const OmString& file : files)
  {
    const Picture picture = readHeader(file, log);
    checkSize(picture, LargestWindowSide, LargestWindowSide, "a window");
    pictures.push_back(picture);
  }
  return pictures;
}

void checkBlock(const OmImageBlock& block, const Picture& picture)
{
  const OmPixel corner = block.corner();
  if (corner.x() >= picture.width || corner.y() >= picture.height)
    throw Failure("the block at " + std::to_string(corner.x()) + "," + std::to_string(corner.y()) +
                  " lies outside the window, which " + quoted(picture.file) + " makes " +
                  sizeText(picture.width, picture.height) + " pixels");
}

void openWindow(OmSimpleWindow& window, const Picture& picture, bool fullScreen, LibraryLog& log)
{
  window.setWindowSize(picture.width, picture.height);
  if (!window.init())
    failToOpenWindow(log);
  checkErrors("cannot show " + quoted(picture.file), log);
  if (fullScreen)
    window.setFullScreen(true);
  if (log.hasErrors())
    throw Failure("cannot show full screen: " + log.takeReason("") +
                  "; start a window manager on this display, or leave out --fullscreen");
}

void capture(OmSimpleWindow& window, const ShowOptions& options, const Picture& picture, LibraryLog& log)
{
  OmImage image;
  const OmImageBlock* const block = options.block ? &*options.block : nullptr;
  if (!window.renderSceneAndCaptureImage(image, OmSimpleWindow::CaptureFlipped, block))
    throw Failure("cannot capture the window: " + log.takeReason("nothing was drawn"));
  checkErrors("cannot capture " + quoted(picture.file), log);
  image.copyFromOrToFlipped(true);
  if (!OmImageReaderWriter::write(image, options.capture))
    throw Failure(log.takeReason("cannot write " + quoted(options.capture)));
  if (block && (image.width() < block->width() || image.height() < block->height()))
    std::cout << options.capture << ": the block was cut to the window, " << sizeText(image.width(), image.height())
              << " pixels" << std::endl;
}

/// Keeps the picture in the window; what uncovers or resizes the window meanwhile gets it drawn again.
void hold(OmSimpleWindow& window, double seconds)
{
  using Clock = std::chrono::steady_clock;
  constexpr double Redraw = 0.1;
  const Clock::time_point start = Clock::now();
  for (;;)
  {
    const double left = seconds - std::chrono::duration<double>(Clock::now() - start).count();
    if (!(left > 0.0))
      return;
    OmSLEEPMS(static_cast<OmU32>(std::ceil(std::min(left, Redraw) * 1000.0)));
    window.renderScene(true);
  }
}

void showPictures(const ShowOptions& options, const std::vector<Picture>& pictures, LibraryLog& log)
{
  OmSimpleWindow window;
  window.setWindowPos(options.position.x(), options.position.y(), false);
  bool open = false;
  for (const Picture& picture : pictures)
  {
    OmImage image;
    if (!OmImageReaderWriter::read(image, picture.file))
      throw Failure(log.takeReason("cannot read " + quoted(picture.file)));
    window.setName(options.title.value_or(std::filesystem::path(picture.file).filename().string()));
    if (!open)
      openWindow(window, picture, options.fullScreen, log);
    open = true;
    if (!window.setImageBuffer(image, true))
      throw Failure("cannot show " + quoted(picture.file) + ": " + log.takeReason("no reason was given"));
    checkErrors("cannot show " + quoted(picture.file), log);
    if (!options.capture.empty())
      capture(window, options, picture, log);
    hold(window, options.seconds);
  }
  checkErrors("cannot show " + quoted(pictures.back().file), log);
}

void show(const ShowOptions& options, LibraryLog& log)
{
  if (options.block && options.capture.empty())
    throw CLI::ValidationError("--block", "says which part to capture; give --capture OUT.png as well");
  if (options.files.size() > 1 && !options.capture.empty())
    throw CLI::ValidationError("--capture", "takes one picture; show the others in runs of their own");

  const std::vector<Picture> pictures = readHeaders(options.files, log);
  if (options.block)
    checkBlock(*options.block, pictures.front());
  if (!options.capture.empty())
    checkTarget(options.capture);
  const GLInformation gl = queryGL(log);
  for (const Picture& picture : pictures)
  {
    const OmU32 side = gl.largestPictureSide(picture.width, picture.height);
    checkSize(picture, side, side, gl.renderer);
  }
  showPictures(options, pictures, log);
}

} // namespace

void addShowCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("show", "Show pictures one after another in a window");
  const auto options = std::make_shared<ShowOptions>();
  command->add_option("FILE", options->files, "PNG or JPEG files")->required()->type_name("");
  addParsedOption(*command, "--seconds", "S", options->seconds, readSeconds, "a number from 0 to 1000000",
                  "How long to show each picture (3); with 0, show it and go on");
  addParsedOption(
      *command, "--position", "X,Y", options->position,
      [](const OmString& text) { return readPosition(text, LargestWindowSide); }, "X,Y from 0 to 32767",
      "Where on the screen the window's top left corner goes, in pixels (0,0)");
  command->add_option("--title", options->title, "The window's title (the file's name)")->type_name("TEXT");
  command->add_flag("--fullscreen", options->fullScreen, "Ask the window manager for a window without decorations");
  command->add_option("--capture", options->capture, "Write what the window shows as PNG; takes one FILE")
      ->type_name("OUT.png");
  addParsedOption(*command, "--block", "X,Y,W,H", options->block, readBlock, "X,Y,W,H with W and H of at least 1",
                  "Capture only this part of the window, X,Y from its top left corner; what overhangs is cut off");
  command->footer("Examples:\n"
                  "  omrender show photo.jpg\n"
                  "  omrender show --seconds 0.5 *.png\n"
                  "  omrender show photo.jpg --seconds 0 --capture corner.png --block 0,0,100,80\n"
                  "  xvfb-run omrender show photo.jpg --capture window.png    # without a display of its own");
  command->callback([options, &log] { show(*options, log); });
}

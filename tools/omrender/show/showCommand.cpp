#include "tools/omrender/show/showCommand.h"

#include "foundation/common/omUtils.h"
#include "render/omSimpleWindow.h"
#include "render/omWindowImplEGL.h"
#include "tools/omrender/backEnd.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/glErrors.h"
#include "tools/omrender/glInformation.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"
#include "tools/omrender/show/pictureShow.h"
#include "tools/omrender/show/qtViewer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

namespace
{

constexpr OmU32 LargestWindowSide = 32767; // X's coordinates are signed 16-bit numbers

std::vector<PictureFile> readHeaders(const std::vector<OmString>& files, LibraryLog& log)
{
  std::vector<PictureFile> pictures;
  for (const OmString& file : files)
  {
    const PictureFile picture = readHeader(file, log);
    checkSize(picture, LargestWindowSide, LargestWindowSide, "a window");
    pictures.push_back(picture);
  }
  return pictures;
}

/// Keeps the picture in the window. Draws it again and again, since the window may be uncovered or resized.
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

void showPictures(const ShowOptions& options, const std::vector<PictureFile>& pictures, LibraryLog& log)
{
  constexpr double Seconds = 3.0;
  OmSimpleWindow window;
  PictureShow pictureShow(window, options, log);
  for (const PictureFile& picture : pictures)
  {
    pictureShow.show(picture);
    hold(window, options.seconds.value_or(Seconds));
  }
  checkErrors("cannot show " + quoted(pictures.back().file), log);
}

/// Nobody sees the window, so it is not kept.
void capturePicture(const ShowOptions& options, const std::vector<PictureFile>& pictures, LibraryLog& log)
{
  OmSimpleWindow window;
  PictureShow(window, options, log).show(pictures.front());
}

struct Backend
{
  const char* name;
  void (*show)(const ShowOptions&, const std::vector<PictureFile>&, LibraryLog&); ///< null if it is not built in
  bool fillsScreen;                                                               ///< full screen fills the screen
  OmWindow::ImplType queried; ///< what says first what the card holds
};

constexpr Backend Backends[] = {
    {"x11", showPictures, false, OmWindow::ImplX11},
#ifdef OM_RENDER_QT
    {"qt", showPicturesInQt, true, OmWindow::ImplX11},
#else
    {"qt", nullptr, true, OmWindow::ImplX11},
#endif
    {"egl", capturePicture, false, OmWindow::ImplEGL},
};

struct ShowCommand : ShowOptions
{
  const Backend* backend = &Backends[0];
  OmString device; ///< of EGL
};

void checkOptions(const ShowCommand& options)
{
  if (options.files.empty())
    throw CLI::RequiredError("FILE");
  if (!options.backend->show)
    throw Failure("this program was built without Qt; leave out --backend qt, or build it with OM_RENDER_QT=ON");
  const bool isEGL = options.backend->queried == OmWindow::ImplEGL;
  if (isEGL && options.capture.empty())
    throw CLI::ValidationError("--backend", "egl opens a window that cannot be seen; give --capture OUT.png as well");
  if (!isEGL && !options.device.empty())
    throw CLI::ValidationError("--device", "names a device of EGL; give --backend egl as well");
  if (options.block && options.capture.empty())
    throw CLI::ValidationError("--block", "says which part to capture; give --capture OUT.png as well");
  if (options.files.size() > 1 && !options.capture.empty())
    throw CLI::ValidationError("--capture", "takes one picture; show the others in runs of their own");
}

/// Throws when the capture is bound to fail.
void checkCapture(const ShowCommand& options, const PictureFile& picture)
{
  if (options.block && !(options.fullScreen && options.backend->fillsScreen))
    checkBlock(*options.block, picture.width, picture.height);
  if (options.capture.empty())
    return;
  checkNotRead({options.capture}, {picture.file});
  checkTarget(options.capture);
}

/// Throws for a picture that the card cannot hold.
void checkSizes(const std::vector<PictureFile>& pictures, const GLInformation& gl)
{
  for (const PictureFile& picture : pictures)
  {
    const OmU32 side = gl.largestPictureSide(picture.width, picture.height);
    checkSize(picture, side, side, gl.renderer);
  }
}

void show(const ShowCommand& options, LibraryLog& log)
{
  checkOptions(options);
  const std::vector<PictureFile> pictures = readHeaders(options.files, log);
  checkCapture(options, pictures.front());
  OmWindow::setImplType(options.backend->queried);
  OmWindow::Impl::EGL::setDevice(options.device);
  checkSizes(pictures, queryGL(log));
  options.backend->show(options, pictures, log);
}

std::optional<const Backend*> readBackend(const OmString& text)
{
  for (const Backend& backend : Backends)
    if (text == backend.name)
      return &backend;
  return std::nullopt;
}

} // namespace

void addShowCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("show", "Show pictures one after another in a window");
  const auto options = std::make_shared<ShowCommand>();
  command->add_option("FILE", options->files, "PNG, JPEG, WebP, TIFF, PPM or PAM files")->type_name("");
  addParsedOption(*command, "--seconds", "S", options->seconds, readSeconds, "a number from 0 to 1000000",
                  "How long to show each picture (3; with qt, until the user goes on); with 0, show it and go on");
  addParsedOption(*command, "--backend", "x11|qt|egl", options->backend, readBackend, "x11, qt or egl",
                  "What opens the window (x11); egl needs no display, only captures");
  addDeviceOption(*command, options->device);
  addParsedOption(
      *command, "--position", "X,Y", options->position,
      [](const OmString& text) { return readPosition(text, LargestWindowSide); }, "X,Y from 0 to 32767",
      "Where on the screen the window's top left corner goes, in pixels (0,0)");
  command->add_option("--title", options->title, "The window's title (the file's name)")->type_name("TEXT");
  command->add_flag("--fullscreen", options->fullScreen,
                    "Fill the screen; with x11, ask the window manager for a window without decorations");
  addParsedOption(*command, "--capture", "OUT.png", options->capture, readPngName, PngNameForm,
                  "Write what the window shows as PNG; takes one FILE");
  addParsedOption(*command, "--block", "X,Y,W,H", options->block, readBlock, "X,Y,W,H with W and H of at least 1",
                  "Capture only this part of the window, X,Y from its top left corner; what overhangs is cut off");
  command->footer("Keys of the qt window: right, down, space: next picture; left, up, backspace:\n"
                  "previous one; f: full screen; q, Escape: close.\n"
                  "\n"
                  "Examples:\n"
                  "  omrender show photo.jpg\n"
                  "  omrender show --seconds 0.5 *.png\n"
                  "  omrender show --backend qt *.jpg\n"
                  "  omrender show photo.jpg --seconds 0 --capture corner.png --block 0,0,100,80\n"
                  "  omrender show --backend egl photo.jpg --capture window.png    # no display");
  command->callback([options, &log] { show(*options, log); });
}

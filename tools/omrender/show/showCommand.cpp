#include "tools/omrender/show/showCommand.h"

#include "render/omSimpleWindow.h"
#include "render/omWindowImplEGL.h"
#include "tools/omrender/backEnd.h"
#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/filterOptions.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/glErrors.h"
#include "tools/omrender/glInformation.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/optionValues.h"
#include "tools/omrender/parsedOption.h"
#include "tools/omrender/show/pictureFiles.h"
#include "tools/omrender/show/qtViewer.h"
#include "tools/omrender/show/viewer.h"
#include "tools/omrender/show/watchedFilter.h"
#include "tools/omrender/show/windowCapture.h"

#include <memory>
#include <optional>
#include <tuple>
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

void showInX11(const ShowOptions& options, ViewerContent& content, LibraryLog& log)
{
  ViewerWindow window;
  Viewer(window, content, options, log).run();
}

/// Nobody sees the window, so it is not kept.
void captureByEGL(const ShowOptions& options, ViewerContent& content, LibraryLog& log)
{
  const OmImage& image = content.image();
  OmSimpleWindow window;
  window.setWindowSize(image.width(), image.height());
  openWindow(window, log);
  if (!window.setImageBuffer(image, true))
    throw Failure("cannot show " + quoted(content.name()) + ": " + log.takeReason("no reason was given"));
  checkErrors("cannot show " + quoted(content.name()), log);
  captureWindow(window, options, content.name(), log);
}

struct Backend
{
  const char* name;
  void (*show)(const ShowOptions&, ViewerContent&, LibraryLog&); ///< null if it is not built in
  bool capturesScreen;                                           ///< a capture in full screen is that of the screen
  OmWindow::ImplType queried;                                    ///< what says first what the card holds
};

constexpr Backend Backends[] = {
    {"x11", showInX11, false, OmWindow::ImplX11},
#ifdef OM_RENDER_QT
    {"qt", showInQt, true, OmWindow::ImplX11},
#else
    {"qt", nullptr, true, OmWindow::ImplX11},
#endif
    {"egl", captureByEGL, false, OmWindow::ImplEGL},
};

struct ShowCommand : ShowOptions
{
  const Backend* backend = &Backends[0];
  OmString device;       ///< of EGL
  FilterSettings filter; ///< without a shader: none
  bool watch = false;
};

void checkOptions(const ShowCommand& options)
{
  if (options.files.empty())
    throw CLI::RequiredError("FILE");
  if (!options.backend->show)
    throw Failure("this program was built without Qt; leave out --backend qt, or build it with OM_RENDER_QT=ON",
                  WrongUse);
  const bool isEGL = options.backend->queried == OmWindow::ImplEGL;
  if (isEGL && options.capture.empty())
    throw CLI::ValidationError("--backend", "egl opens a window that cannot be seen; give --capture OUT.png as well");
  if (!isEGL && !options.device.empty() && !options.filter.hasShader())
    throw CLI::ValidationError("--device", "names a device of EGL; give --backend egl or --shader as well");
  if (options.block && options.capture.empty())
    throw CLI::ValidationError("--block", "says which part to capture; give --capture OUT.png as well");
  if (options.files.size() > 1 && !options.capture.empty())
    throw CLI::ValidationError("--capture", "takes one picture; show the others in runs of their own");
  if (options.scale && !options.capture.empty())
    throw CLI::ValidationError("--scale", "is for the user; --capture takes the picture pixel by pixel");
}

/// Throws for an option of a filter without one.
void checkFilterOptions(const CLI::App& command)
{
  for (const char* const name :
       {"--set", "--texture", "--passes", "--size", "--fit", "--percent", "--crop", "--float", "--vertex", "--watch"})
    if (command.count(name) > 0 && command.count("--shader") == 0)
      throw CLI::RequiresError(name, "--shader");
}

/// The files that a run with one picture reads.
std::vector<OmString> inputs(const ShowCommand& options)
{
  std::vector<OmString> files = options.files;
  if (options.filter.hasShader())
    for (const OmString& file : filterFiles(options.filter))
      files.push_back(file);
  return files;
}

/// Throws when the capture is bound to fail.
void checkCapture(const ShowCommand& options, const PictureFile& picture)
{
  if (options.block && !(options.fullScreen && options.backend->capturesScreen))
    checkBlock(*options.block, picture.width, picture.height);
  if (options.capture.empty())
    return;
  checkNotRead({options.capture}, inputs(options));
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

/// The pictures as they are shown: with the size of the filter's results.
std::vector<PictureFile> shownPictures(const ShowCommand& options, std::vector<PictureFile> pictures)
{
  for (PictureFile& picture : pictures)
    std::tie(picture.width, picture.height) = options.filter.scaling.resultSize(picture);
  return pictures;
}

void showFiltered(const ShowCommand& options, PictureFiles& files, LibraryLog& log)
{
  FilterSettings settings = options.filter;
  settings.backEnd.device = options.device;
  WatchedFilter filter(files, options.files, settings, log);
  if (options.watch)
    filter.watch();
  OmWindow::setImplType(options.backend->queried);
  options.backend->show(options, filter, log);
}

void show(const ShowCommand& options, LibraryLog& log)
{
  addShaderDirectories();
  setDrawingThreads();
  checkOptions(options);
  const std::vector<PictureFile> pictures = readHeaders(options.files, log);
  const std::vector<PictureFile> shown = shownPictures(options, pictures);
  checkCapture(options, shown.front());
  OmWindow::setImplType(options.backend->queried);
  OmWindow::Impl::EGL::setDevice(options.device);
  checkSizes(shown, queryGL(log));
  PictureFiles files(pictures, options.title, log);
  if (!options.filter.hasShader())
    options.backend->show(options, files, log);
  else
    showFiltered(options, files, log);
  if (files.hasFailed())
    throw CLI::RuntimeError(SomeFailed);
}

std::optional<const Backend*> readBackend(const OmString& text)
{
  for (const Backend& backend : Backends)
    if (text == backend.name)
      return &backend;
  return std::nullopt;
}

/// What --scale gives: nothing inside to fit the picture.
std::optional<std::optional<double>> readScale(const OmString& text)
{
  constexpr double Smallest = 0.01;
  if (text == "fit")
    return std::optional<double>();
  const std::optional<double> factor = readNumber(text, Smallest, PictureView::LargestZoom);
  return factor ? std::optional(factor) : std::nullopt;
}

} // namespace

void addShowCommand(CLI::App& program, LibraryLog& log)
{
  CLI::App* const command = program.add_subcommand("show", "Show pictures one after another in a window");
  const auto options = std::make_shared<ShowCommand>();
  command->add_option("FILE", options->files, "PNG, JPEG, WebP, TIFF, PPM or PAM files")->type_name("");
  addParsedOption(
      *command, "--seconds", "S", options->seconds, readSeconds, "a number from 0 to 1000000",
      "How long to show each picture (until the user goes on; 3 with --capture); with 0, show it and go on");
  addParsedOption(*command, "--scale", "FACTOR|fit", options->scale, readScale, "a factor from 0.01 to 64, or fit",
                  "Pixels of the window for one of the picture; by default 1, or what fits it to the screen (fit)");
  addParsedOption(*command, "--backend", "x11|qt|egl", options->backend, readBackend, "x11, qt or egl",
                  "What opens the window (x11); egl needs no display, only captures");
  addDeviceOption(*command, options->device);
  addParsedOption(
      *command, "--position", "X,Y", options->position,
      [](const OmString& text) { return readPosition(text, LargestWindowSide); }, "X,Y from 0 to 32767",
      "Where on the screen the window's top left corner goes, in pixels (0,0)");
  command->add_option("--title", options->title, "The window's title (the file's name)")->type_name("TEXT");
  command->add_flag("--fullscreen", options->fullScreen,
                    "Fill the screen; where the window manager cannot, a window without decorations");
  addParsedOption(*command, "--capture", "OUT.png", options->capture, readPngName, PngNameForm,
                  "Write what the window shows as PNG; takes one FILE");
  addParsedOption(*command, "--block", "X,Y,W,H", options->block, readBlock, "X,Y,W,H with W and H of at least 1",
                  "Capture only this part of the window, X,Y from its top left corner; what overhangs is cut off");
  addFilterOptions(*command, options->filter);
  command->add_flag("--watch", options->watch, "Filter and show again whenever the shader or the picture is saved");
  command->footer("Keys: right, down, space: next picture; left, up, backspace: previous one;\n"
                  "Home, End: first, last; +, -, wheel: zoom; drag: move; 1: pixel by pixel;\n"
                  "0: fit; f: full screen; i: the file's data; q, Escape: close.\n"
                  "With --shader: tab, shift-tab: choose a setting; up, down: change it, with\n"
                  "shift ten times as much; s: write the picture; p: print the command for it.\n"
                  "\n"
                  "Examples:\n"
                  "  omrender show photo.jpg\n"
                  "  omrender show --seconds 0.5 *.png\n"
                  "  omrender show --fullscreen *.jpg\n"
                  "  omrender show --shader my.frag --watch photo.jpg\n"
                  "  omrender show photo.jpg --seconds 0 --capture corner.png --block 0,0,100,80\n"
                  "  omrender show --backend egl photo.jpg --capture window.png    # no display");
  command->callback(
      [options, command, &log]
      {
        checkFilterOptions(*command);
        show(*options, log);
      });
}

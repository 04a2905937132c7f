#include "tools/showCommand.h"

#include "foundation/common/omUtils.h"
#include "render/omSimpleWindow.h"
#include "tools/failure.h"
#include "tools/glInformation.h"
#include "tools/libraryLog.h"
#include "tools/numbers.h"
#include "tools/parsedOption.h"
#include "tools/pictureShow.h"
#include "tools/qtViewer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

namespace
{

constexpr OmU32 LargestWindowSide = 32767; // X's coordinates are signed 16-bit numbers

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
  constexpr double Seconds = 3.0;
  OmSimpleWindow window;
  PictureShow pictureShow(window, options, log);
  for (const Picture& picture : pictures)
  {
    pictureShow.show(picture);
    hold(window, options.seconds.value_or(Seconds));
  }
  checkErrors("cannot show " + quoted(pictures.back().file), log);
}

struct Backend
{
  const char* name;
  void (*show)(const ShowOptions&, const std::vector<Picture>&, LibraryLog&); ///< null where it is not built in
  bool fillsScreen;                                                           ///< what full screen means to it
};

constexpr Backend Backends[] = {
    {"x11", showPictures, false},
#ifdef OM_RENDER_QT
    {"qt", showPicturesInQt, true},
#else
    {"qt", nullptr, true},
#endif
};

struct ShowCommand : ShowOptions
{
  const Backend* backend = &Backends[0];
};

void checkOptions(const ShowCommand& options)
{
  if (options.files.empty())
    throw CLI::RequiredError("FILE");
  if (!options.backend->show)
    throw Failure("this program was built without Qt; leave out --backend qt, or build it with OM_RENDER_QT=ON");
  if (options.block && options.capture.empty())
    throw CLI::ValidationError("--block", "says which part to capture; give --capture OUT.png as well");
  if (options.files.size() > 1 && !options.capture.empty())
    throw CLI::ValidationError("--capture", "takes one picture; show the others in runs of their own");
}

void show(const ShowCommand& options, LibraryLog& log)
{
  checkOptions(options);
  const std::vector<Picture> pictures = readHeaders(options.files, log);
  if (options.block && !(options.fullScreen && options.backend->fillsScreen))
    checkBlock(*options.block, pictures.front().width, pictures.front().height);
  if (!options.capture.empty())
  {
    checkDistinct(options.files.front(), options.capture);
    checkTarget(options.capture);
  }
  const GLInformation gl = queryGL(log);
  for (const Picture& picture : pictures)
  {
    const OmU32 side = gl.largestPictureSide(picture.width, picture.height);
    checkSize(picture, side, side, gl.renderer);
  }
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
  command->add_option("FILE", options->files, "PNG or JPEG files")->type_name("");
  addParsedOption(*command, "--seconds", "S", options->seconds, readSeconds, "a number from 0 to 1000000",
                  "How long to show each picture (3; with qt, until the user goes on); with 0, show it and go on");
  addParsedOption(*command, "--backend", "x11|qt", options->backend, readBackend, "x11 or qt",
                  "What opens the window (x11)");
  addParsedOption(
      *command, "--position", "X,Y", options->position,
      [](const OmString& text) { return readPosition(text, LargestWindowSide); }, "X,Y from 0 to 32767",
      "Where on the screen the window's top left corner goes, in pixels (0,0)");
  command->add_option("--title", options->title, "The window's title (the file's name)")->type_name("TEXT");
  command->add_flag("--fullscreen", options->fullScreen,
                    "Fill the screen; with x11, ask the window manager for a window without decorations");
  command->add_option("--capture", options->capture, "Write what the window shows as PNG; takes one FILE")
      ->type_name("OUT.png");
  addParsedOption(*command, "--block", "X,Y,W,H", options->block, readBlock, "X,Y,W,H with W and H of at least 1",
                  "Capture only this part of the window, X,Y from its top left corner; what overhangs is cut off");
  command->footer("Keys of the qt window: right, down, space: next picture; left, up, backspace: previous one;\n"
                  "f: full screen; q, Escape: close.\n"
                  "\n"
                  "Examples:\n"
                  "  omrender show photo.jpg\n"
                  "  omrender show --seconds 0.5 *.png\n"
                  "  omrender show --backend qt *.jpg\n"
                  "  omrender show photo.jpg --seconds 0 --capture corner.png --block 0,0,100,80\n"
                  "  xvfb-run omrender show photo.jpg --capture window.png    # without a display of its own");
  command->callback([options, &log] { show(*options, log); });
}

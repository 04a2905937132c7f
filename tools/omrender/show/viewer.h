#ifndef OM_TOOLS_VIEWER_H
#define OM_TOOLS_VIEWER_H

#include "tools/omrender/show/showOptions.h"
#include "tools/omrender/show/viewerWindow.h"

#include <chrono>
#include <optional>

class LibraryLog;
class ViewerContent;
struct OmWindowEvent;

/// Shows content in a window, which its user zooms, moves and closes.
class Viewer
{
public:
  /// Keeps references to all four.
  Viewer(ViewerWindow& window, ViewerContent& content, const ShowOptions& options, LibraryLog& log);

  /// Opens the window and captures it if the options say so. Returns when the user closes it, or, if the options give a
  /// time, when the last picture was shown for that long. Uses no processor time while nothing changes. Throws a
  /// Failure.
  void run();

private:
  enum class Action
  {
    FullScreen,
    Close,
    PixelByPixel,
    Fit,
    ZoomIn,
    ZoomOut,
    Inform
  };
  struct Key
  {
    OmU32 symbol;
    Action action;
  };
  struct Point
  {
    int x;
    int y;
  };
  using Clock = std::chrono::steady_clock;

  static const Key Keys[];

  void open();
  void showContent();
  void startTime();
  void update();
  void takeEvents();
  void act(const OmWindowEvent& event);
  void press(const OmWindowEvent& key);
  void perform(Action action);
  void zoomAbout(const Point& pointer, int steps);
  void drag(const Point& pointer);
  void draw();
  OmString title();
  double secondsToWait() const;

  ViewerWindow& m_window;
  ViewerContent& m_content;
  const ShowOptions& m_options;
  LibraryLog& m_log;
  bool m_changed = false; ///< the content, since it was shown
  bool m_drawn = false;   ///< the view, since it changed
  bool m_closed = false;
  std::optional<Point> m_pointer;         ///< while it is in the window
  std::optional<Point> m_dragged;         ///< where the pointer was last, while it drags the picture
  std::optional<Clock::time_point> m_end; ///< of the picture's time
  Clock::time_point m_nextFrame;
};

/// Throws a Failure that says why no window fills the screen.
[[noreturn]] void failToShowFullScreen(const OmString& reason);

#endif

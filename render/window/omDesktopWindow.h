#ifndef OM_DESKTOP_WINDOW_H
#define OM_DESKTOP_WINDOW_H

#include "render/omWindowEvent.h"

#include <deque>

class OmImage;

/// A native window as its user and the desktop meet it: its events, its icon, the whole screen. A back end with windows
/// on a screen holds one. Without a native window nothing happens.
class OmDesktopWindow
{
public:
  OmDesktopWindow() = default;
  OmDesktopWindow(const OmDesktopWindow&) = delete;
  OmDesktopWindow& operator=(const OmDesktopWindow&) = delete;
  virtual ~OmDesktopWindow() = default;

  /// OmWindow::pollEvents(): takes what the window system has reported, and acts on it.
  virtual void poll() = 0;
  /// OmWindow::waitEvents().
  virtual bool wait(double seconds, int descriptor) = 0;
  /// OmWindow::setFillScreen().
  virtual bool setFillScreen(bool fill) = 0;
  /// OmWindow::setIcon(). Kept for later openings.
  virtual void setIcon(const OmImage& icon) = 0;

  /// Whether the user has asked to close the window since it was shown last.
  bool isCloseRequested() const { return m_closeRequested; }
  /// OmWindow::takeEvent().
  bool take(OmWindowEvent& event);

protected:
  /// Adds an event to those that take() gives. A move replaces the move just before it. The oldest one goes when nobody
  /// takes them.
  void add(const OmWindowEvent& event);
  void setCloseRequested(bool requested) { m_closeRequested = requested; }
  /// Forgets the events and the request to close.
  void clear();

private:
  std::deque<OmWindowEvent> m_events;
  bool m_closeRequested = false;
};

#endif

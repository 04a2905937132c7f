#ifndef OM_X11_DESKTOP_WINDOW_H
#define OM_X11_DESKTOP_WINDOW_H

#include "render/omWindow.h"
#include "render/window/omDesktopWindow.h"

#include <X11/Xlib.h>

/// The desktop's side of an X11 window.
class OmX11DesktopWindow : public OmDesktopWindow
{
public:
  void poll() override;
  bool wait(double seconds, int descriptor) override;
  bool setFillScreen(bool fill) override;
  void setIcon(const OmImage& icon) override;

  /// Takes over a native window that was just opened for `window`.
  void open(OmWindow* window, Display* display, Window xWindow);
  /// Lets go of the native window, which is about to be destroyed.
  void close();

private:
  OmWindow* m_window = nullptr; ///< null while no native window is open
  Display* m_display = nullptr;
  Window m_xWindow = 0;
};

#endif

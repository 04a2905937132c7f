#include "render/window/omX11DesktopWindow.h"

#include "render/window/omWaitForInput.h"

void OmX11DesktopWindow::open(OmWindow* window, Display* display, Window xWindow)
{
  m_window = window;
  m_display = display;
  m_xWindow = xWindow;
}

void OmX11DesktopWindow::close()
{
  m_window = nullptr;
  clear();
}

void OmX11DesktopWindow::poll() {}

bool OmX11DesktopWindow::wait(double seconds, int descriptor)
{
  if (m_window && XPending(m_display) > 0)
    return true;
  return omWaitForInput(seconds, {m_window ? ConnectionNumber(m_display) : -1, descriptor});
}

bool OmX11DesktopWindow::setFillScreen(bool)
{
  return false;
}

void OmX11DesktopWindow::setIcon(const OmImage&) {}

#include "render/window/omQtDesktopWindow.h"

#include <QCoreApplication>
#include <QEventLoop>

void OmQtDesktopWindow::open(OmWindow* window, OmQGLWidget* widget)
{
  m_window = window;
  m_widget = widget;
}

void OmQtDesktopWindow::close()
{
  m_window = nullptr;
  clear();
}

void OmQtDesktopWindow::poll()
{
  QCoreApplication::processEvents();
}

bool OmQtDesktopWindow::wait(double, int)
{
  return true;
}

bool OmQtDesktopWindow::setFillScreen(bool)
{
  return false;
}

void OmQtDesktopWindow::setIcon(const OmImage&) {}

#include "render/omWindow.h"

#include "render/omVersion.h"
#include "render/window/omDesktopWindow.h"
#include "render/window/omWaitForInput.h"

OmWindow::ImplType OmWindow::s_ImplType = OmWindow::ImplX11;
OmWindow* OmWindow::m_pCurrentWindow = nullptr;

OmWindow::OmWindow()
    : m_backgroundColor(0.0, 0.0, 0.0, 1.0), m_topMost(false), m_hideWindow(false), m_x(0), m_y(0), m_width(0),
      m_height(0), m_name("OmWindow"), m_initialized(false), m_stereoSupported(false)
{
}

OmWindow::~OmWindow()
{
  OmWindow::closeWindow();
}

OmBoolean OmWindow::setWindowSize(OmU32 width, OmU32 height)
{
  const bool changed = width != m_width || height != m_height;
  m_width = width;
  m_height = height;
  if (m_pImpl)
    m_pImpl->setWindowSize(width, height);
  if (m_initialized && changed)
    renderScene(true);
  return changed;
}

OmBoolean OmWindow::setWindowPos(OmU32 x, OmU32 y, OmBoolean apply)
{
  const bool changed = x != m_x || y != m_y;
  m_x = x;
  m_y = y;
  if (apply && m_initialized && changed)
  {
    if (m_pImpl)
      m_pImpl->setWindowPos(x, y);
    renderScene(true);
  }
  return changed;
}

OmBoolean OmWindow::setWindowSizeAndPos(OmU32 width, OmU32 height, OmU32 x, OmU32 y)
{
  const bool changed = width != m_width || height != m_height || x != m_x || y != m_y;
  m_width = width;
  m_height = height;
  m_x = x;
  m_y = y;
  if (m_initialized && changed)
  {
    if (m_pImpl)
      m_pImpl->setWindowSizeAndPos(width, height, x, y);
    renderScene(true);
  }
  return changed;
}

void OmWindow::setName(const OmString& name)
{
  m_name = name;
  if (m_pImpl)
    m_pImpl->setName(name);
}

const OmString& OmWindow::getName() const
{
  return m_name;
}

void OmWindow::setTopMost(OmBoolean topMost)
{
  m_topMost = topMost;
  if (m_pImpl)
    m_pImpl->setTopMost(topMost);
}

OmBoolean OmWindow::getTopMost() const
{
  return m_topMost;
}

void OmWindow::setHideWindow(OmBoolean hide)
{
  m_hideWindow = hide;
  if (m_pImpl)
    m_pImpl->setHideWindow(hide);
}

OmBoolean OmWindow::getHideWindow() const
{
  return m_hideWindow;
}

void OmWindow::setFullScreen(OmBoolean fullScreen)
{
  if (m_pImpl)
    m_pImpl->setFullScreen(fullScreen);
}

void OmWindow::setStereoSupported() const
{
  m_stereoSupported = true;
}

OmBoolean OmWindow::getStereoSupported() const
{
  return m_stereoSupported;
}

OmBoolean OmWindow::share(const OmWindow* window) const
{
  if (!window)
    return false;
  m_share = window->m_pImpl;
  return !m_pImpl || m_pImpl->share(m_share);
}

boost::shared_ptr<OmWindow::Impl> OmWindow::getShare() const
{
  return m_initialized ? m_share.lock() : boost::shared_ptr<Impl>();
}

OmWindow* OmWindow::getShareWindow() const
{
  const boost::shared_ptr<Impl> partner = getShare();
  return partner ? partner->getWindow() : nullptr;
}

void OmWindow::swapBuffers() const
{
  if (m_pImpl)
    m_pImpl->swapBuffers();
}

void OmWindow::makeCurrent() const
{
  if (m_pImpl)
    m_pImpl->makeCurrent();
  m_pCurrentWindow = const_cast<OmWindow*>(this);
}

void OmWindow::closeWindow()
{
  if (m_pImpl)
  {
    m_pImpl->closeWindow();
    m_pImpl.reset();
  }
  m_hideWindow = false;
  m_initialized = false;
  m_stereoSupported = false;
  m_pCurrentWindow = nullptr;
}

void OmWindow::setImpl(boost::shared_ptr<Impl> impl)
{
  m_pImpl.swap(impl);
  // Somebody else may hold the old back end longer than this window lives, so unbind it.
  if (impl && impl != m_pImpl && impl->m_pWindow == this)
    impl->m_pWindow = nullptr;
}

boost::shared_ptr<OmWindow::Impl> OmWindow::getImpl() const
{
  return m_pImpl;
}

OmBoolean OmWindow::init()
{
  if (!m_pImpl)
  {
    m_pImpl = Impl::newImpl();
    if (m_pImpl)
      m_pImpl->share(m_share);
  }
  m_initialized = m_pImpl && m_pImpl->init(this);
  return m_initialized;
}

void OmWindow::getWindowSize(OmU32& width, OmU32& height) const
{
  width = m_width;
  height = m_height;
}

void OmWindow::getWindowPos(OmU32& x, OmU32& y) const
{
  x = m_x;
  y = m_y;
}

void OmWindow::getWindowSizeAndPos(OmU32& width, OmU32& height, OmU32& x, OmU32& y) const
{
  getWindowSize(width, height);
  getWindowPos(x, y);
}

OmBoolean OmWindow::pollEvents()
{
  const boost::shared_ptr<Impl> impl = m_pImpl; // drawing may close the window
  if (impl && impl->m_desktop)
    impl->m_desktop->poll();
  return m_initialized && !isCloseRequested();
}

OmBoolean OmWindow::isCloseRequested() const
{
  return m_pImpl && m_pImpl->m_desktop && m_pImpl->m_desktop->isCloseRequested();
}

OmBoolean OmWindow::takeEvent(OmWindowEvent& event)
{
  return m_pImpl && m_pImpl->m_desktop && m_pImpl->m_desktop->take(event);
}

OmBoolean OmWindow::waitEvents(double seconds, int descriptor)
{
  if (m_pImpl && m_pImpl->m_desktop)
    return m_pImpl->m_desktop->wait(seconds, descriptor);
  return omWaitForInput(seconds, {descriptor});
}

OmBoolean OmWindow::setFillScreen(OmBoolean fill)
{
  return m_pImpl && m_pImpl->m_desktop && m_pImpl->m_desktop->setFillScreen(fill);
}

void OmWindow::setIcon(const OmImage& icon)
{
  if (m_pImpl && m_pImpl->m_desktop)
    m_pImpl->m_desktop->setIcon(icon);
}

void OmWindow::setBackgroundColor(const OmColor& color)
{
  m_backgroundColor = color;
}

const OmColor& OmWindow::backgroundColor() const
{
  return m_backgroundColor;
}

void OmWindow::setImplType(ImplType type)
{
  s_ImplType = type == ImplDefault ? ImplX11 : type;
}

OmWindow::ImplType OmWindow::getImplType()
{
  return s_ImplType;
}

OmWindow* OmWindow::getWindow()
{
  return m_pCurrentWindow;
}

// In place of omWindowImplEGL.cpp, omEGL.cpp and omEGLDevice.cpp in a build without EGL.

#include "foundation/core/omPrint.h"
#include "render/omVersion.h"
#include "render/omWindowImplEGL.h"
#include "render/window/omCurrentEGL.h"

boost::shared_ptr<OmWindow::Impl> OmWindow::Impl::EGL::newImpl()
{
  Om::Print::instance().write(Om::Print::Error,
                              "OmWindow::Impl::newImpl - This library was built without the EGL back end.\n");
  return {};
}

std::vector<OmWindow::Impl::EGL::Device> OmWindow::Impl::EGL::devices()
{
  Om::Print::instance().write(Om::Print::Error, "EGL::devices - This library was built without the EGL back end.\n");
  return {};
}

const OmWindow::Impl::EGL::Device& OmWindow::Impl::EGL::device() const
{
  return m_device;
}

void OmWindow::Impl::EGL::setDevice(const OmString&) {}

const OmString& OmWindow::Impl::EGL::getDevice()
{
  static const OmString none;
  return none;
}

bool OmCurrentEGL::isCurrent()
{
  return false;
}

OmCurrentEGL::Address OmCurrentEGL::resolve(const char*)
{
  return nullptr;
}

void OmCurrentEGL::release() {}

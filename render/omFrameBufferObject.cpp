#include "render/omFrameBufferObject.h"

#include "foundation/core/omPrint.h"
#include "render/omGL.h"
#include "render/omTexture.h"
#include "render/omVersion.h"
#include "render/omWindow.h"

OmFrameBufferObject::OmFrameBufferObject()
    : m_framebufferId(0), m_renderbufferId(0), m_width(0), m_height(0), m_initialized(false)
{
}

OmFrameBufferObject::~OmFrameBufferObject()
{
  release();
}

OmBoolean OmFrameBufferObject::init(const OmTexture& texture, FBOType type, unsigned int n)
{
  if (!m_initialized && !OmGL::isSupported(OmGL::SupportFBO))
  {
    Om::Print::instance().write(4, "No hardware support for FBO.\n");
    return false;
  }
  if (texture.id() == 0)
  {
    Om::Print::instance().write(4, "Bad texture passed to OmFBO::init\n");
    return false;
  }
  if (!OmWindow::isShareGroupCurrent(m_shareGroup))
    release();
  if (m_framebufferId == 0)
  {
    glGenFramebuffersEXT(1, &m_framebufferId);
    m_shareGroup = OmWindow::currentShareGroup();
  }
  glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, m_framebufferId);
  m_height = texture.height();
  m_width = texture.width();

  GLenum attachment = type;
  if (type == Depth || type == ColorAndDepth)
    attachDepthBuffer();
  if (type == ColorAndDepth)
    attachment = GL_COLOR_ATTACHMENT0_EXT + n;
  glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, attachment, texture.textureType(), texture.id(), 0);
  m_initialized = true;
  const OmBoolean valid = isValid();
  unbind();
  return valid;
}

void OmFrameBufferObject::attachDepthBuffer()
{
  if (m_renderbufferId != 0)
    return;
  glGenRenderbuffersEXT(1, &m_renderbufferId);
  glBindRenderbufferEXT(GL_RENDERBUFFER_EXT, m_renderbufferId);
  glRenderbufferStorageEXT(GL_RENDERBUFFER_EXT, GL_DEPTH_COMPONENT24, static_cast<GLsizei>(m_width),
                           static_cast<GLsizei>(m_height));
  glFramebufferRenderbufferEXT(GL_FRAMEBUFFER_EXT, GL_DEPTH_ATTACHMENT_EXT, GL_RENDERBUFFER_EXT, m_renderbufferId);
}

OmBoolean OmFrameBufferObject::isValid() const
{
  if (!m_initialized)
    return false;
  if (glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT) == GL_FRAMEBUFFER_COMPLETE_EXT)
    return true;
  Om::Print::instance().write(4, "Mismatched texture formats for FBO.\n");
  return false;
}

OmBoolean OmFrameBufferObject::attach(const OmTexture& texture, unsigned int index) const
{
  return attachColor(texture, index, texture.id());
}

OmBoolean OmFrameBufferObject::detach(const OmTexture& texture, unsigned int index) const
{
  return attachColor(texture, index, 0);
}

OmBoolean OmFrameBufferObject::attachColor(const OmTexture& texture, unsigned int index, GLuint name) const
{
  if (!m_initialized || m_framebufferId == 0)
    return false;
  glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT + index, texture.textureType(), name, 0);
  return true;
}

void OmFrameBufferObject::bind() const
{
  if (m_framebufferId != 0)
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, m_framebufferId);
}

void OmFrameBufferObject::unbind()
{
  if (glBindFramebufferEXT)
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
}

void OmFrameBufferObject::release()
{
  if (OmWindow::isShareGroupCurrent(m_shareGroup))
  {
    if (m_renderbufferId != 0)
      glDeleteRenderbuffersEXT(1, &m_renderbufferId);
    if (m_framebufferId != 0)
      glDeleteFramebuffersEXT(1, &m_framebufferId);
  }
  m_renderbufferId = 0;
  m_framebufferId = 0;
  m_initialized = false;
}

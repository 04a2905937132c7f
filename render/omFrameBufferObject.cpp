#include "render/omFrameBufferObject.h"

#include "foundation/core/omPrint.h"
#include "render/omGL.h"
#include "render/omTexture.h"
#include "render/omVersion.h"

namespace
{

void deleteFramebuffer(GLuint name)
{
  glDeleteFramebuffersEXT(1, &name);
}

void deleteRenderbuffer(GLuint name)
{
  glDeleteRenderbuffersEXT(1, &name);
}

} // namespace

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
    Om::Print::instance().write(Om::Print::Error, "No hardware support for FBO.\n");
    return false;
  }
  if (texture.id() == 0)
  {
    Om::Print::instance().write(Om::Print::Error, "Bad texture passed to OmFBO::init\n");
    return false;
  }
  if (!texture.shareGroup().isCurrent())
  {
    Om::Print::instance().write(Om::Print::Error,
                                "OmFrameBufferObject::init - No window of the texture's share group is current.\n");
    return false;
  }
  if (!m_context.isCurrent())
    release();
  if (m_framebufferId == 0)
  {
    glGenFramebuffersEXT(1, &m_framebufferId);
    m_context = OmShareGroup::currentContext();
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
  Om::Print::instance().write(Om::Print::Error, "Mismatched texture formats for FBO.\n");
  return false;
}

OmBoolean OmFrameBufferObject::attach(const OmTexture& texture, unsigned int index) const
{
  if (m_initialized && !texture.shareGroup().isCurrent())
  {
    Om::Print::instance().write(Om::Print::Error,
                                "OmFrameBufferObject::attach - No window of the texture's share group is current.\n");
    return false;
  }
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
  if (m_framebufferId == 0)
    return;
  if (m_context.isCurrent())
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, m_framebufferId);
  else
    Om::Print::instance().write(Om::Print::Error,
                                "OmFrameBufferObject::bind - The window that was current in init() is not.\n");
}

void OmFrameBufferObject::unbind()
{
  if (glBindFramebufferEXT)
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
}

void OmFrameBufferObject::release()
{
  letGo(deleteRenderbuffer, m_renderbufferId);
  letGo(deleteFramebuffer, m_framebufferId);
  m_initialized = false;
}

void OmFrameBufferObject::letGo(void (*deleteName)(GLuint name), GLuint& name) const
{
  if (name != 0 && m_context.isCurrent())
    deleteName(name);
  else if (name != 0)
    m_context.deleteLater(deleteName, name);
  name = 0;
}

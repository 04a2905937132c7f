#include "render/filter/omCallerState.h"

#include "render/omGL.h"

namespace
{

constexpr GLbitfield Attributes = GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT | GL_ENABLE_BIT | GL_PIXEL_MODE_BIT |
                                  GL_POLYGON_BIT | GL_TEXTURE_BIT | GL_TRANSFORM_BIT | GL_VIEWPORT_BIT;

/// What would change or discard pixels on their way.
constexpr GLenum Capabilities[] = {
    GL_ALPHA_TEST,          GL_BLEND,          GL_CLIP_PLANE0,     GL_CLIP_PLANE1,
    GL_CLIP_PLANE2,         GL_CLIP_PLANE3,    GL_CLIP_PLANE4,     GL_CLIP_PLANE5,
    GL_COLOR_LOGIC_OP,      GL_CULL_FACE,      GL_DEPTH_TEST,      GL_DITHER,
    GL_POLYGON_OFFSET_FILL, GL_POLYGON_SMOOTH, GL_POLYGON_STIPPLE, GL_SAMPLE_ALPHA_TO_COVERAGE,
    GL_SAMPLE_COVERAGE,     GL_SCISSOR_TEST,   GL_STENCIL_TEST,    GL_VERTEX_PROGRAM_TWO_SIDE_ARB,
};

struct PixelTransfer
{
  GLenum name;
  GLfloat value;
};

constexpr PixelTransfer PixelTransfers[] = {
    {GL_MAP_COLOR, 0.0f}, {GL_RED_SCALE, 1.0f},  {GL_GREEN_SCALE, 1.0f}, {GL_BLUE_SCALE, 1.0f}, {GL_ALPHA_SCALE, 1.0f},
    {GL_RED_BIAS, 0.0f},  {GL_GREEN_BIAS, 0.0f}, {GL_BLUE_BIAS, 0.0f},   {GL_ALPHA_BIAS, 0.0f},
};

/// Those that are 0 by default.
constexpr GLenum PixelStores[] = {
    GL_PACK_SWAP_BYTES,   GL_PACK_LSB_FIRST,   GL_PACK_ROW_LENGTH,   GL_PACK_SKIP_ROWS,   GL_PACK_SKIP_PIXELS,
    GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS,
};

constexpr GLenum MatrixModes[] = {GL_PROJECTION, GL_MODELVIEW, GL_TEXTURE};
constexpr GLenum MatrixNames[] = {GL_PROJECTION_MATRIX, GL_MODELVIEW_MATRIX, GL_TEXTURE_MATRIX};

void clearErrors()
{
  while (glGetError() != GL_NO_ERROR)
    continue;
}

void bindPixelBuffers(GLint pack, GLint unpack)
{
  if (!OmGL::isSupported(OmGL::SupportVBO))
    return;
  glBindBufferARB(GL_PIXEL_PACK_BUFFER_ARB, static_cast<GLuint>(pack));
  glBindBufferARB(GL_PIXEL_UNPACK_BUFFER_ARB, static_cast<GLuint>(unpack));
}

} // namespace

OmCallerState::OmCallerState()
{
  clearErrors();
  m_program = glGetHandleARB(GL_PROGRAM_OBJECT_ARB);
  glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &m_drawFramebuffer);
  m_readFramebuffer = m_drawFramebuffer;
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING_EXT, &m_readFramebuffer); // stays so without GL_EXT_framebuffer_blit
  glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING_ARB, &m_packBuffer);     // 0 without GL_ARB_pixel_buffer_object
  glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING_ARB, &m_unpackBuffer);
  clearErrors();
  glPushAttrib(Attributes);
  m_attributes = glGetError() == GL_NO_ERROR;
  glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
  m_clientAttributes = glGetError() == GL_NO_ERROR;
  if (!isSaved())
    return;

  glActiveTextureARB(GL_TEXTURE0_ARB);
  for (int i = 0; i < 3; ++i)
    glGetFloatv(MatrixNames[i], m_matrices[i]);
  glMatrixMode(GL_TEXTURE); // OmShader::getVertexShader() uses unit 0's
  glLoadIdentity();
  for (const GLenum capability : Capabilities)
    glDisable(capability);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  if (OmGL::isSupported(OmGL::SupportFloatClamp))
    glClampColorARB(GL_CLAMP_FRAGMENT_COLOR_ARB, GL_FIXED_ONLY_ARB);
  for (const PixelTransfer& transfer : PixelTransfers)
    glPixelTransferf(transfer.name, transfer.value);
  for (const GLenum store : PixelStores)
    glPixelStorei(store, 0);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  bindPixelBuffers(0, 0);
  clearErrors(); // of what an old version does not know
}

OmCallerState::~OmCallerState()
{
  glUseProgramObjectARB(m_program);
  glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, static_cast<GLuint>(m_drawFramebuffer)); // before its buffers come back
  if (m_readFramebuffer != m_drawFramebuffer)
    glBindFramebufferEXT(GL_READ_FRAMEBUFFER_EXT, static_cast<GLuint>(m_readFramebuffer));
  if (isSaved())
  {
    glActiveTextureARB(GL_TEXTURE0_ARB);
    for (int i = 0; i < 3; ++i)
    {
      glMatrixMode(MatrixModes[i]);
      glLoadMatrixf(m_matrices[i]);
    }
    bindPixelBuffers(m_packBuffer, m_unpackBuffer);
  }
  if (m_clientAttributes)
    glPopClientAttrib();
  if (m_attributes)
    glPopAttrib();
  clearErrors();
}

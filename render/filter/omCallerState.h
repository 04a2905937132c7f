#ifndef OM_CALLER_STATE_H
#define OM_CALLER_STATE_H

#include <GL/gl.h>

/// The GL state of a context that somebody else draws in. From the constructor to the destructor the context is ready
/// for drawing into textures and moving pixels, whatever that one has set; then everything is as it was, pending errors
/// aside, which are dropped. Needs shaders and framebuffer objects.
class OmCallerState
{
public:
  OmCallerState();
  OmCallerState(const OmCallerState&) = delete;
  OmCallerState& operator=(const OmCallerState&) = delete;
  ~OmCallerState();

  /// Whether the state could be saved: GL's stacks of attributes have a limit.
  bool isSaved() const { return m_attributes && m_clientAttributes; }

private:
  GLhandleARB m_program = 0;
  GLint m_drawFramebuffer = 0;
  GLint m_readFramebuffer = 0;
  GLint m_packBuffer = 0;
  GLint m_unpackBuffer = 0;
  GLfloat m_matrices[3][16] = {};
  bool m_attributes = false;       ///< glPushAttrib() has succeeded
  bool m_clientAttributes = false; ///< glPushClientAttrib() has succeeded
};

#endif

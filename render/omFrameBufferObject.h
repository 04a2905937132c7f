#ifndef OM_FRAME_BUFFER_OBJECT_H
#define OM_FRAME_BUFFER_OBJECT_H

#include "foundation/core/omTypes.h"

#include <GL/gl.h>
#include <boost/weak_ptr.hpp>

class OmTexture;

/// A framebuffer object: rendering goes into a texture instead of a window.
///
/// \code
///   OmTexture target;
///   target.loadShell(512, 512, OmTextureParameters());
///   OmFrameBufferObject framebuffer;
///   if (!framebuffer.init(target, OmFrameBufferObject::Color, 0))
///     return false; // the reason has been printed
///   framebuffer.bind();
///   glViewport(0, 0, 512, 512);
///   drawScene();
///   OmFrameBufferObject::unbind();
/// \endcode
///
/// Rests on GL_EXT_framebuffer_object (OmGL::SupportFBO). Works on the calling thread's current GL context. The texture
/// is the caller's and stays alive while it is attached; the framebuffer and its depth buffer are the object's own.
class OM_EXPORT OmFrameBufferObject
{
public:
  /// What init() attaches. Another GL attachment point is passed to GL as it is.
  enum FBOType : OmU32
  {
    Color = GL_COLOR_ATTACHMENT0_EXT, ///< the texture as colour buffer 0
    Depth = GL_DEPTH_ATTACHMENT_EXT,  ///< the texture, which has a depth format, as depth buffer
    ColorAndDepth = 1                 ///< the texture as a colour buffer, with a 24-bit depth buffer beside it
  };

  /// No GL names yet; no GL call.
  OmFrameBufferObject();
  OmFrameBufferObject(const OmFrameBufferObject&) = delete;
  OmFrameBufferObject& operator=(const OmFrameBufferObject&) = delete;
  /// Deletes the GL names (release()).
  virtual ~OmFrameBufferObject();

  /// Makes the framebuffer, once, and attaches a texture; `n` is the number of the colour attachment for ColorAndDepth.
  /// Returns whether the framebuffer is complete, and leaves none bound. A depth buffer keeps the size of the texture
  /// that it was made for. False, with a line of print type 4, without framebuffer objects or for a texture without a
  /// GL name, which change nothing, and for an incomplete framebuffer.
  virtual OmBoolean init(const OmTexture& texture, FBOType type, unsigned int n);
  /// Whether init() has attached a texture and the framebuffer that is bound now is complete; a line of print type 4
  /// when it is not complete.
  virtual OmBoolean isValid() const;
  /// Attaches another texture as colour buffer `index` of the framebuffer that is bound now: bind() comes first. False
  /// before init().
  virtual OmBoolean attach(const OmTexture& texture, unsigned int index) const;
  /// Takes colour buffer `index`, which has the texture's target, from the framebuffer that is bound now.
  virtual OmBoolean detach(const OmTexture& texture, unsigned int index) const;
  /// Binds the framebuffer; nothing before init().
  virtual void bind() const;

  /// Binds the window's own frame buffer; nothing where there are no framebuffer objects.
  static void unbind();

  /// The negation of isValid().
  OmBoolean operator!() const { return !isValid(); }

  /// Deletes the GL names where the current window is of their share group, else forgets them: they go with their
  /// context. The object is then as new.
  void release();

protected:
  GLuint m_framebufferId;  ///< GL name; 0 for none
  GLuint m_renderbufferId; ///< GL name of the depth buffer; 0 for none
  unsigned int m_width;    ///< of the attached texture, in texels
  unsigned int m_height;   ///< of the attached texture, in texels
  bool m_initialized;      ///< init() has attached a texture

private:
  OM_INTERNAL void attachDepthBuffer();
  OM_INTERNAL OmBoolean attachColor(const OmTexture& texture, unsigned int index, GLuint name) const;

  boost::weak_ptr<const void> m_shareGroup; ///< where the names live
};

#endif

#ifndef OM_FRAME_BUFFER_OBJECT_H
#define OM_FRAME_BUFFER_OBJECT_H

#include "foundation/core/omTypes.h"
#include "render/omShareGroup.h"

#include <GL/gl.h>

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
/// Needs GL_EXT_framebuffer_object (OmGL::SupportFBO). Works on the calling thread's current GL context. The texture
/// belongs to the caller and must live while it is attached. The framebuffer and its depth buffer belong to this
/// object.
class OM_EXPORT OmFrameBufferObject
{
public:
  /// What init() attaches. Any other value is passed to GL as the attachment point of the texture.
  enum FBOType : OmU32
  {
    Color = GL_COLOR_ATTACHMENT0_EXT, ///< the texture as colour buffer 0
    Depth = GL_DEPTH_ATTACHMENT_EXT,  ///< the texture, which has a depth format, as depth buffer
    ColorAndDepth = 1                 ///< the texture as colour buffer `n`, with a 24-bit depth buffer beside it
  };

  /// An object without GL names. Makes no GL call.
  OmFrameBufferObject();
  OmFrameBufferObject(const OmFrameBufferObject&) = delete;
  OmFrameBufferObject& operator=(const OmFrameBufferObject&) = delete;
  /// Deletes the GL names (release()).
  virtual ~OmFrameBufferObject();

  /// Attaches a texture, and leaves no framebuffer object bound. The first call makes the framebuffer. `n` is the
  /// number of the colour attachment, counted from 0, for ColorAndDepth; the other types ignore it. A depth buffer,
  /// once made, keeps the size of the first texture. Returns whether the framebuffer is complete, with an error message
  /// if not. Also false, with an error message and without any change, if there are no framebuffer objects, or if the
  /// texture has no GL name or belongs to a share group that is not current.
  virtual OmBoolean init(const OmTexture& texture, FBOType type, unsigned int n);
  /// Whether init() has attached a texture and the framebuffer that is bound now is complete. Call bind() first. Prints
  /// an error message if that framebuffer is incomplete.
  virtual OmBoolean isValid() const;
  /// Attaches another texture as colour buffer `index`, counted from 0, of the framebuffer that is bound now. Call
  /// bind() first. Returns false before init() and, with an error message, for a texture of a share group that is not
  /// current.
  virtual OmBoolean attach(const OmTexture& texture, unsigned int index) const;
  /// Removes colour buffer `index` from the framebuffer that is bound now. Of `texture`, only the texture target
  /// matters: it must be that of the attached texture. Returns false before init().
  virtual OmBoolean detach(const OmTexture& texture, unsigned int index) const;
  /// Binds the framebuffer. Does nothing before init(). If the context of init() is not current, prints an error
  /// message and binds nothing.
  virtual void bind() const;

  /// Binds the window's own framebuffer. Does nothing without framebuffer objects.
  static void unbind();

  /// The negation of isValid().
  OmBoolean operator!() const { return !isValid(); }

  /// Deletes the GL names. If the context of init() is not current, they are deleted when it is made current next.
  /// Afterwards the object can be used like a new one.
  void release();

protected:
  GLuint m_framebufferId;  ///< GL name; 0 for none
  GLuint m_renderbufferId; ///< GL name of the depth buffer; 0 for none
  unsigned int m_width;    ///< width of the attached texture, in texels
  unsigned int m_height;   ///< height of the attached texture, in texels
  bool m_initialized;      ///< init() has attached a texture

private:
  OM_INTERNAL void attachDepthBuffer();
  OM_INTERNAL void letGo(void (*deleteName)(GLuint name), GLuint& name) const;
  OM_INTERNAL OmBoolean attachColor(const OmTexture& texture, unsigned int index, GLuint name) const;

  OmShareGroup m_context; ///< the context in which the names live
};

#endif

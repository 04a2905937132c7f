#ifndef OM_TESTS_GL_DOUBLE_H
#define OM_TESTS_GL_DOUBLE_H

// GL without a card: the core functions that the library calls, as doubles that record the calls. The loader searches
// the program before the shared libraries, so the library calls these. One file of a test program includes this header.

#include "tests/support/xDouble.h"

#include <GL/gl.h>

#include <string>
#include <utility>
#include <vector>

namespace GLDouble
{

inline std::vector<std::string> calls;     ///< the recorded calls, as call() writes them
inline bool hasContext = true;             ///< whether a context is current
inline bool recording = true;              ///< false while allocations are counted
inline std::size_t callCount = 0;          ///< counts calls even while nothing is recorded
inline GLuint nextName = 1;                ///< the next texture name that glGenTextures() gives
inline std::vector<GLuint> knownTextures;  ///< the texture names for which glIsTexture() is true; 0 for deleted ones
inline std::vector<float> uploadedFloats;  ///< the pixels of the last float upload
inline std::vector<GLubyte> uploadedBytes; ///< the pixels of the last byte upload

template <class... Arguments>
void record(const char* name, Arguments... arguments)
{
  ++callCount;
  if (recording)
    calls.push_back(call(name, arguments...));
}

/// Returns the calls recorded since the last take(), and forgets them.
inline std::vector<std::string> take()
{
  return std::exchange(calls, {});
}

inline int components(GLenum format)
{
  return format == GL_LUMINANCE ? 1 : format == GL_LUMINANCE_ALPHA ? 2 : format == GL_RGBA ? 4 : 3;
}

inline void keepPixels(GLsizei width, GLsizei height, GLenum format, GLenum type, const void* pixels)
{
  uploadedFloats.clear();
  uploadedBytes.clear();
  if (!pixels || !recording)
    return;
  const auto count = static_cast<std::size_t>(width * height * components(format));
  if (type == GL_FLOAT)
    uploadedFloats.assign(static_cast<const float*>(pixels), static_cast<const float*>(pixels) + count);
  else
    uploadedBytes.assign(static_cast<const GLubyte*>(pixels), static_cast<const GLubyte*>(pixels) + count);
}

} // namespace GLDouble

extern "C"
{
#define OM_DOUBLE(name, parameters, ...)                                                                               \
  void name parameters                                                                                                 \
  {                                                                                                                    \
    GLDouble::record(#name, __VA_ARGS__);                                                                              \
  }

  OM_DOUBLE(glEnable, (GLenum capability), capability)
  OM_DOUBLE(glDisable, (GLenum capability), capability)
  OM_DOUBLE(glActiveTextureARB, (GLenum unit), unit)
  OM_DOUBLE(glMultiTexCoord2fARB, (GLenum unit, GLfloat s, GLfloat t), unit, s, t)
  OM_DOUBLE(glBindTexture, (GLenum target, GLuint name), target, name)
  OM_DOUBLE(glTexEnvi, (GLenum target, GLenum name, GLint value), target, name, value)
  OM_DOUBLE(glTexParameteri, (GLenum target, GLenum name, GLint value), target, name, value)
  OM_DOUBLE(glPixelStorei, (GLenum name, GLint value), name, value)
  OM_DOUBLE(glMatrixMode, (GLenum mode), mode)
  OM_DOUBLE(glLoadIdentity, (), "")
  OM_DOUBLE(glScalef, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
  OM_DOUBLE(glTranslatef, (GLfloat x, GLfloat y, GLfloat z), x, y, z)
  OM_DOUBLE(glColor3f, (GLfloat r, GLfloat g, GLfloat b), r, g, b)
  OM_DOUBLE(glBegin, (GLenum mode), mode)
  OM_DOUBLE(glEnd, (), "")
  OM_DOUBLE(glTexCoord2f, (GLfloat s, GLfloat t), s, t)
  OM_DOUBLE(glVertex2f, (GLfloat x, GLfloat y), x, y)
  OM_DOUBLE(glClear, (GLbitfield mask), mask)
  OM_DOUBLE(glClearColor, (GLfloat r, GLfloat g, GLfloat b, GLfloat a), r, g, b, a)
  OM_DOUBLE(glShadeModel, (GLenum mode), mode)
  OM_DOUBLE(glHint, (GLenum target, GLenum mode), target, mode)
  OM_DOUBLE(glViewport, (GLint x, GLint y, GLsizei width, GLsizei height), x, y, width, height)
  OM_DOUBLE(glOrtho, (GLdouble l, GLdouble r, GLdouble b, GLdouble t, GLdouble n, GLdouble f), l, r, b, t, n, f)
#undef OM_DOUBLE

  void glGenTextures(GLsizei count, GLuint* names)
  {
    for (GLsizei i = 0; i < count; ++i)
      GLDouble::knownTextures.push_back(names[i] = GLDouble::nextName++);
    GLDouble::record("glGenTextures", count);
  }

  void glDeleteTextures(GLsizei count, const GLuint* names)
  {
    for (GLsizei i = 0; i < count; ++i)
      for (GLuint& known : GLDouble::knownTextures)
        known = known == names[i] ? 0 : known;
    GLDouble::record("glDeleteTextures", count, *names);
  }

  GLboolean glIsTexture(GLuint name)
  {
    GLDouble::record("glIsTexture", name);
    for (const GLuint known : GLDouble::knownTextures)
      if (known == name)
        return GL_TRUE;
    return GL_FALSE;
  }

  const GLubyte* glGetString(GLenum)
  {
    return GLDouble::hasContext ? reinterpret_cast<const GLubyte*>("4.5") : nullptr;
  }

  void glGetIntegerv(GLenum name, GLint* value)
  {
    *value = GL_MODELVIEW;
    GLDouble::record("glGetIntegerv", name);
  }

  void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height, GLint border,
                    GLenum format, GLenum type, const void* pixels)
  {
    GLDouble::record("glTexImage2D", target, level, internalFormat, width, height, border, format, type,
                     pixels ? "pixels" : "null");
    GLDouble::keepPixels(width, height, format, type, pixels);
  }

  void glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                       GLenum type, const void* pixels)
  {
    GLDouble::record("glTexSubImage2D", target, level, x, y, width, height, format, type, pixels ? "pixels" : "null");
    GLDouble::keepPixels(width, height, format, type, pixels);
  }
}

#endif

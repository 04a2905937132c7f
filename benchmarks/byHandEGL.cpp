// What `omrender filter --shader invert` does, written by hand: EGL on the first device that opens, one shader, one
// draw, one read. Only the codec is the library's. It checks just enough to fail.
//   byHandEGL IN OUT         a picture file
//   byHandEGL WIDTH HEIGHT   raw RGBA frames of that size, from standard input to standard output

#include "image/omImage.h"
#include "image/omImageReaderWriter.h"

#define EGL_NO_X11
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <GL/glext.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

static EGLDisplay openDevice()
{
  const auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
  EGLDeviceEXT devices[16];
  EGLint count = 0;
  queryDevices(16, devices, &count);
  for (int i = 0; i < count; ++i)
    if (const EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        eglInitialize(display, nullptr, nullptr))
      return display;
  std::exit(1);
}

static void makeContext()
{
  const EGLDisplay display = openDevice();
  const EGLint attributes[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  eglChooseConfig(display, attributes, &config, 1, &count);
  eglBindAPI(EGL_OPENGL_API);
  const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
  if (!eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context))
    std::exit(1);
}

static void makeProgram()
{
  const char* const source = "uniform sampler2D image; void main() { vec4 c = texture2D(image, gl_TexCoord[0].st);"
                             "gl_FragColor = vec4(1.0 - c.rgb, c.a); }";
  const GLuint shader = glCreateShader(GL_FRAGMENT_SHADER);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  const GLuint program = glCreateProgram();
  glAttachShader(program, shader);
  glLinkProgram(program);
  glUseProgram(program);
}

static void makeTextures(GLsizei width, GLsizei height)
{
  GLuint textures[2];
  GLuint framebuffer = 0;
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGenTextures(2, textures);
  glBindTexture(GL_TEXTURE_2D, textures[1]);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glBindTexture(GL_TEXTURE_2D, textures[0]);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[1], 0);
  glViewport(0, 0, width, height);
}

static void filter(GLsizei width, GLsizei height, GLenum format, OmU8* pixels)
{
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, pixels);
  const GLfloat corners[] = {0, 0, 1, 0, 1, 1, 0, 1};
  glBegin(GL_QUADS);
  for (int i = 0; i < 8; i += 2)
  {
    glTexCoord2fv(corners + i);
    glVertex2f(2 * corners[i] - 1, 2 * corners[i + 1] - 1);
  }
  glEnd();
  glReadPixels(0, 0, width, height, format, GL_UNSIGNED_BYTE, pixels);
}

static bool filterStream(GLsizei width, GLsizei height)
{
  std::vector<OmU8> frame(std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  makeTextures(width, height);
  while (std::fread(frame.data(), frame.size(), 1, stdin) == 1)
  {
    filter(width, height, GL_RGBA, frame.data());
    std::fwrite(frame.data(), frame.size(), 1, stdout);
  }
  return true;
}

static bool filterFile(const char* from, const char* to)
{
  OmImage image;
  if (!OmImageReaderWriter::read(image, from))
    return false;
  const auto width = static_cast<GLsizei>(image.width());
  const auto height = static_cast<GLsizei>(image.height());
  makeTextures(width, height);
  filter(width, height, image.channels() == 4 ? GL_RGBA : GL_RGB, image.data()); // no grey pictures
  return OmImageReaderWriter::write(image, to);
}

int main(int, char** argv)
{
  makeContext();
  makeProgram();
  const int width = std::atoi(argv[1]);
  const bool done = width > 0 ? filterStream(width, std::atoi(argv[2])) : filterFile(argv[1], argv[2]);
  return done && glGetError() == GL_NO_ERROR ? 0 : 1;
}

// The library's X and GL calls, as a program without the library would write them.

#include "benchmarks/streams.h"

#include "render/omGL.h" // GL's names for the entry points mean the library's pointers in this program

#include <GL/glx.h>
#include <X11/Xutil.h>

#include <vector>

namespace
{

Bool isMapNotify(Display*, XEvent* event, XPointer window)
{
  return event->type == MapNotify && event->xmap.window == *reinterpret_cast<Window*>(window);
}

class HandWindow
{
public:
  HandWindow(OmU32 width, OmU32 height, bool shown = true) : m_width(width), m_height(height)
  {
    m_display = XOpenDisplay(nullptr);
    int tails[][3] = {{GLX_STEREO, GLX_DEPTH_SIZE, 32}, {GLX_STEREO, GLX_DEPTH_SIZE, 24}, {GLX_DEPTH_SIZE, 32, 0},
                      {GLX_DEPTH_SIZE, 24, 0},          {GLX_DEPTH_SIZE, 1, 0},           {0, 0, 0}};
    for (const auto& tail : tails)
    {
      int attributes[] = {GLX_DOUBLEBUFFER, GLX_RGBA, GLX_RED_SIZE, 8,   GLX_ALPHA_SIZE, 8,
                          tail[0],          tail[1],  tail[2],      None};
      if ((m_visual = glXChooseVisual(m_display, DefaultScreen(m_display), attributes)))
        break;
    }
    m_context = glXCreateContext(m_display, m_visual, nullptr, True);
    const Window root = RootWindow(m_display, m_visual->screen);
    XSetWindowAttributes attributes = {};
    attributes.event_mask = StructureNotifyMask;
    attributes.colormap = m_colormap = XCreateColormap(m_display, root, m_visual->visual, AllocNone);
    m_window = XCreateWindow(m_display, root, 0, 0, width, height, 0, m_visual->depth, InputOutput, m_visual->visual,
                             CWBorderPixel | CWEventMask | CWColormap, &attributes);
    if (shown)
    {
      XMapWindow(m_display, m_window);
      XEvent event;
      XIfEvent(m_display, &event, isMapNotify, reinterpret_cast<XPointer>(&m_window));
    }
    glXMakeCurrent(m_display, m_window, m_context);
    glClear(GL_COLOR_BUFFER_BIT);
    glXSwapBuffers(m_display, m_window);
    glDisable(GL_DITHER);
    glGenTextures(1, &m_texture);
    glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
  }
  ~HandWindow()
  {
    glDeleteTextures(1, &m_texture);
    glXMakeCurrent(m_display, None, nullptr);
    glXDestroyContext(m_display, m_context);
    XDestroyWindow(m_display, m_window);
    XFreeColormap(m_display, m_colormap);
    XFree(m_visual);
    XCloseDisplay(m_display);
  }
  HandWindow(const HandWindow&) = delete;
  HandWindow& operator=(const HandWindow&) = delete;

  void show(const OmImage& image)
  {
    upload(image);
    draw();
    swap();
  }

  void upload(const OmImage& image)
  {
    const auto width = static_cast<GLsizei>(image.width());
    const auto height = static_cast<GLsizei>(image.height());
    const GLenum format = image.channels() == 4 ? GL_RGBA : GL_RGB;
    glEnable(GL_TEXTURE_2D);
    glActiveTextureARB(GL_TEXTURE0_ARB);
    glBindTexture(GL_TEXTURE_2D, m_texture);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
      glTexParameteri(GL_TEXTURE_2D, wrap, GL_REPEAT);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
      glTexParameteri(GL_TEXTURE_2D, filter, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (m_stored)
      glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, image.data());
    else
      glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, format, GL_UNSIGNED_BYTE,
                   image.data());
    m_stored = true;
  }

  void draw() const
  {
    glClear(GL_COLOR_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, 1.0, 0.0, 1.0, -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_TEXTURE_2D);
    glActiveTextureARB(GL_TEXTURE0_ARB);
    glBindTexture(GL_TEXTURE_2D, m_texture);
    glColor3f(1.0f, 1.0f, 1.0f);
    glBegin(GL_QUADS);
    const float corners[][2] = {{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}};
    for (const auto& corner : corners)
    {
      glTexCoord2f(corner[0], 1.0f - corner[1]);
      glVertex2f(corner[0], corner[1]);
    }
    glEnd();
  }

  void swap() const { glXSwapBuffers(m_display, m_window); }

private:
  OmU32 m_width;
  OmU32 m_height;
  Display* m_display;
  XVisualInfo* m_visual = nullptr;
  GLXContext m_context;
  Colormap m_colormap;
  Window m_window;
  GLuint m_texture = 0;
  bool m_stored = false;
};

/// Draws twice a picture, as the library does: when it takes the picture, and when it captures.
class HandOffScreen
{
public:
  HandOffScreen(OmU32 width, OmU32 height) : m_window(width, height, false), m_width(width), m_height(height)
  {
    OmGL::init(); // finds the entry points of framebuffer objects
    glGenTextures(1, &m_target);
    glBindTexture(GL_TEXTURE_2D, m_target);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, static_cast<GLsizei>(width), static_cast<GLsizei>(height), 0, GL_RGB,
                 GL_UNSIGNED_BYTE, nullptr);
    glGenFramebuffersEXT(1, &m_framebuffer);
    bind(m_framebuffer);
    glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D, m_target, 0);
    bind(0);
  }
  ~HandOffScreen()
  {
    glDeleteFramebuffersEXT(1, &m_framebuffer);
    glDeleteTextures(1, &m_target);
  }
  HandOffScreen(const HandOffScreen&) = delete;
  HandOffScreen& operator=(const HandOffScreen&) = delete;

  const OmU8* render(const OmImage& image)
  {
    m_result.resize(image.byteSize());
    bind(m_framebuffer);
    m_window.upload(image);
    m_window.draw();
    bind(0);
    bind(m_framebuffer);
    m_window.draw();
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, static_cast<GLsizei>(m_width), static_cast<GLsizei>(m_height),
                 image.channels() == 4 ? GL_RGBA : GL_RGB, GL_UNSIGNED_BYTE, m_result.data());
    m_window.swap();
    bind(0);
    return m_result.data();
  }

private:
  static void bind(GLuint framebuffer) { glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, framebuffer); }

  HandWindow m_window;
  OmU32 m_width;
  OmU32 m_height;
  GLuint m_target = 0;
  GLuint m_framebuffer = 0;
  std::vector<OmU8> m_result;
};

} // namespace

void registerByHand()
{
  registerStreams<HandWindow, HandOffScreen>("byHand", {3, 4});
}

// The snippets of the classes that need a window's context: capabilities, entry points, textures, framebuffer objects,
// shaders and filters. The lines between two markers stand in a header, word for word.

#include "docs/snippets/snippet.h"
#include "image/omImage.h"
#include "image/omImageReaderWriter.h"
#include "render/omFrameBufferObject.h"
#include "render/omGL.h"
#include "render/omImageFilter.h"
#include "render/omShader.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "render/omTextureParameters.h"

#include <fstream>
#include <memory>

namespace
{

bool rendered = false;

void renderIntoFloatTexture()
{
  rendered = true;
}

void drawScene()
{
  glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT);
}

/// What was drawn, top row first.
OmImage readPixels(OmU32 width, OmU32 height)
{
  OmImage image;
  image.zeroFlippedImage(3, 0, width, height);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGB, GL_UNSIGNED_BYTE,
               image.flippedData());
  image.copyFromOrToFlipped(true);
  return image;
}

void capabilities()
{
  // [omGL.h
  if (OmGL::isSupported(OmGL::SupportFBO | OmGL::SupportFloatTexture))
    renderIntoFloatTexture();
  // omGL.h]
  const OmU32 both = OmGL::SupportFBO | OmGL::SupportFloatTexture;
  CHECK(rendered == ((OmGL::supportStatus & both) == both));
}

void entryPoints()
{
  constexpr GLenum buffers[] = {GL_BACK_LEFT, GL_NONE};
  // [omGLEntryPoints.def
  if (OmGL::isSupported(OmGL::SupportDrawBuffers))
    glDrawBuffersARB(2, buffers);
  // omGLEntryPoints.def]
  CHECK(OmGL::printGLError(__FILE__, __LINE__));
}

void texture(OmSimpleWindow& window, const OmImage& image)
{
  CHECK(OmImageReaderWriter::write(image, "photo.jpg")); // a PNG file: the reader looks at the content, not the name
  window.clear();
  window.setGLOrtho();
  // [omTexture.h
  OmTexture texture;
  if (texture.loadFromFile("photo.jpg", OmTextureParameters(), OmImage::TopRowFirst))
    texture.drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f);
  // omTexture.h]
  CHECK(isSame(readPixels(image.width(), image.height()), image));
}

void textureParameters(const OmImage& image)
{
  OmTexture texture;
  // [omTextureParameters.h
  OmTextureParameters parameters;
  parameters.setInternalFormat(OmTextureParameters::RGB32F);
  parameters.setWrapType(GL_CLAMP_TO_EDGE);
  texture.loadFromImage(image, parameters);
  // omTextureParameters.h]
  GLint format = 0;
  GLint wrap = 0;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
  glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &wrap);
  CHECK(format == GL_RGB32F_ARB && wrap == GL_CLAMP_TO_EDGE);
}

bool frameBufferObject()
{
  // [omFrameBufferObject.h
  OmTexture target;
  target.loadShell(512, 512, OmTextureParameters());
  OmFrameBufferObject framebuffer;
  if (!framebuffer.init(target, OmFrameBufferObject::Color, 0))
    return false; // the reason has been printed
  framebuffer.bind();
  glViewport(0, 0, 512, 512);
  drawScene();
  OmFrameBufferObject::unbind();
  // omFrameBufferObject.h]
  const OmImage window = readPixels(1, 1);
  framebuffer.bind();
  const OmImage drawn = readPixels(512, 512);
  OmFrameBufferObject::unbind();
  CHECK(drawn.data()[0] == 255 && drawn.data()[512 * 512 * 3 - 3] == 255 && drawn.data()[1] == 0);
  CHECK(window.data()[0] == 0); // drawScene() has not drawn into the window
  return true;
}

bool shader(OmSimpleWindow& window, const OmImage& image)
{
  std::ofstream("edges.frag") << "uniform sampler2D picture;\n"
                                 "uniform float strength;\n"
                                 "void main() { gl_FragColor = strength * texture2D(picture, gl_TexCoord[0].st); }\n";
  OmTexture texture;
  CHECK(texture.loadFromImage(image, OmTextureParameters()));
  window.setWindowSize(image.width(), image.height());
  window.clear();
  window.setGLOrtho();
  // [omShader.h
  OmShader shader;
  if (!shader.loadShaderFromFile("edges.frag", OmShader::Fragment) ||
      !shader.loadShaderFromString(OmShader::getVertexShader(), OmShader::Vertex))
    return false;      // the compiler's log has been printed
  shader.attach(true); // linked and in use
  glUniform1fARB(shader.getUniformLocation("strength"), 0.5f);
  texture.drawScreenAlignedQuad(0.0f, 0.0f, 1.0f, 1.0f);
  shader.disable();
  // omShader.h]
  const OmImage half = readPixels(image.width(), image.height());
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    CHECK(std::abs(2 * half.data()[i] - image.data()[i]) <= 2);
  return true;
}

bool imageFilter(const OmImage& image)
{
  std::ofstream("blur.frag") << "// default: radius=1\n"
                                "uniform sampler2D image;\n"
                                "uniform float radius;\n"
                                "void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st) / radius; }\n";
  // [omImageFilter.h
  OmImageFilter filter;
  OmImage result;
  if (!filter.loadShaderFromFile("blur.frag", OmShader::Fragment) || !filter.set("radius=3.5") ||
      !filter.run(image, result))
    return false; // the reason has been printed
  // omImageFilter.h]
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    CHECK(std::abs(7 * result.data()[i] - 2 * image.data()[i]) <= 4);
  std::ofstream("edges.frag") << "uniform sampler2D image; void main() { gl_FragColor = 0.5 * texture2D(image, "
                                 "gl_TexCoord[0].st); }";
  // [omImageFilter.h: a chain
  const auto edges = std::make_shared<OmImageFilter>();
  if (!edges->loadShaderFromFile("edges.frag", OmShader::Fragment) || !filter.setNext(edges))
    return false;
  // omImageFilter.h: a chain]
  CHECK(filter.run(image, result));
  for (std::size_t i = 0; i < image.byteSize(); ++i)
    CHECK(std::abs(7 * result.data()[i] - image.data()[i]) <= 8);
  return true;
}

} // namespace

int main()
{
  const Workplace workplace;
  const OmImage image = makePicture(61, 37);
  OmSimpleWindow window;
  CHECK(window.setImageBuffer(OmImage(3, 61, 37), true));
  capabilities();
  entryPoints();
  texture(window, image);
  textureParameters(image);
  window.clear();
  CHECK(frameBufferObject());
  glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
  glViewport(0, 0, 61, 37);
  CHECK(shader(window, image));
  CHECK(imageFilter(image));
  return 0;
}

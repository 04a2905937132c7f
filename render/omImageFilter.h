#ifndef OM_IMAGE_FILTER_H
#define OM_IMAGE_FILTER_H

#include "foundation/core/omTypes.h"
#include "render/omShader.h"

#include <memory>
#include <vector>

class OmColorTable;
class OmDeepImage;
class OmImage;

/// Runs a fragment shader over images, on the card and off screen.
///
/// \code
///   OmImageFilter filter;
///   OmImage result;
///   if (!filter.loadShaderFromFile("blur.frag", OmShader::Fragment) || !filter.set("radius=3.5") ||
///       !filter.run(image, result))
///     return false; // the reason has been printed
/// \endcode
///
/// The shader is called for each pixel of the result. It reads the image by `texture2D(image, gl_TexCoord[0].st)`, in
/// which y runs from the top down, and writes `gl_FragColor`. Reads beyond the edge give the edge, on every card. Of
/// these uniforms it gets those that it has:
///
/// | uniform | what it is |
/// |---|---|
/// | `sampler2D image` | the image, or what the pass before made of it |
/// | `vec2 imageSize` | its size in pixels |
/// | `vec2 texelSize` | the size of a pixel in texture coordinates |
/// | `int pass` | the number of the pass, from 0 |
/// | `vec2 direction` | (1, 0) in even passes, (0, 1) in odd ones |
/// | `sampler2D NAME`, `vec2 NAMESize`, `vec2 NAMETexelSize` | a picture of setPicture(), and the two sizes for it |
/// | `vec3 NAMEDomainMin`, `vec3 NAMEDomainMax` | the domain of a colour table; 0 and 1 for another picture |
/// | `int NAMEEntries` | the texels of a table of 1 dimension, otherwise 0 |
///
/// The comment lines at the start of the shader may say how often it runs and what its settings are by default:
///
///     // passes: 2
///     // default: radius=3 (what follows the value is for readers)
///
/// Values are written as for set().
///
/// The filter works in the context of the current window (OmWindow::getWindow()), and leaves GL there as it was:
/// framebuffer, program, viewport, matrices, textures and the state of pixel transfers. Only GL errors that were
/// pending are gone. Sampler objects, queries and transform feedback must not be active. If another context is current
/// at a later call, the filter starts over there.
///
/// While no window is current, the filter opens a hidden one and keeps it: from then on it works there, whatever window
/// is current. Afterwards that window is current again, or none; a context that the program itself made current is not.
/// The hidden window needs no display: it is of EGL (OmWindow::ImplEGL) if that is the process's type
/// (OmWindow::setImplType()) or DISPLAY is not set, otherwise of X11.
///
/// Filters run one after another over an image by setNext():
///
/// \code
///   const auto edges = std::make_shared<OmImageFilter>();
///   if (!edges->loadShaderFromFile("edges.frag", OmShader::Fragment) || !filter.setNext(edges))
///     return false;
/// \endcode
///
/// One run, of a chain too, costs one upload, one drawing for each pass, and one read. Images of the same size and
/// channel count one after another use the same storage on the card and in memory. Needs shaders (OmGL::SupportShaders)
/// and framebuffer objects (OmGL::SupportFBO). All operations belong on one thread, as those of windows do.
class OM_EXPORT OmImageFilter
{
public:
  /// A uniform of the shader and its value. One of the two lists is empty.
  struct Setting
  {
    OmString name;             ///< of the uniform; an element of an array is "name[1]"
    std::vector<float> floats; ///< for float and vec2 to vec4; for mat2 to mat4 by rows
    std::vector<int> integers; ///< for int and ivec2 to ivec4; for bool and bvec2 to bvec4, 1 being true
  };

  /// A filter without a shader. Opens nothing and makes no GL call.
  OmImageFilter();
  OmImageFilter(const OmImageFilter&) = delete;
  OmImageFilter& operator=(const OmImageFilter&) = delete;
  /// Deletes what the filter has on the card, and closes its hidden window. The current window stays current.
  ~OmImageFilter();

  /// Reads the fragment shader, or a vertex shader in place of OmShader::getVertexShader(), from a file that
  /// Om::Application::findFile() finds. Returns false, with an error message and the shader before kept, if the file
  /// cannot be read, if its comment lines make no sense, and for a geometry shader. Makes no GL call: init() and run()
  /// compile.
  OmBoolean loadShaderFromFile(const OmString& fileName, OmShader::ShaderType type);
  /// The same with the text of a shader.
  OmBoolean loadShaderFromString(const OmString& source, OmShader::ShaderType type);

  /// Sets a uniform from text. Its type says how many numbers it takes and of which kind: "radius=3.5", "count=3",
  /// "tint=1,0.5,0", "on=true". The 4, 9 or 16 numbers of a matrix stand as one writes it, row by row. A number like
  /// "i3" fits whole numbers alone. Returns false, with an error message, for a text of no such form. Whether the
  /// shader has such a uniform, and of which type, is seen by init() and run().
  OmBoolean set(const OmString& setting);
  /// Sets a uniform of floats: float, vec2 to vec4, or mat2 to mat4 row by row. For bool and bvec2 to bvec4 0 is false.
  void setFloats(const OmString& name, const std::vector<float>& values);
  /// Sets a uniform of whole numbers: int, ivec2 to ivec4, or bool and bvec2 to bvec4, for which 0 is false.
  void setIntegers(const OmString& name, const std::vector<int>& values);
  /// Whether set() takes the text.
  static OmBoolean isSetting(const OmString& text);
  /// Gives the shader another picture as the sampler `name`, or takes it away if the image has no pixels. It is
  /// copied, and read like the image of run().
  void setPicture(const OmString& name, const OmImage& picture);
  /// Gives the shader a colour table as the sampler `name`, or takes it away if the table has no dimensions. It is
  /// copied. A table of 3 dimensions and N texels along an axis is a picture of N squares side by side, of N x N pixels
  /// each; in a square red grows from left to right and green from top to bottom, and blue grows from square to square.
  /// A table of 1 dimension lies in rows of up to 256 pixels. The pixels are 32-bit floats (OmGL::SupportFloatTexture);
  /// on a card without them bytes, from 0 to 1.
  void setPicture(const OmString& name, const OmColorTable& table);

  /// Sets how often the shader runs, each time over what it made before. 0, the default: as often as its comment lines
  /// say, or once.
  void setPasses(OmU32 passes);
  /// With true, keeps 32-bit floats between the passes, neither rounded nor clamped (OmGL::SupportFloatTexture).
  /// Otherwise bytes.
  void setFloatsBetweenPasses(OmBoolean floats);
  /// Sets the size of the result in pixels. An image of another size is scaled before the shader sees it, as
  /// OmImageScaling::scaled() does, on the processor; so it may be larger than the card can hold. With a 0, as by
  /// default, the result has the size of the image.
  void setSize(OmU32 width, OmU32 height);

  /// Hands the results on to another filter, and so on, before run() returns them: what comes out is what each of them
  /// would make of the result of the one before, but the pictures stay on the card in between. Of this filter alone
  /// setSize() and setOpaque() count, and the others work in its context. Where setFloatsBetweenPasses() has been
  /// called with true, that filter also hands on floats; then the next one reads what a byte does not hold. Null: no
  /// filter follows, as by default. Returns false, with an error message, if a filter would come after itself.
  OmBoolean setNext(const std::shared_ptr<OmImageFilter>& next);
  /// With true, the alpha of the images is 1 everywhere and says nothing, so that of the results does not either: each
  /// filter of a chain reads alpha as 1, as it does for images without alpha.
  void setOpaque(OmBoolean opaque);

  /// Does what run() would do before its first image: opens the hidden window if no window is current, compiles, links,
  /// sets uniforms and loads pictures. Returns false, with an error message, if there is no shader, if it does not
  /// compile or link, if it has a sampler that is no sampler2D, if it has no uniform or sampler of a name that was set
  /// or another type for it, or if the card lacks something. A warning of the driver's compiler is printed as one.
  OmBoolean init();
  /// The samplers that the shader reads besides `image`. Empty before the first init() or run() that compiled it.
  const std::vector<OmString>& pictureNames() const;
  /// The uniforms that set() takes values for, in the order of their names, with the values that they have now: what
  /// was set, what the shader's comment lines say, what GLSL's initializers say, or 0. Without those that the filter
  /// sets itself, and those that the shader makes no use of. Does what init() does, and is empty if that fails.
  std::vector<Setting> settings();
  /// The largest side in pixels that a result may have on this card, and an image that is not scaled; opens the hidden
  /// window if no window is current. 0, with an error message, if none opens.
  OmU32 largestSide();

  /// Filters an image of 1 to 4 channels, or its flipped copy if that is in use (OmImage::isFlipped()). Grey is read as
  /// RGB with equal channels, alpha as 1 if there is none. The result has 4 channels, RGBA, if the image has alpha (2
  /// or 4 channels), otherwise 3, RGB; rows top row first. A result that has the right shape already keeps its memory.
  /// `result` may be the image. Returns false, with an error message and the result unchanged, if init() fails, if a
  /// sampler has no picture, if the image has no pixels or more than 4 channels, and if the card cannot hold the
  /// result.
  OmBoolean run(const OmImage& image, OmImage& result);
  /// The same with 16-bit channels: bytes above are words here, between the passes too. A card that does not keep 16
  /// bits in textures is given 32-bit floats in their place, which are not clamped between the passes; one that has
  /// neither makes this fail.
  OmBoolean run(const OmDeepImage& image, OmDeepImage& result);
  /// Whether the card keeps 16-bit channels; opens the hidden window if no window is current. If none opens, false is
  /// returned and an error message printed.
  OmBoolean takesDeepImages();

private:
  class OM_INTERNAL Work;

  std::unique_ptr<Work> m_work;
};

#endif

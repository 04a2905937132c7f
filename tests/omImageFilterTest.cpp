#include "render/omImageFilter.h"

#include "image/omImage.h"
#include "render/omFBOWindow.h"
#include "render/omGL.h"
#include "render/omTexture.h"
#include "tests/support/card.h"
#include "tests/support/pictures.h"
#include "tests/support/printCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

namespace
{

constexpr char Identity[] =
    "uniform sampler2D image; void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st); }";
constexpr char Negative[] =
    "uniform sampler2D image; void main() { gl_FragColor = 1.0 - texture2D(image, gl_TexCoord[0].st); }";
/// Moves the picture one pixel to the left and two up in each pass; what comes in is the edge.
constexpr char Shift[] = R"(// passes: 3
uniform sampler2D image; uniform vec2 texelSize;
void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st + vec2(1.0, 2.0) * texelSize); })";
/// Multiplies beyond what a byte holds, and back.
constexpr char Excess[] = R"(// passes: 2
uniform sampler2D image; uniform int pass;
void main() { vec4 c = texture2D(image, gl_TexCoord[0].st); gl_FragColor = pass == 0 ? 8.0 * c - 3.0 : (c + 3.0) / 8.0; })";

/// What a filter makes of a picture: for each pixel the one `dx` to its right and `dy` below, with `flips` in each
/// byte.
OmImage expected(const OmImage& image, OmU32 dx = 0, OmU32 dy = 0, OmU8 flips = 0)
{
  const OmU32 channels = image.channels();
  OmImage result(channels % 2 == 0 ? 4 : 3, image.width(), image.height());
  OmU8* to = result.data();
  for (OmU32 y = 0; y < image.height(); ++y)
    for (OmU32 x = 0; x < image.width(); ++x)
    {
      const std::size_t pixel =
          std::size_t{std::min(y + dy, image.height() - 1)} * image.width() + std::min(x + dx, image.width() - 1);
      for (OmU32 c = 0; c < result.channels(); ++c)
        *to++ = image.data()[pixel * channels + (c == 3 ? channels - 1 : channels < 3 ? 0 : c)] ^ flips;
    }
  return result;
}

template <class Window = OmSimpleWindow>
std::unique_ptr<Window> open(const OmWindow* partner = nullptr)
{
  auto window = std::make_unique<Window>();
  window->setWindowSize(8, 8);
  window->setHideWindow(true);
  window->share(partner);
  return window->init() ? std::move(window) : nullptr;
}

std::unique_ptr<OmImageFilter> filterOf(const char* source)
{
  auto filter = std::make_unique<OmImageFilter>();
  EXPECT_TRUE(filter->loadShaderFromString(source, OmShader::Fragment));
  return filter;
}

std::size_t wrongBytes(OmImageFilter& filter, const OmImage& image, const OmImage& wanted)
{
  OmImage result;
  return filter.run(image, result) ? differences(result, wanted) : wanted.byteSize() + 1;
}

/// The first pixel that a filter makes of a black one.
std::vector<int> colour(OmImageFilter& filter)
{
  OmImage result;
  if (!filter.run(OmImage(4, 1, 1), result))
    return {};
  return {result.data(), result.data() + 4};
}

/// How many shaders and programs there are; drivers hand out small names.
std::size_t shaderObjects()
{
  std::size_t count = 0;
  for (GLhandleARB handle = 1; handle < 64; ++handle)
  {
    GLint type = 0;
    glGetObjectParameterivARB(handle, GL_OBJECT_TYPE_ARB, &type);
    count += type != 0;
  }
  return count;
}

// clang-format off
const GLenum States[] = {
    GL_VIEWPORT, GL_MATRIX_MODE, GL_PROJECTION_MATRIX, GL_MODELVIEW_MATRIX, GL_TEXTURE_MATRIX, GL_CURRENT_COLOR,
    GL_CURRENT_TEXTURE_COORDS, GL_FRAMEBUFFER_BINDING_EXT, GL_READ_FRAMEBUFFER_BINDING_EXT, GL_ACTIVE_TEXTURE,
    GL_TEXTURE_BINDING_2D, GL_TEXTURE_2D, GL_PIXEL_PACK_BUFFER_BINDING_ARB, GL_PIXEL_UNPACK_BUFFER_BINDING_ARB,
    GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_UNPACK_ALIGNMENT, GL_UNPACK_SKIP_ROWS, GL_UNPACK_ROW_LENGTH, GL_BLEND,
    GL_DEPTH_TEST, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_CULL_FACE_MODE, GL_ALPHA_TEST, GL_DITHER,
    GL_CLIP_PLANE0, GL_COLOR_LOGIC_OP, GL_COLOR_WRITEMASK, GL_POLYGON_MODE, GL_RED_SCALE, GL_GREEN_BIAS,
    GL_DRAW_BUFFER, GL_READ_BUFFER, GL_ATTRIB_STACK_DEPTH, GL_PROJECTION_STACK_DEPTH};
// clang-format on

using State = std::map<GLenum, std::vector<GLfloat>>;

State state()
{
  State result;
  for (const GLenum name : States)
  {
    std::vector<GLfloat>& values = result[name];
    values.resize(16);
    glGetFloatv(name, values.data());
  }
  result[GL_CURRENT_PROGRAM] = {static_cast<GLfloat>(glGetHandleARB(GL_PROGRAM_OBJECT_ARB))};
  GLint unit = 0;
  glGetIntegerv(GL_ACTIVE_TEXTURE, &unit);
  for (GLenum other = GL_TEXTURE0; other < GL_TEXTURE3; ++other)
  {
    glActiveTextureARB(other);
    std::vector<GLfloat>& values = result[other];
    values.resize(18);
    glGetFloatv(GL_TEXTURE_MATRIX, values.data());
    glGetFloatv(GL_TEXTURE_BINDING_2D, &values[16]);
    glGetFloatv(GL_TEXTURE_2D, &values[17]);
  }
  glActiveTextureARB(static_cast<GLenum>(unit));
  return result;
}

/// State in which little of a picture would come through.
void setHostileState(OmTexture& texture, OmShader& shader, OmFrameBufferObject& framebuffer, GLuint buffer)
{
  framebuffer.bind();
  shader.attach(true);
  glViewport(1, 2, 3, 4);
  for (const int mode : {GL_PROJECTION, GL_TEXTURE, GL_MODELVIEW})
  {
    glMatrixMode(static_cast<GLenum>(mode));
    glScalef(0.5f, 0.25f, 1.0f);
  }
  texture.setUnit(1);
  texture.bind();
  for (const int capability : {GL_BLEND, GL_DEPTH_TEST, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_ALPHA_TEST,
                               GL_CLIP_PLANE0, GL_COLOR_LOGIC_OP, GL_POLYGON_STIPPLE})
    glEnable(static_cast<GLenum>(capability));
  glScissor(0, 0, 1, 1);
  glCullFace(GL_FRONT_AND_BACK);
  glAlphaFunc(GL_NEVER, 0.0f);
  glStencilFunc(GL_NEVER, 0, 0);
  glLogicOp(GL_CLEAR);
  glColorMask(GL_TRUE, GL_FALSE, GL_FALSE, GL_FALSE);
  glPolygonMode(GL_FRONT_AND_BACK, GL_POINT);
  glColor4f(0.25f, 0.5f, 0.75f, 1.0f);
  glTexCoord2f(0.5f, 0.25f);
  glPixelTransferf(GL_RED_SCALE, 0.5f);
  glPixelTransferf(GL_GREEN_BIAS, 0.5f);
  glPixelStorei(GL_PACK_ALIGNMENT, 8);
  glPixelStorei(GL_PACK_ROW_LENGTH, 3);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 5);
  glPixelStorei(GL_UNPACK_SKIP_ROWS, 1);
  glBindBufferARB(GL_PIXEL_PACK_BUFFER_ARB, buffer);
  glBindBufferARB(GL_PIXEL_UNPACK_BUFFER_ARB, buffer);
}

} // namespace

TEST(omImageFilterTest, ResultsAreThoseOfTheShader)
{
  const auto window = open();
  ASSERT_TRUE(window);
  const auto identity = filterOf(Identity);
  const auto negative = filterOf(Negative);
  const auto shift = filterOf(Shift);
  const auto excess = filterOf(Excess);
  excess->setFloatsBetweenPasses(true);
  for (OmU32 channels = 1; channels <= 4; ++channels)
    for (const auto& [width, height] : {std::pair<OmU32, OmU32>(1, 1), {2, 3}, {37, 23}, {64, 32}, {5, 1}})
    {
      SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(width) + " x " + std::to_string(height));
      OmImage image = makePicture(channels, width, height);
      EXPECT_EQ(wrongBytes(*identity, image, expected(image)), 0u);
      EXPECT_EQ(wrongBytes(*shift, image, expected(image, 3, 6)), 0u);
      EXPECT_EQ(wrongBytes(*excess, image, expected(image)), 0u);
      EXPECT_EQ(wrongBytes(*negative, image, expected(image, 0, 0, 255)), 0u);
      image.copyFromOrToFlipped(false);
      EXPECT_EQ(wrongBytes(*shift, image, expected(image, 3, 6)), 0u);
      const OmImage wanted = expected(image, 3, 6);
      EXPECT_TRUE(shift->run(image, image)); // in place
      EXPECT_EQ(differences(image, wanted), 0u);
      EXPECT_FALSE(image.isFlipped());
    }
  const OmImage image = makePicture(3, 37, 23);
  EXPECT_TRUE(identity->loadShaderFromString(Negative, OmShader::Fragment));
  EXPECT_EQ(wrongBytes(*identity, image, expected(image, 0, 0, 255)), 0u);
  shift->setPasses(1);
  EXPECT_EQ(wrongBytes(*shift, image, expected(image, 1, 2)), 0u);
  EXPECT_EQ(wrongBytes(*excess, image, expected(image)), 0u);
  excess->setFloatsBetweenPasses(false);
  EXPECT_GT(wrongBytes(*excess, image, expected(image)), image.byteSize() / 2);
  const auto alpha =
      filterOf("uniform sampler2D image; void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st).aaaa; }");
  EXPECT_EQ(wrongBytes(*alpha, OmImage(3, 37, 23), expected(OmImage(3, 37, 23), 0, 0, 255)), 0u);
}

TEST(omImageFilterTest, SettingsReachTheShader)
{
  const auto window = open();
  ASSERT_TRUE(window);
  const auto filter = filterOf(R"(// passes: 1
// default: one=0.2 (and a remark)
// default: missing=3
uniform float one; uniform vec2 two; uniform vec3 three; uniform int whole; uniform ivec2 wholes;
void main() { gl_FragColor = vec4(one + two.y, three.x + three.z, float(whole + wholes.y) / 255.0, two.x + three.y); })");
  EXPECT_EQ(colour(*filter), (std::vector<int>{51, 0, 0, 0}));
  for (const char* setting : {"one=0.4", "two=0.2,0.6", "three=0.2,0.4,0.6", "whole=i7", "wholes=i1,i-2"})
    EXPECT_TRUE(filter->set(setting));
  EXPECT_EQ(colour(*filter), (std::vector<int>{255, 204, 5, 153}));
  filter->setFloats("one", {-0.6f});
  filter->setFloats("two", {0.0f, 0.8f});
  filter->setFloats("three", {0.0f, 0.2f, 0.4f});
  filter->setIntegers("whole", {8});
  filter->setIntegers("wholes", {0, 1});
  EXPECT_EQ(colour(*filter), (std::vector<int>{51, 102, 9, 51}));

  const PrintCapture print(4);
  const char* const wrong[] = {"one",      "=1",       "one=",       "one=nan",
                               "one=1e99", "one=1,2i", "one=1,",     "one=1;2",
                               "one=i1,2", "one=True", "one=1,true", "one=1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17"};
  for (const char* text : wrong)
    EXPECT_FALSE(OmImageFilter::isSetting(text) || filter->set(text)) << text;
  EXPECT_EQ(print.messages().size(), std::size(wrong));
  EXPECT_EQ(colour(*filter), (std::vector<int>{51, 102, 9, 51}));
}

TEST(omImageFilterTest, TheTypeOfAUniformSaysWhatItTakes)
{
  const auto window = open();
  ASSERT_TRUE(window);
  // What comes out is, in 255ths, what `value` makes of the uniform u; or the failure.
  const struct
  {
    const char* declaration;
    const char* value;
    const char* setting;
    std::vector<int> colour;
    const char* failure = "";
  } cases[] = {
      {"vec4 u", "u / 255.0", "u=1,2,3,4", {1, 2, 3, 4}},
      {"int u", "vec4(u) / 255.0", "u=3", {3, 3, 3, 3}},
      {"int u", "vec4(u - 16777216) / 255.0", "u=16777217", {1, 1, 1, 1}}, // no float has it
      {"ivec3 u", "vec4(u, 9) / 255.0", "u=1,2,3", {1, 2, 3, 9}},
      {"ivec4 u", "vec4(u) / 255.0", "u=i1,i2,i3,i4", {1, 2, 3, 4}},
      {"bool u", "vec4(u)", "u=true", {255, 255, 255, 255}},
      {"bool u", "vec4(u)", "u=0.5", {255, 255, 255, 255}},
      {"bvec3 u", "vec4(u, 1)", "u=false,true,false", {0, 255, 0, 255}},
      {"bvec2 u", "vec4(u, u)", "u=1,0", {255, 0, 255, 0}},
      {"mat2 u", "vec4(u[0], u[1]) / 255.0", "u=1,2,3,4", {1, 3, 2, 4}}, // u[0] is a column
      {"mat3 u", "vec4(u * vec3(1, 0, 0), u[2][0]) / 255.0", "u=1,2,3,4,5,6,7,8,9", {1, 4, 7, 3}},
      {"mat4 u", "u * vec4(0, 1, 0, 0) / 255.0", "u=1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16", {2, 6, 10, 14}},
      {"float u[3]", "vec4(u[1], u[2], 0, 0) / 255.0", "u[2]=7", {0, 7, 0, 0}},
      {"float u[3]", "vec4(u[1], u[0], 0, u[2]) / 255.0", "u=7", {0, 7, 0, 0}},
      {"float u[3]", "vec4(u[1], u[0], 0, u[2]) / 255.0", "u[0]=7", {0, 7, 0, 0}},
      {"int u", "vec4(u)", "u=1.5", {}, "is an int, not a float."},
      {"int u", "vec4(u)", "u=true", {}, "is an int, not true or false."},
      {"float u", "vec4(u)", "u=true", {}, "is a float, not true or false."},
      {"ivec2 u", "u.xyxy", "u=1", {}, "is an ivec2, not 1 number."},
      {"ivec2 u", "u.xyxy", "u=1,2.5", {}, "is an ivec2, not 2 floats."},
      {"bvec2 u", "vec4(u, u)", "u=true,true,true", {}, "is a bvec2, not 3 numbers."},
      {"mat3 u", "u[0].xyzz", "u=1,2,3,4", {}, "is a mat3 of 9 numbers, not 4 numbers."},
      {"mat2x3 u", "u[0].xyzz", "u=1,2,3,4,5,6", {}, "has a type that takes no setting."},
      {"sampler2D u", "texture2D(u, vec2(0.0))", "u=i1", {}, "is a sampler, which reads a picture."},
  };
  for (const auto& one : cases)
  {
    const OmString program = OmString("#version 120\nuniform ") + one.declaration +
                             "; void main() { gl_FragColor = vec4(" + one.value + "); }";
    SCOPED_TRACE(OmString(one.declaration) + ", " + one.setting);
    for (const OmString& comment : {OmString(), "// default: " + OmString(one.setting) + "\n"})
    {
      const auto filter = filterOf((comment + program).c_str());
      EXPECT_TRUE(!comment.empty() || filter->set(one.setting));
      const PrintCapture print(4);
      EXPECT_EQ(colour(*filter), one.colour);
      EXPECT_EQ(print.messages().empty(), !one.colour.empty());
      for (const auto& [type, text] : print.messages())
        EXPECT_EQ(text, OmString("OmImageFilter: the uniform \"u\" of the fragment shader ") + one.failure + "\n");
    }
  }
}

TEST(omImageFilterTest, PicturesAndSizes)
{
  const auto window = open();
  ASSERT_TRUE(window);
  const auto filter =
      filterOf("uniform sampler2D image, a, b; uniform vec2 aSize, bTexelSize; void main() { gl_FragColor = "
               "texture2D(image, gl_TexCoord[0].st) + vec4(texture2D(a, vec2(9.0)).r, texture2D(b, "
               "bTexelSize * 0.5).gb + vec2(aSize.x, 1.0 / bTexelSize.y / 5.0) / 255.0, 0.0); }");
  OmImage a(1, 3, 2);
  OmImage b(3, 2, 4);
  a.data()[5] = 50;
  b.data()[1] = 20;
  b.data()[2] = 30;
  filter->setPicture("a", a);
  filter->setPicture("b", b);
  ASSERT_TRUE(filter->init());
  EXPECT_EQ(filter->pictureNames().size(), 2u);
  EXPECT_EQ(colour(*filter), (std::vector<int>{50, 23, 31, 0}));
  a.data()[5] = 60;
  a.copyFromOrToFlipped(false);
  filter->setPicture("a", a);
  EXPECT_EQ(colour(*filter)[0], 60);

  const auto enlarged = filterOf(Identity);
  enlarged->setSize(4, 2);
  OmImage dots(3, 2, 1);
  std::fill(dots.data() + 3, dots.data() + 6, OmU8{200});
  OmImage result;
  ASSERT_TRUE(enlarged->run(dots, result));
  ASSERT_EQ(result.byteSize(), 24u);
  for (const auto& [x, value] : {std::pair(0, 0), {1, 50}, {2, 150}, {3, 200}})
    for (const int row : {0, 4})
      EXPECT_NEAR(result.data()[3 * (row + x)], value, 1) << x;
  enlarged->setSize(0, 0);
  EXPECT_EQ(wrongBytes(*enlarged, dots, dots), 0u);
}

TEST(omImageFilterTest, ChainsAreTheirFiltersOneAfterAnother)
{
  const auto window = open();
  ASSERT_TRUE(window);
  constexpr char Times8[] = "uniform sampler2D image; uniform float f; void main() { gl_FragColor = "
                            "texture2D(image, gl_TexCoord[0].st) * f - 3.0; }";
  constexpr char By8[] = "uniform sampler2D image; uniform float f; void main() { gl_FragColor = (3.0 + "
                         "texture2D(image, gl_TexCoord[0].st)) / f; }";
  constexpr char Add[] = "uniform sampler2D image, b; void main() { gl_FragColor = "
                         "texture2D(image, gl_TexCoord[0].st) * 0.75 + 0.5 * texture2D(b, vec2(0.5)); }";
  for (const std::vector<const char*>& sources :
       std::vector<std::vector<const char*>>{{Negative, Shift}, {Add, Shift, Add, Negative}, {Times8, By8}})
    for (const OmU32 channels : {1u, 2u, 3u, 4u})
    {
      SCOPED_TRACE(OmString(sources[0]) + ", " + std::to_string(channels) + " channels");
      const bool isFloat = sources[0] == Times8;
      std::vector<std::shared_ptr<OmImageFilter>> filters;
      const OmImage image = makePicture(channels, 37, 23);
      OmImage wanted = image;
      for (const char* const source : sources)
      {
        filters.push_back(filterOf(source));
        filters.back()->setFloatsBetweenPasses(isFloat);
        if (isFloat)
          filters.back()->set("f=8");
        if (source == Add)
          filters.back()->setPicture("b", makePicture(4, 1, 1, static_cast<OmU32>(filters.size())));
        OmImage next;
        ASSERT_TRUE(filters.back()->run(wanted, next));
        wanted = next;
      }
      for (std::size_t i = sources.size() - 1; i > 0; --i)
        ASSERT_TRUE(filters[i - 1]->setNext(filters[i]));
      for (int run = 0; run < 2; ++run)
      {
        const PrintCapture print;
        EXPECT_EQ(wrongBytes(*filters[0], image, isFloat ? expected(image) : wanted), 0u);
        EXPECT_TRUE(run == 0 || print.messages() == (Messages{{2, "Reusing texture.\n"}})); // the one upload
      }
    }

  // Alpha that is said to be nothing is 1 again for the next.
  const auto alpha = filterOf("void main() { gl_FragColor = vec4(0.2); }");
  const std::shared_ptr<OmImageFilter> reader =
      filterOf("uniform sampler2D image; uniform float f; void main() { gl_FragColor = texture2D(image, "
               "gl_TexCoord[0].st).aaaa * f; }");
  reader->set("f=1");
  ASSERT_TRUE(alpha->setNext(reader));
  EXPECT_EQ(colour(*alpha), (std::vector<int>{51, 51, 51, 51}));
  alpha->setOpaque(true);
  EXPECT_EQ(colour(*alpha), (std::vector<int>{255, 255, 255, 255}));
  reader->set("f=0.4");
  EXPECT_EQ(colour(*alpha), (std::vector<int>{102, 102, 102, 102}));
  alpha->setOpaque(false);

  const std::shared_ptr<OmImageFilter> bad = filterOf("nonsense");
  ASSERT_TRUE(reader->setNext(bad));
  {
    const PrintCapture print(4);
    EXPECT_FALSE(bad->setNext(reader) || reader->setNext(reader));
    EXPECT_TRUE(colour(*alpha).empty());
    ASSERT_EQ(print.messages().size(), 3u);
    EXPECT_EQ(print.messages()[2].second.find("OmImageFilter: cannot compile"), 0u);
  }
  EXPECT_TRUE(reader->setNext(nullptr));
  EXPECT_EQ(colour(*alpha), (std::vector<int>{20, 20, 20, 20}));
}

TEST(omImageFilterTest, FailuresLeaveTheResult)
{
  const auto window = open();
  ASSERT_TRUE(window);
  const OmImage image = makePicture(3, 4, 4);
  const auto fails = [&](OmImageFilter& filter, const OmImage& from, const char* message)
  {
    OmImage result = image;
    const PrintCapture print(4);
    EXPECT_FALSE(filter.run(from, result)) << message;
    EXPECT_EQ(differences(result, image), 0u) << message;
    const Messages messages = print.messages();
    ASSERT_EQ(messages.size(), 1u) << message;
    EXPECT_EQ(messages[0].first, 4);
    EXPECT_EQ(messages[0].second.find(OmString("OmImageFilter: ") + message), 0u) << messages[0].second;
  };
  for (const auto& [source, message] : {
           std::pair("nonsense", "cannot compile the fragment shader: 0:"),
           {"void f(); void main() { f(); }", "cannot link the fragment shader: "},
           {"uniform sampler1D sky; void main() { gl_FragColor = texture1D(sky, 1.0); }",
            "the sampler \"sky\" of the fragment shader is no sampler2D"},
       })
    fails(*filterOf(source), image, message);

  const auto uses = [] { return filterOf("uniform float strength; void main() { gl_FragColor = vec4(strength); }"); };
  for (const auto& [setting, message] : {
           std::pair("radius=1", "the fragment shader has no uniform \"radius\""),
           {"pass=i1", "the filter sets the uniform \"pass\" itself"},
           {"strength=i1", "the uniform \"strength\" of the fragment shader is a float, not a whole number."},
           {"strength=1,2", "the uniform \"strength\" of the fragment shader is a float, not 2 numbers."},
       })
  {
    const auto filter = uses();
    EXPECT_TRUE(filter->set(setting));
    fails(*filter, image, message);
    fails(*filter, image, message);
  }
  auto other = uses();
  other->setFloats("strength", {1.0f, 2.0f, 3.0f, 4.0f});
  fails(*other, image, "the uniform \"strength\" of the fragment shader is a float, not 4 numbers.");
  other = uses();
  other->setPicture("nothing", image);
  fails(*other, image, "the fragment shader has no sampler2D \"nothing\"");
  other = uses();
  other->setPicture("strength", image);
  fails(*other, image, "the uniform \"strength\" of the fragment shader is no sampler2D");
  other = filterOf("uniform sampler2D a; void main() { gl_FragColor = texture2D(a, vec2(0.0)); }");
  other->setPicture("a", OmImage(5, 1, 1));
  fails(*other, image, "the picture \"a\" has 5 channels, and filters take 1 to 4.");
  other->setPicture("a", OmImage());
  fails(*other, image, "the fragment shader reads another picture; give it by setPicture(\"a\"");
  other = uses();
  const OmU32 largest = other->largestSide();
  ASSERT_GT(largest, 0u);
  fails(*other, OmImage(1, 1, largest + 1), "the image is 1 x ");
  fails(*other, OmImage(5, 2, 2), "the image has 5 channels, and filters take 1 to 4.");
  fails(*other, OmImage(), "the image has no pixels.");
  other->setSize(largest + 1, 1);
  fails(*other, image, "the result is ");

  const auto filter = filterOf(Negative); // stays
  const PrintCapture print(4);
  EXPECT_FALSE(filter->loadShaderFromString("// passes: 1001\n", OmShader::Fragment));
  EXPECT_FALSE(filter->loadShaderFromString("// default: x\n", OmShader::Fragment));
  EXPECT_FALSE(filter->loadShaderFromString(Identity, OmShader::Geometry));
  EXPECT_FALSE(filter->loadShaderFromFile("nosuch.frag", OmShader::Fragment));
  EXPECT_FALSE(filter->loadShaderFromFile("/", OmShader::Vertex));
  OmImage result;
  EXPECT_FALSE(OmImageFilter().run(image, result));
  EXPECT_EQ(print.messages().size(), 6u);
  EXPECT_EQ(print.messages()[3].second, "OmImageFilter: cannot read \"nosuch.frag\": No such file or directory.\n");
  EXPECT_EQ(wrongBytes(*filter, image, expected(image, 0, 0, 255)), 0u);
}

TEST(omImageFilterTest, SettingsAreWhatTheShaderTakesWithTheirValues)
{
  const auto window = open();
  ASSERT_TRUE(window);
  const auto filter = filterOf(R"(#version 120
uniform sampler2D image, table;
uniform vec2 imageSize, texelSize, direction, tableSize, tableTexelSize, cells;
uniform int pass, count;
uniform bool on;
uniform float unused, weights[3], initial = 1.5;
uniform vec3 tint;
uniform vec4 four;
uniform mat2 turn;
uniform mat2x3 unknown;
void main()
{
  vec2 all = imageSize + texelSize + direction + tableSize + tableTexelSize + cells + turn * vec2(weights[2]) + vec3(1.0) * unknown;
  gl_FragColor = texture2D(image, all) + texture2D(table, all) + vec4(tint * (on ? 1.0 : initial), pass + count)
                 + four + weights[0] + gl_DepthRange.near;
})");
  const auto texts = [&]
  {
    std::vector<OmString> found;
    for (const OmImageFilter::Setting& setting : filter->settings())
    {
      std::ostringstream text;
      text << setting.name << '=';
      for (const float value : setting.floats)
        text << value << ' ';
      for (const int value : setting.integers)
        text << 'i' << value << ' ';
      found.push_back(text.str());
    }
    return found;
  };
  EXPECT_EQ(texts(),
            (std::vector<OmString>{"cells=0 0 ", "count=i0 ", "four=0 0 0 0 ", "initial=1.5 ", "on=i0 ", "tint=0 0 0 ",
                                   "turn=0 0 0 0 ", "weights[0]=0 ", "weights[1]=0 ", "weights[2]=0 "}));
  for (const char* const text :
       {"cells=-1,2.5", "count=i-7", "on=i1", "tint=1,0.5,0.25", "turn=1,2,3,4", "weights[1]=3"})
    EXPECT_TRUE(filter->set(text)) << text;
  EXPECT_EQ(texts(), (std::vector<OmString>{"cells=-1 2.5 ", "count=i-7 ", "four=0 0 0 0 ", "initial=1.5 ", "on=i1 ",
                                            "tint=1 0.5 0.25 ", "turn=1 2 3 4 ", "weights[0]=0 ", "weights[1]=3 ",
                                            "weights[2]=0 "}));
  const PrintCapture print(4);
  ASSERT_TRUE(filter->loadShaderFromString("void main()\n{\n  x;\n}\n", OmShader::Fragment));
  EXPECT_TRUE(filter->settings().empty());
  ASSERT_EQ(print.messages().size(), 1u);
  EXPECT_NE(print.messages()[0].second.find(":3("), OmString::npos) << print.messages()[0].second;
}

TEST(omImageFilterTest, TheCallersStateIsBackAndDoesNotMatter)
{
  const auto window = open<OmFBOWindow>();
  ASSERT_TRUE(window);
  const OmImage picture = makePicture(3, 16, 9);
  window->setOffScreenRendering(true);
  ASSERT_TRUE(window->setWindowSize(16, 9) && window->init() && window->setImageBuffer(picture, true));
  const auto filter = filterOf(Shift);
  const auto captures = [&]
  {
    OmImage captured;
    EXPECT_TRUE(window->renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr));
    captured.copyFromOrToFlipped(true);
    return differences(captured, picture);
  };
  for (OmU32 frame = 0; frame < 3; ++frame) // frames and filtered pictures in turn
  {
    EXPECT_EQ(captures(), 0u);
    const OmImage image = makePicture(frame % 2 ? 4 : 3, 11, 7 + frame);
    EXPECT_EQ(wrongBytes(*filter, image, expected(image, 3, 6)), 0u);
  }

  OmTexture texture;
  ASSERT_TRUE(texture.loadShell(8, 8, OmTextureParameters()));
  OmFrameBufferObject framebuffer;
  ASSERT_TRUE(framebuffer.init(texture, OmFrameBufferObject::Color, 0));
  OmShader shader;
  ASSERT_TRUE(shader.loadShaderFromString(Identity, OmShader::Fragment));
  GLuint buffer = 0;
  glGenBuffersARB(1, &buffer);
  setHostileState(texture, shader, framebuffer, buffer);
  const State before = state();
  EXPECT_EQ(wrongBytes(*filter, picture, expected(picture, 3, 6)), 0u);
  EXPECT_EQ(wrongBytes(*filterOf(Negative), picture, expected(picture, 0, 0, 255)), 0u);
  EXPECT_EQ(state(), before);

  // Nothing is saved if the stack is full; then the filter refuses.
  GLint most = 0;
  glGetIntegerv(GL_MAX_ATTRIB_STACK_DEPTH, &most);
  for (GLint i = 0; i < most; ++i)
    glPushAttrib(GL_CURRENT_BIT);
  const State full = state();
  PrintCapture print(4);
  EXPECT_GT(wrongBytes(*filter, picture, picture), picture.byteSize());
  EXPECT_EQ(print.messages().size(), 1u);
  EXPECT_EQ(state(), full);
}

TEST(omImageFilterTest, StorageAndProgramsAreKeptAsLongAsTheFilter)
{
  const auto window = open();
  ASSERT_TRUE(window);
  auto filter = filterOf(Shift);
  OmImage result;
  ASSERT_TRUE(filter->run(makePicture(3, 16, 9), result));
  EXPECT_EQ(shaderObjects(), 3u); // the program with two shaders
  const OmU8* const pixels = result.data();
  {
    const PrintCapture print;
    EXPECT_TRUE(filter->run(makePicture(3, 16, 9, 2), result));
    EXPECT_EQ(result.data(), pixels);
    EXPECT_EQ(print.messages(), (Messages{{2, "Reusing texture.\n"}}));
  }
  filter.reset();
  EXPECT_EQ(shaderObjects(), 0u);
}

TEST(omImageFilterTest, WithoutAWindowAHiddenOneIsUsed)
{
  const OmImage image = makePicture(3, 9, 5);
  for (const bool hasDisplay : {true, false})
  {
    if (!hasDisplay)
      unsetenv("DISPLAY");
    auto filter = filterOf(Negative);
    auto other = filterOf(Shift);
    const std::shared_ptr<OmImageFilter> next = filterOf(Negative); // was in a window of its own
    const auto chain = filterOf(Negative);
    EXPECT_EQ(wrongBytes(*next, image, expected(image, 0, 0, 255)), 0u);
    EXPECT_TRUE(chain->setNext(next));
    for (int run = 0; run < 2; ++run)
    {
      EXPECT_EQ(wrongBytes(*chain, image, expected(image)), 0u);
      const std::shared_ptr<OmImageFilter> last = filterOf(Shift);
      EXPECT_TRUE(next->setNext(last));
      EXPECT_EQ(wrongBytes(*chain, image, expected(image, 3, 6)), 0u);
      EXPECT_TRUE(next->setNext(nullptr));
      const PrintCapture print;
      EXPECT_TRUE(last->init()); // in the window of the first: it opens none
      EXPECT_EQ(print.messages(), Messages());
      EXPECT_EQ(wrongBytes(*filter, image, expected(image, 0, 0, 255)), 0u);
      EXPECT_EQ(OmWindow::getWindow(), nullptr);
      EXPECT_EQ(glGetString(GL_VERSION), nullptr);
      EXPECT_EQ(wrongBytes(*other, image, expected(image, 3, 6)), 0u);
    }
    if (!hasDisplay)
      OmWindow::setImplType(OmWindow::ImplEGL);
    const auto window = open();
    ASSERT_TRUE(window && window->setImageBuffer(image, true));
    const GLubyte* const renderer = glGetString(GL_RENDERER);
    {
      const PrintCapture print;
      EXPECT_EQ(wrongBytes(*filter, image, expected(image, 0, 0, 255)), 0u);
      EXPECT_EQ(print.messages(), (Messages{{2, "Reusing texture.\n"}})); // in the hidden window
    }
    EXPECT_EQ(OmWindow::getWindow(), window.get());
    EXPECT_EQ(glGetString(GL_RENDERER), renderer);
    filter.reset();
    EXPECT_EQ(OmWindow::getWindow(), window.get());
    OmImage captured;
    ASSERT_TRUE(window->renderSceneAndCaptureImage(captured, OmSimpleWindow::CaptureFlipped, nullptr));
    captured.copyFromOrToFlipped(true);
    EXPECT_EQ(differences(captured, image), 0u);
  }
}

TEST(omImageFilterTest, FiltersStartOverInAnotherContext)
{
  auto first = open();
  auto partner = open(first.get());
  auto stranger = open();
  ASSERT_TRUE(first && partner && stranger);
  OmTexture own;
  ASSERT_TRUE(own.loadFromImage(makePicture(3, 8, 8), OmTextureParameters()));
  const OmImage image = makePicture(3, 9, 5);
  const auto negative = filterOf("uniform sampler2D image, b; void main() { gl_FragColor = texture2D(b, "
                                 "vec2(0.5)) - texture2D(image, gl_TexCoord[0].st); }");
  const auto shift = filterOf(Shift);
  OmImage white(1, 1, 1);
  white.data()[0] = 255;
  negative->setPicture("b", white);
  const auto run = [&]
  {
    EXPECT_EQ(wrongBytes(*negative, image, expected(image, 0, 0, 255)), 0u);
    EXPECT_EQ(wrongBytes(*shift, image, expected(image, 3, 6)), 0u);
  };
  for (OmSimpleWindow* window : {first.get(), partner.get(), stranger.get(), first.get()})
  {
    window->makeCurrent();
    run();
  }
  stranger->makeCurrent();
  EXPECT_EQ(glIsTexture(own.id()), GL_TRUE);
  first.reset();
  partner.reset();
  run(); // in hidden windows
  stranger->makeCurrent();
  EXPECT_EQ(glIsTexture(own.id()), GL_TRUE);
  run();
}

#include "render/omTexture.h"

#include "foundation/core/omPrint.h"
#include "image/omImageReaderWriter.h"
#include "render/omGL.h"
#include "render/omVersion.h"
#include "render/omWindow.h"
#include "render/texture/omTexelSize.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <limits>
#include <ostream>
#include <vector>

namespace
{

// Whether an earlier binding has changed a texture unit in a way that would disturb a later drawing. Never cleared. A
// process that never binds such textures pays nothing.
bool s_textureMatrixScaled = false;
bool s_rectangleEnabled = false;

OmU32 saturated(std::size_t size)
{
  return static_cast<OmU32>(std::min<std::size_t>(size, std::numeric_limits<OmU32>::max()));
}

float quotient(OmU32 part, OmU32 whole)
{
  return whole == 0 ? 0.0f : static_cast<float>(static_cast<double>(part) / whole);
}

void deleteTexture(OmU32 name)
{
  glDeleteTextures(1, &name);
}

void reportNoContext()
{
  Om::Print::instance().write(Om::Print::Error,
                              "OmTexture: No GL context is current on this thread; open a window on it first.\n");
}

/// A corner of a quad: the indices of its texture coordinates in textureCoords(), and its position.
struct Corner
{
  int s;
  int t;
  float x;
  float y;
};

std::array<Corner, 4> quadCorners(float x0, float y0, float x1, float y1)
{
  return {{{0, 1, x0, y0}, {2, 1, x1, y0}, {2, 3, x1, y1}, {0, 3, x0, y1}}};
}

/// Calls `change` with the texture matrix selected, then restores the matrix mode.
template <class Change>
void changeTextureMatrix(Change change)
{
  GLint mode = 0;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  glMatrixMode(GL_TEXTURE);
  change();
  glMatrixMode(static_cast<GLenum>(mode));
}

} // namespace

bool OmTexture::Storage::operator==(const Storage& other) const
{
  return target == other.target && format == other.format && width == other.width && height == other.height;
}

OmTexture::OmTexture()
    : m_id(0), m_unit(0), m_width(0), m_height(0), m_reuse(false), m_padded(false),
      m_performFloatConversion(false), m_texCoords{0.0f, 0.0f, 1.0f, 1.0f}, m_orientation(OmImage::TopRowFirst)
{
  const Om::Print::ScopedPrint scope("OmTexture::OmTexture()", "");
}

OmTexture::OmTexture(const OmTexture& other) : m_unit(0), m_reuse(false)
{
  OmTexture::operator=(other);
}

OmTexture::~OmTexture()
{
  const Om::Print::ScopedPrint scope("virtual OmTexture::~OmTexture()", "");
  OmTexture::release();
}

OmTexture& OmTexture::operator=(const OmTexture& other)
{
  if (this == &other)
    return *this;
  m_id = other.m_id;
  m_parameters = other.m_parameters;
  m_width = other.m_width;
  m_height = other.m_height;
  m_padded = other.m_padded;
  m_performFloatConversion = other.m_performFloatConversion;
  m_orientation = other.m_orientation;
  std::copy(std::begin(other.m_texCoords), std::end(other.m_texCoords), m_texCoords);
  m_shareGroup = other.m_shareGroup;
  m_storage = other.m_storage;
  return *this;
}

OmBoolean OmTexture::operator==(const OmTexture& other) const
{
  return m_id == other.m_id && m_parameters == other.m_parameters && m_width == other.m_width &&
         m_height == other.m_height && m_padded == other.m_padded &&
         m_performFloatConversion == other.m_performFloatConversion && m_orientation == other.m_orientation &&
         std::equal(std::begin(m_texCoords), std::end(m_texCoords), other.m_texCoords);
}

OmBoolean OmTexture::loadFromFile(const OmString& fileName, const OmTextureParameters& params,
                                  OmImage::Orientation orientation)
{
  static constexpr char signature[] =
      "virtual OmBoolean OmTexture::loadFromFile(const OmString&, const OmTextureParameters&, OmImage::Orientation)";
  const Om::Print::ScopedPrint scope(signature, "");
  OmImage image;
  if (!OmImageReaderWriter::read(image, fileName))
  {
    Om::Print::instance().ostream(Om::Print::Error, signature) << "Can't read file (" << fileName << ")" << std::endl;
    return false;
  }
  m_orientation = orientation;
  if (orientation == OmImage::BottomRowFirst)
    image.copyFromOrToFlipped(false);
  return loadFromImage(image, params);
}

OmBoolean OmTexture::loadFromImage(const OmImage& image, const OmTextureParameters& params)
{
  static constexpr char signature[] =
      "virtual OmBoolean OmTexture::loadFromImage(const OmImage&, const OmTextureParameters&)";
  const Om::Print::ScopedPrint scope(signature, "");
  ensureName(signature);
  const bool isDefault = params == OmTextureParameters();
  m_parameters = params;
  if (isDefault)
  {
    m_parameters.setMinFilterType(GL_NEAREST);
    m_parameters.setMagFilterType(GL_NEAREST);
  }
  m_parameters.getFormatFromImage(image);

  const bool flipped = image.isFlipped();
  m_orientation = flipped ? OmImage::BottomRowFirst : OmImage::TopRowFirst;
  const OmU8* const source = flipped ? image.flippedData() : image.data();
  if (!source)
    return loadShell(image.width(), image.height(), m_parameters);

  const bool ownSize = calculatePOT(image.width(), image.height());
  matchNameToTarget(signature);
  if (ownSize)
    return load(source, saturated(flipped ? image.flippedByteSize() : image.byteSize()));

  const std::size_t rowSize = std::size_t(image.width()) * image.channels();
  const std::size_t storageRowSize = std::size_t(m_width) * image.channels();
  const std::size_t rows = std::min(image.height(), m_height);
  std::vector<OmU8> storage(storageRowSize * m_height);
  for (std::size_t row = 0; row < rows; ++row)
    std::memcpy(&storage[row * storageRowSize], source + row * rowSize, std::min(rowSize, storageRowSize));
  return load(storage.data(), saturated(storage.size()));
}

OmBoolean OmTexture::loadShell(OmU32 width, OmU32 height, const OmTextureParameters& params)
{
  static constexpr char signature[] =
      "virtual OmBoolean OmTexture::loadShell(OmU32, OmU32, const OmTextureParameters&)";
  const Om::Print::ScopedPrint scope(signature, "");
  m_parameters = params;
  m_orientation = OmImage::BottomRowFirst;
  ensureName(signature);
  calculatePOT(width, height);
  matchNameToTarget(signature);
  m_reuse = false;
  return load(nullptr, 0);
}

/// Makes a GL name unless there is one that the current context knows.
void OmTexture::ensureName(const char* signature)
{
  if (m_id != 0 && !m_shareGroup.isCurrent())
  {
    m_shareGroup.deleteLater(deleteTexture, m_id);
    m_id = 0;
  }
  if (m_id != 0)
    return;
  glGenTextures(1, &m_id);
  if (m_id == 0)
    reportNoContext();
  m_shareGroup = OmShareGroup::current();
  m_storage = Storage();
  Om::Print::instance().ostream(Om::Print::Trace, signature) << "Creating texture ID " << m_id << std::endl;
}

/// A GL name keeps the target that it was first bound to. For another target, makes another name.
void OmTexture::matchNameToTarget(const char* signature)
{
  if (m_storage.target == 0 || m_storage.target == textureType())
    return;
  release();
  ensureName(signature);
}

/// How an image of that size is stored with the current settings.
OmTexture::Fit OmTexture::fit(OmU32 width, OmU32 height) const
{
  const OmU32 requested = m_parameters.requestedTextureType();
  const bool isPowerOf2 = width == OmGL::powerOf2(width) && height == OmGL::powerOf2(height);
  const bool isFloatRectangle = m_parameters.isFloatType() && textureType() == GL_TEXTURE_RECTANGLE_ARB;
  if (isPowerOf2 && !isFloatRectangle)
    return Fit::Exact;
  if (OmGL::isSupported(OmGL::SupportNPOT) && (requested == GL_TEXTURE_2D || requested == 0))
    return Fit::Exact;
  if (OmGL::isSupported(OmGL::SupportTextureRectangle) && (requested == GL_TEXTURE_RECTANGLE_ARB || requested == 0))
    return Fit::Rectangle;
  return Fit::Padded;
}

OmBoolean OmTexture::calculatePOT(OmU32 width, OmU32 height)
{
  const Om::Print::ScopedPrint scope("virtual OmBoolean OmTexture::calculatePOT(OmU32, OmU32)", "");
  if (m_parameters.pixelFormat() == OmTextureParameters::NoFormat)
    m_parameters.setPixelFormat(OmTextureParameters::RGB);
  if (m_parameters.internalFormat() == OmTextureParameters::NoFormat)
    m_parameters.setInternalFormat(m_parameters.pixelFormat());

  const Fit chosen = fit(width, height);
  if (chosen == Fit::Rectangle)
    m_parameters.setTextureType(GL_TEXTURE_RECTANGLE_ARB);
  m_padded = chosen == Fit::Padded;
  const OmU32 storageWidth = m_padded ? OmGL::powerOf2(width) : width;
  const OmU32 storageHeight = m_padded ? OmGL::powerOf2(height) : height;
  m_reuse = !m_padded && m_width == storageWidth && m_height == storageHeight;
  m_width = storageWidth;
  m_height = storageHeight;

  const bool inTexels = textureType() == GL_TEXTURE_RECTANGLE_ARB; // even if the size needs no rectangle texture
  m_texCoords[0] = m_texCoords[1] = 0.0f;
  m_texCoords[2] = m_padded ? quotient(width, m_width) : inTexels ? static_cast<float>(width) : 1.0f;
  m_texCoords[3] = m_padded ? quotient(height, m_height) : inTexels ? static_cast<float>(height) : 1.0f;
  return !m_padded;
}

OmBoolean OmTexture::load(const OmU8* data, OmU32 size)
{
  static constexpr char signature[] = "virtual OmBoolean OmTexture::load(const OmU8*, OmU32)";
  const Om::Print::ScopedPrint scope(signature, "");
  if (m_id != 0 && !glGetString(GL_VERSION)) // null without a context
  {
    reportNoContext();
    return false;
  }
  if (data && !isEnough(size))
    return false;
  if (!bind())
    return false;
  m_storage.target = textureType(); // a name keeps the target of its first binding
  m_parameters.ApplyParameters();
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  if (m_performFloatConversion)
    uploadAsFloats(data, size);
  else
    upload(data, signature);
  m_storage = wantedStorage();
  return true;
}

OmTexture::Storage OmTexture::wantedStorage() const
{
  return {textureType(), m_parameters.internalFormat(), m_width, m_height};
}

void OmTexture::upload(const OmU8* data, const char* signature) const
{
  const bool inPlace = m_reuse && m_storage == wantedStorage();
  if (inPlace)
    Om::Print::instance().ostream(Om::Print::Notice, signature) << "Reusing texture." << std::endl;
  const auto width = static_cast<GLsizei>(m_width);
  const auto height = static_cast<GLsizei>(m_height);
  const GLenum format = m_parameters.pixelFormat();
  const GLenum type = m_parameters.dataFormat();
  if (inPlace)
    glTexSubImage2D(textureType(), 0, 0, 0, width, height, format, type, data);
  else
    glTexImage2D(textureType(), 0, static_cast<GLint>(m_parameters.internalFormat()), width, height, 0, format, type,
                 data);
}

void OmTexture::uploadAsFloats(const OmU8* data, OmU32 size) const
{
  std::vector<float> floats;
  if (data)
    floats.assign(data, data + size);
  glTexImage2D(textureType(), 0, static_cast<GLint>(m_parameters.internalFormat()), static_cast<GLsizei>(m_width),
               static_cast<GLsizei>(m_height), 0, m_parameters.pixelFormat(), GL_FLOAT,
               floats.empty() ? nullptr : floats.data());
}

/// Whether `size` bytes are enough for the storage; prints an error message if not.
bool OmTexture::isEnough(OmU32 size) const
{
  const GLenum format = m_parameters.pixelFormat();
  const GLenum type = m_performFloatConversion ? GL_UNSIGNED_BYTE : m_parameters.dataFormat();
  const unsigned int bytes = omTexelSize(format, type);
  if (bytes == 0)
    Om::Print::instance().write(Om::Print::Error,
                                "OmTexture::load - Pixels of format 0x%x and type 0x%x are not known.\n", format, type);
  else if (std::size_t(m_width) * m_height > size / bytes)
    Om::Print::instance().write(Om::Print::Error,
                                "OmTexture::load - %u bytes are too few for %u x %u texels of %u bytes.\n", size,
                                m_width, m_height, bytes);
  else
    return true;
  return false;
}

OmBoolean OmTexture::release() const
{
  static constexpr char signature[] = "virtual OmBoolean OmTexture::release() const";
  const Om::Print::ScopedPrint scope(signature, "");
  if (m_id == 0)
    return false;
  if (!OmWindow::getWindow())
    Om::Print::instance().ostream(Om::Print::Notice, signature) << "Releasing texture with no context." << std::endl;
  if (!OmWindow::getWindow() || !m_shareGroup.isCurrent())
  {
    m_shareGroup.deleteLater(deleteTexture, m_id);
  }
  else if (glIsTexture(m_id) == GL_TRUE)
  {
    Om::Print::instance().ostream(Om::Print::Trace, signature) << "Deleting texture ID " << m_id << std::endl;
    deleteTexture(m_id);
  }
  m_id = 0;
  return true;
}

OmBoolean OmTexture::bind() const
{
  if (m_id == 0)
    return false;
  if (!m_shareGroup.isCurrent())
  {
    Om::Print::instance().write(Om::Print::Error,
                                "OmTexture::bind - No window of the texture's share group is current.\n");
    return false;
  }
  glEnable(textureType());
  glActiveTextureARB(GL_TEXTURE0_ARB + m_unit);
  glBindTexture(textureType(), m_id);
  if (m_padded)
    scaleTexture();
  if (textureType() == GL_TEXTURE_RECTANGLE_ARB)
    s_rectangleEnabled = true;
  return true;
}

OmBoolean OmTexture::unbind() const
{
  glBindTexture(textureType(), 0);
  return true;
}

void OmTexture::scaleTexture() const
{
  if (!m_padded || m_id == 0)
    return;
  s_textureMatrixScaled = true;
  changeTextureMatrix(
      [this]
      {
        glLoadIdentity();
        glScalef(m_texCoords[2], std::max(m_texCoords[1], m_texCoords[3]), 1.0f);
      });
}

void OmTexture::textureCoords(float* coords) const
{
  const bool bottomRowFirst = m_orientation == OmImage::BottomRowFirst;
  coords[0] = m_texCoords[0];
  coords[1] = m_texCoords[bottomRowFirst ? 1 : 3];
  coords[2] = m_texCoords[2];
  coords[3] = m_texCoords[bottomRowFirst ? 3 : 1];
}

/// Binds the texture so that textureCoords() alone decides what is drawn, with or without a shader that uses the
/// texture matrix.
bool OmTexture::bindForDrawing() const
{
  if (!bind())
    return false;
  if (s_textureMatrixScaled)
    changeTextureMatrix([] { glLoadIdentity(); });
  if (s_rectangleEnabled && textureType() == GL_TEXTURE_2D && OmGL::isSupported(OmGL::SupportTextureRectangle))
    glDisable(GL_TEXTURE_RECTANGLE_ARB);
  return true;
}

/// Enables the texture's own target on its unit, and no other.
void OmTexture::enableAlone() const
{
  glActiveTextureARB(GL_TEXTURE0_ARB + unit());
  glDisable(textureType() == GL_TEXTURE_2D ? GL_TEXTURE_RECTANGLE_ARB : GL_TEXTURE_2D);
  glEnable(textureType());
}

OmBoolean OmTexture::drawScreenAlignedQuad(float x0, float y0, float x1, float y1) const
{
  if (!bindForDrawing())
    return false;
  float tc[4];
  textureCoords(tc);
  glColor3f(1.0f, 1.0f, 1.0f);
  glBegin(GL_QUADS);
  for (const Corner& corner : quadCorners(x0, y0, x1, y1))
  {
    glTexCoord2f(tc[corner.s], tc[corner.t]);
    glVertex2f(corner.x, corner.y);
  }
  glEnd();
  return true;
}

OmBoolean OmTexture::drawMultiTextureScreenAlignedQuad(const OmTexture& other, float x0, float y0, float x1,
                                                       float y1) const
{
  if (unit() == 0 && other.unit() == 0)
    other.setUnit(1);
  if (!other.bindForDrawing() || !bindForDrawing())
    return false;
  if (textureType() != other.textureType()) // bind() enables its target on the unit that was active before
  {
    other.enableAlone();
    enableAlone();
  }
  float a[4];
  float b[4];
  textureCoords(a);
  other.textureCoords(b);
  const GLenum unitA = GL_TEXTURE0_ARB + unit();
  const GLenum unitB = GL_TEXTURE0_ARB + other.unit();
  glBegin(GL_QUADS);
  for (const Corner& corner : quadCorners(x0, y0, x1, y1))
  {
    glMultiTexCoord2fARB(unitB, b[corner.s], b[corner.t]);
    glMultiTexCoord2fARB(unitA, a[corner.s], a[corner.t]);
    glVertex2f(corner.x, corner.y);
  }
  glEnd();
  return true;
}

OmU32 OmTexture::id() const
{
  return m_id;
}

void OmTexture::setUnit(unsigned int unit) const
{
  m_unit = unit;
}

unsigned int OmTexture::unit() const
{
  return m_unit;
}

void OmTexture::setTextureParameters(const OmTextureParameters& params)
{
  m_parameters = params;
}

const OmTextureParameters& OmTexture::textureParameters() const
{
  return m_parameters;
}

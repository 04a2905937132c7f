#include "render/omImageFilter.h"

#include "foundation/core/omPrint.h"
#include "image/omImage.h"
#include "image/omImageScaling.h"
#include "render/filter/omCallerState.h"
#include "render/filter/omFilterContext.h"
#include "render/filter/omFilterPasses.h"
#include "render/filter/omFilterProgram.h"
#include "render/omGL.h"
#include "render/omVersion.h"

#include <algorithm>
#include <list>
#include <optional>
#include <utility>

namespace
{

struct Picture
{
  OmString name; ///< of the sampler
  OmImage image;
  OmTablePicture table = {}; ///< in place of the image, if it is not empty
};

/// Replaces the value of the same name, or adds one.
template <typename Value>
void replace(std::vector<Value>& values, Value value)
{
  const auto found =
      std::find_if(values.begin(), values.end(), [&](const Value& other) { return other.name == value.name; });
  if (found == values.end())
    values.push_back(std::move(value));
  else
    *found = std::move(value);
}

OmString sizeText(OmU32 width, OmU32 height)
{
  return std::to_string(width) + " x " + std::to_string(height);
}

OmString renderer()
{
  const GLubyte* const text = glGetString(GL_RENDERER);
  return text ? reinterpret_cast<const char*>(text) : "the graphics card";
}

OmU32 limit(GLenum name)
{
  GLint value[2] = {}; // GL_MAX_VIEWPORT_DIMS has two, of which the smaller counts
  glGetIntegerv(name, value);
  return static_cast<OmU32>(std::max(name == GL_MAX_VIEWPORT_DIMS ? std::min(value[0], value[1]) : value[0], 0));
}

/// Of an image or a result, in the current context.
OmU32 largestSideHere()
{
  return OmPictureTexture::largestSide(std::min(limit(GL_MAX_TEXTURE_SIZE), limit(GL_MAX_VIEWPORT_DIMS)));
}

/// Why the card cannot hold a picture; an empty text if it can.
OmString sizeFailure(const OmString& what, OmU32 width, OmU32 height)
{
  const OmU32 largest = largestSideHere();
  if (width <= largest && height <= largest)
    return "";
  return what + " is " + sizeText(width, height) + " pixels, more than the " + sizeText(largest, largest) + " of " +
         renderer() + "; scale it down first";
}

/// Why an image cannot be filtered; an empty text if it can, scaled where it must be.
template <typename Image>
OmString imageFailure(const OmString& what, const Image& image)
{
  if (!image.data())
    return what + " has no pixels";
  if (image.channels() > 4)
    return what + " has " + std::to_string(image.channels()) + " channels, and filters take 1 to 4";
  return "";
}

/// A copy in which the pixels are in use, not the flipped copy.
OmImage upright(OmImage image)
{
  if (image.isFlipped())
    image.copyFromOrToFlipped(true);
  return image;
}

bool report(const OmString& failure)
{
  if (!failure.empty())
    Om::Print::instance().write(Om::Print::Error, "OmImageFilter: %s.\n", failure.c_str());
  return failure.empty();
}

} // namespace

/// The settings, and what was made of them in a context. The operations that return a text return why they fail; an
/// empty text if they do not.
class OmImageFilter::Work
{
public:
  std::shared_ptr<OmFilterContext> context = std::make_shared<OmFilterContext>(); // outlives what lives in it
  std::shared_ptr<OmImageFilter> next;
  std::optional<OmFilterShader> fragment;
  std::optional<OmFilterShader> vertex;
  std::vector<OmUniformSetting> settings;
  std::vector<Picture> pictures;
  std::vector<OmString> pictureNames;
  OmU32 passes = 0; ///< as many as the shader asks for
  bool floats = false;
  OmU32 width = 0; ///< of the result; that of the image
  OmU32 height = 0;
  bool isOpaque = false;

  std::vector<Work*> chain();
  bool setNext(const std::shared_ptr<OmImageFilter>& filter);
  OmString load(const OmFilterShader& shader, OmShader::ShaderType type);
  void set(const OmUniformSetting& setting);
  void setPicture(Picture picture);
  /// Makes what the context lacks, and does a job that may return a failure. Prints the failure.
  template <typename Job>
  bool inContext(Job job);
  OmString run(const OmImage& image, OmImage& result);
  OmString run(const OmDeepImage& image, OmDeepImage& result);
  static bool takesDeepImages();
  std::vector<OmUniformSetting> currentSettings() const { return m_program->settings(); }

private:
  void moveTo(const std::shared_ptr<OmFilterContext>& home);
  void forget();
  OmString checkCard() const;
  OmString prepare();
  OmString compile();
  OmString setUniforms() const;
  OmString loadPictures();
  OmString missingPicture() const;
  OmFilterStep step() const { return {m_program.get(), &m_textures, passes == 0 ? fragment->passes : passes, floats}; }
  template <typename Image>
  OmString runAs(OmPictureTexture::Samples samples, const Image& image, Image& result);
  template <typename Image>
  OmString runSteps(const Image& image, const OmFilterRun& filterRun, Image& result);

  OmShareGroup m_home; ///< the context in which the following lives
  std::unique_ptr<OmFilterProgram> m_program;
  std::list<OmPictureTexture> m_textures; ///< of the pictures, in their order
  std::unique_ptr<OmFilterPasses> m_passes;
  std::optional<OmPictureTexture::Samples> m_deepSamples; ///< of the context, once it is known
  bool m_areUniformsSet = false;
  bool m_arePicturesLoaded = false;
};

/// This filter and those behind it.
std::vector<OmImageFilter::Work*> OmImageFilter::Work::chain()
{
  std::vector<Work*> links = {this};
  while (links.back()->next)
    links.push_back(links.back()->next->m_work.get());
  return links;
}

/// Returns false if that would make a circle.
bool OmImageFilter::Work::setNext(const std::shared_ptr<OmImageFilter>& filter)
{
  const std::vector<Work*> links = filter ? filter->m_work->chain() : std::vector<Work*>();
  if (std::find(links.begin(), links.end(), this) != links.end())
    return false;
  next = filter;
  for (Work* const link : links)
    link->moveTo(context);
  return true;
}

/// Works in a hidden window with other filters.
void OmImageFilter::Work::moveTo(const std::shared_ptr<OmFilterContext>& home)
{
  if (home == context)
    return;
  forget(); // before its window closes
  context = home;
}

void OmImageFilter::Work::forget()
{
  m_program.reset();
  m_passes.reset();
  m_textures.clear();
  m_deepSamples.reset();
  m_home = OmShareGroup();
}

OmString OmImageFilter::Work::load(const OmFilterShader& shader, OmShader::ShaderType type)
{
  if (type != OmShader::Fragment && type != OmShader::Vertex)
    return "filters have a fragment shader and a vertex shader, no other";
  (type == OmShader::Fragment ? fragment : vertex) = shader;
  m_program.reset();
  return "";
}

void OmImageFilter::Work::set(const OmUniformSetting& setting)
{
  replace(settings, setting);
  m_areUniformsSet = false;
}

void OmImageFilter::Work::setPicture(Picture picture)
{
  const OmString name = picture.name;
  if (picture.image.data() || picture.table.width > 0)
    replace(pictures, std::move(picture));
  else
    pictures.erase(
        std::remove_if(pictures.begin(), pictures.end(), [&](const Picture& other) { return other.name == name; }),
        pictures.end());
  m_arePicturesLoaded = false;
}

template <typename Job>
bool OmImageFilter::Work::inContext(Job job)
{
  const OmFilterContext::Use use(*context);
  if (!use.isCurrent())
    return false;
  OmString failure;
  const std::vector<Work*> links = chain();
  for (const Work* const link : links)
    if (failure.empty())
      failure = link->checkCard();
  if (!failure.empty())
    return report(failure);
  const OmCallerState state;
  if (!state.isSaved())
    failure = "GL's stack of attributes is full; pop some before";
  for (Work* const link : links)
    if (failure.empty())
      failure = link->prepare();
  return report(failure.empty() ? job() : failure);
}

OmString OmImageFilter::Work::checkCard() const
{
  const struct
  {
    bool isNeeded;
    OmU32 capability;
    const char* what;
  } needs[] = {
      {true, OmGL::SupportShaders, "filters need shaders"},
      {true, OmGL::SupportFBO, "filters need framebuffer objects"},
      {floats, OmGL::SupportFloatTexture, "floats between the passes need float textures"},
  };
  for (const auto& need : needs)
    if (need.isNeeded && !OmGL::isSupported(need.capability))
      return OmString(need.what) + ", which " + renderer() + " does not have";
  return "";
}

OmString OmImageFilter::Work::prepare()
{
  if (!m_home.isCurrent())
  {
    forget();
    m_home = OmShareGroup::currentContext();
  }
  if (!fragment)
    return "there is no fragment shader; load one first";
  OmString failure = m_program ? "" : compile();
  if (!failure.empty())
    return failure;
  m_program->use();
  if (!m_areUniformsSet)
    failure = setUniforms();
  m_areUniformsSet = failure.empty();
  if (failure.empty() && !m_arePicturesLoaded)
    failure = loadPictures();
  m_arePicturesLoaded = failure.empty();
  return failure;
}

OmString OmImageFilter::Work::compile()
{
  m_areUniformsSet = false;
  m_arePicturesLoaded = false;
  auto program = std::make_unique<OmFilterProgram>();
  OmFilterShader standard;
  standard.name = "the vertex shader";
  standard.source = OmShader::getVertexShader();
  OmString failure = program->make(*fragment, vertex.value_or(standard));
  if (!failure.empty())
    return failure;
  pictureNames = program->pictures();
  m_program = std::move(program);
  return "";
}

OmString OmImageFilter::Work::setUniforms() const
{
  OmString failure;
  for (const OmUniformSetting& setting : fragment->defaults)
    if (failure.empty())
      failure = m_program->setDefault(setting);
  for (const OmUniformSetting& setting : settings)
    if (failure.empty())
      failure = m_program->set(setting);
  return failure;
}

OmString OmImageFilter::Work::loadPictures()
{
  m_textures.clear();
  const OmU32 most = std::max(limit(GL_MAX_TEXTURE_UNITS_ARB), OmU32{1}) - 1; // the image takes one
  if (pictures.size() > most)
    return "a shader can read " + std::to_string(most) + " other pictures on " + renderer() + ", not " +
           std::to_string(pictures.size());
  for (const Picture& picture : pictures)
  {
    const OmString name = OmString("the picture \"").append(picture.name).append("\"");
    const bool isTable = picture.table.width > 0;
    OmString failure = isTable ? "" : imageFailure(name, picture.image);
    if (failure.empty())
      failure = isTable ? sizeFailure(name, picture.table.width, picture.table.height)
                        : sizeFailure(name, picture.image.width(), picture.image.height());
    if (!failure.empty())
      return failure;
    OmPictureTexture& texture = m_textures.emplace_back();
    if (isTable)
      texture.load(picture.table);
    else
      texture.load(picture.image);
    failure = OmFilterPasses::takeError();
    if (!failure.empty())
      return OmString("cannot load ").append(name).append(": ").append(failure);
    failure =
        m_program->setPicture(picture.name, static_cast<int>(m_textures.size()), texture.size(), texture.texelSize());
    if (!failure.empty())
      return failure;
    m_program->setTable(picture.name, picture.table);
  }
  return "";
}

OmString OmImageFilter::Work::missingPicture() const
{
  for (const OmString& name : pictureNames)
    if (std::none_of(pictures.begin(), pictures.end(), [&](const Picture& picture) { return picture.name == name; }))
      return fragment->name + " reads another picture; give it by setPicture(\"" + name + "\", …)";
  return "";
}

OmString OmImageFilter::Work::run(const OmImage& image, OmImage& result)
{
  if (image.isFlipped() && image.data())
    return runAs(OmPictureTexture::Bytes, upright(image), result);
  return runAs(OmPictureTexture::Bytes, image, result);
}

OmString OmImageFilter::Work::run(const OmDeepImage& image, OmDeepImage& result)
{
  if (!m_deepSamples)
    m_deepSamples = OmFilterPasses::deepSamples();
  if (!m_deepSamples)
    return "16-bit channels need textures of 16 bits or floats, and " + renderer() + " has neither";
  return runAs(*m_deepSamples, image, result);
}

/// In the current context.
bool OmImageFilter::Work::takesDeepImages()
{
  if (!OmGL::isSupported(OmGL::SupportShaders | OmGL::SupportFBO))
    return false;
  const OmCallerState state;
  return state.isSaved() && OmFilterPasses::deepSamples();
}

template <typename Image>
OmString OmImageFilter::Work::runAs(OmPictureTexture::Samples samples, const Image& image, Image& result)
{
  const bool isScaled = width != 0 && height != 0 && (width != image.width() || height != image.height());
  OmFilterRun filterRun = {{}, image.channels() % 2 == 0 && !isOpaque, samples};
  OmString failure = imageFailure("the image", image);
  if (failure.empty())
    failure =
        isScaled ? sizeFailure("the result", width, height) : sizeFailure("the image", image.width(), image.height());
  for (const Work* const link : chain())
  {
    if (failure.empty())
      failure = link->missingPicture();
    filterRun.steps.push_back(link->step());
  }
  if (!failure.empty())
    return failure;
  if (isScaled)
    return runSteps(OmImageScaling::scaled(image, width, height, isOpaque), filterRun, result);
  return runSteps(image, filterRun, result);
}

template <typename Image>
OmString OmImageFilter::Work::runSteps(const Image& image, const OmFilterRun& filterRun, Image& result)
{
  // Only success keeps the storage: a failure may have left it undefined.
  std::unique_ptr<OmFilterPasses> steps = m_passes ? std::move(m_passes) : std::make_unique<OmFilterPasses>();
  OmString failure = steps->run(image, filterRun, result);
  if (failure.empty())
    m_passes = std::move(steps);
  return failure;
}

OmImageFilter::OmImageFilter() : m_work(std::make_unique<Work>()) {}

OmImageFilter::~OmImageFilter() = default;

OmBoolean OmImageFilter::loadShaderFromFile(const OmString& fileName, OmShader::ShaderType type)
{
  OmFilterShader shader;
  OmString failure = shader.readFile(fileName);
  if (failure.empty() && type == OmShader::Fragment)
    failure = shader.readComment();
  return report(failure.empty() ? m_work->load(shader, type) : failure);
}

OmBoolean OmImageFilter::loadShaderFromString(const OmString& source, OmShader::ShaderType type)
{
  OmFilterShader shader;
  shader.name = type == OmShader::Vertex ? "the vertex shader" : "the fragment shader";
  shader.source = source;
  const OmString failure = type == OmShader::Fragment ? shader.readComment() : "";
  return report(failure.empty() ? m_work->load(shader, type) : failure);
}

OmBoolean OmImageFilter::set(const OmString& setting)
{
  const auto read = OmUniformSetting::read(setting);
  if (read)
    m_work->set(*read);
  return report(read ? "" : "the setting \"" + setting + "\" is not like " + OmUniformSettingForms);
}

void OmImageFilter::setFloats(const OmString& name, const std::vector<float>& values)
{
  m_work->set({name, values, {}});
}

void OmImageFilter::setIntegers(const OmString& name, const std::vector<int>& values)
{
  m_work->set({name, {}, values});
}

OmBoolean OmImageFilter::isSetting(const OmString& text)
{
  return OmUniformSetting::read(text).has_value();
}

void OmImageFilter::setPicture(const OmString& name, const OmImage& picture)
{
  m_work->setPicture({name, upright(picture)});
}

void OmImageFilter::setPicture(const OmString& name, const OmColorTable& table)
{
  m_work->setPicture({name, OmImage(), OmTablePicture(table)});
}

void OmImageFilter::setPasses(OmU32 passes)
{
  m_work->passes = passes;
}

void OmImageFilter::setFloatsBetweenPasses(OmBoolean floats)
{
  m_work->floats = floats;
}

void OmImageFilter::setSize(OmU32 width, OmU32 height)
{
  m_work->width = width;
  m_work->height = height;
}

OmBoolean OmImageFilter::setNext(const std::shared_ptr<OmImageFilter>& next)
{
  return report(m_work->setNext(next) ? "" : "a filter cannot come after itself; make another one of the same shader");
}

void OmImageFilter::setOpaque(OmBoolean opaque)
{
  m_work->isOpaque = opaque;
}

const std::vector<OmString>& OmImageFilter::pictureNames() const
{
  return m_work->pictureNames;
}

OmBoolean OmImageFilter::init()
{
  return m_work->inContext([] { return OmString(); });
}

std::vector<OmImageFilter::Setting> OmImageFilter::settings()
{
  std::vector<Setting> settings;
  m_work->inContext(
      [&]
      {
        for (const OmUniformSetting& setting : m_work->currentSettings())
          settings.push_back({setting.name, setting.floats, setting.integers});
        return OmString();
      });
  return settings;
}

OmU32 OmImageFilter::largestSide()
{
  const OmFilterContext::Use use(*m_work->context);
  return use.isCurrent() ? largestSideHere() : 0;
}

OmBoolean OmImageFilter::run(const OmImage& image, OmImage& result)
{
  return m_work->inContext([&] { return m_work->run(image, result); });
}

OmBoolean OmImageFilter::run(const OmDeepImage& image, OmDeepImage& result)
{
  return m_work->inContext([&] { return m_work->run(image, result); });
}

OmBoolean OmImageFilter::takesDeepImages()
{
  const OmFilterContext::Use use(*m_work->context);
  return use.isCurrent() && Work::takesDeepImages();
}

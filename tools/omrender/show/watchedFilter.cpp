#include "tools/omrender/show/watchedFilter.h"

#include "render/omWindowEvent.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/filterOptions.h"
#include "tools/omrender/filter/shaderFile.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/show/filterCommandLine.h"
#include "tools/omrender/show/pictureFiles.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <utility>

namespace
{

bool contains(const std::vector<OmString>& names, const OmString& name)
{
  return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

const WatchedFilter::Key WatchedFilter::Keys[] = {
    {OmWindowEvent::KeyTab, 1, &WatchedFilter::choose},
    {OmWindowEvent::KeyBackTab, -1, &WatchedFilter::choose},
    {OmWindowEvent::KeyUp, 1, &WatchedFilter::change},
    {OmWindowEvent::KeyDown, -1, &WatchedFilter::change},
    {'s', 1, &WatchedFilter::write},
    {'p', 1, &WatchedFilter::print},
};

WatchedFilter::WatchedFilter(PictureFiles& pictures, std::vector<OmString> files, const FilterSettings& settings,
                             LibraryLog& log)
    : m_pictures(pictures), m_files(std::move(files)), m_settings(settings), m_log(log),
      m_filterFiles(filterFiles(settings)), m_pipeline(settings, log)
{
  for (const Setting& setting : m_pipeline.settings())
    if (isGiven(setting.name))
      m_values.set(setting);
  takeSettings();
  run();
  printWarnings(m_log);
}

void WatchedFilter::watch()
{
  std::vector<OmString> files = m_filterFiles;
  for (const OmString& file : m_files)
    if (!contains(files, file))
      files.push_back(file);
  m_watch.emplace(files);
  if (!m_watch->isNotified())
    printFailure("omrender", "warning: no inotify watch is free, so the files are looked at again and again; raise "
                             "fs.inotify.max_user_watches or max_user_instances");
}

const OmImage& WatchedFilter::image()
{
  if (m_isDue)
    attempt([this] { run(); });
  return m_result;
}

void WatchedFilter::run()
{
  m_isDue = false;
  const OmImage& image = picture();
  const PictureFile header = {m_pictures.name(), image.width(), image.height(), image.channels()};
  const PictureScaling& scaling = m_settings.scaling;
  if (scaling.changes(header))
    m_pipeline.run(scaling.applied(image, header, false), header.file, false, {}, m_result);
  else
    m_pipeline.run(image, header.file, false, {}, m_result);
}

/// The picture to filter, as its file has it now or, if that cannot be read, had it before.
const OmImage& WatchedFilter::picture()
{
  const OmImage& image = m_pictures.image();
  if (m_changedPictures.count(m_pictures.name()) == 0)
    return image;
  if (m_ownName != m_pictures.name())
    attempt([this] { readChanged(m_pictures.name()); });
  return m_ownName == m_pictures.name() ? m_own : image;
}

void WatchedFilter::readChanged(const OmString& file)
{
  m_pipeline.checkPicture(readHeader(file, m_log));
  m_own = readPicture(file, m_log);
  m_ownName = file;
}

/// Does a job. Returns false if it fails, and reports a failure that is not the last one again.
template <typename Job>
bool WatchedFilter::attempt(Job job)
{
  try
  {
    job();
    return true;
  }
  catch (const Failure& failure)
  {
    if (m_failure != failure.what())
      printFailure("omrender", failure.what());
    m_failure = failure.what();
    return false;
  }
}

bool WatchedFilter::update()
{
  const std::vector<OmString> changed = m_watch ? m_watch->changed() : std::vector<OmString>();
  bool isMended = !changed.empty();
  const std::size_t stale = m_stale.size();
  for (const OmString& file : changed)
  {
    if (contains(m_filterFiles, file))
      m_stale.push_back(file);
    if (!contains(m_files, file))
      continue;
    m_changedPictures.insert(file);
    if (file == name())
      isMended = attempt([&] { readChanged(file); }) && isMended;
    m_isDue = m_isDue || file == name();
  }
  if (m_stale.size() > stale)
    isMended = attempt([this] { reload(); }) && isMended;
  if (isMended)
    m_failure.clear();
  if (isAnimated())
    setTimes();
  return m_isDue;
}

void WatchedFilter::reload()
{
  m_pipeline.reload(m_stale);
  printWarnings(m_log);
  m_stale.clear();
  takeSettings();
  m_isDue = true;
}

/// Whether the command line has a value for a setting.
bool WatchedFilter::isGiven(const OmString& setting) const
{
  const auto [shader, name] = FilterPipeline::place(setting);
  const std::vector<OmString>& uniforms = m_settings.shaders[shader].uniforms;
  return std::any_of(uniforms.begin(), uniforms.end(),
                     [start = name + '='](const OmString& text) { return text.rfind(start, 0) == 0; });
}

/// Gives a new filter the values of the one before.
void WatchedFilter::takeSettings()
{
  std::vector<Setting> settings;
  m_times.clear();
  for (const Setting& setting : m_pipeline.defaults())
  {
    const OmString name = FilterPipeline::place(setting.name).second;
    const bool isTime =
        (name == "time" && setting.floats.size() == 1) || (name == "frame" && setting.integers.size() == 1);
    (isTime && !isGiven(setting.name) ? m_times : settings).push_back(setting);
  }
  m_values.reset(settings);
  for (const Setting& setting : m_values.own())
    m_pipeline.set(setting);
}

void WatchedFilter::setTimes()
{
  const std::chrono::duration<float> time = std::chrono::steady_clock::now() - m_start;
  ++m_frame;
  for (Setting& setting : m_times)
  {
    if (setting.floats.empty())
      setting.integers = {m_frame};
    else
      setting.floats = {time.count()};
    m_pipeline.set(setting);
  }
  m_isDue = true;
}

OmString WatchedFilter::name() const
{
  return m_pictures.name();
}

/// The names of the shaders.
OmString WatchedFilter::filterName() const
{
  OmString text;
  for (const ShaderSettings& shader : m_settings.shaders)
    text += (text.empty() ? "" : "+") + std::filesystem::path(findShader(shader.name, ".frag")).stem().string();
  return text;
}

OmString WatchedFilter::title() const
{
  const OmString setting = m_values.chosenText();
  return m_pictures.title() + " - " + filterName() + (setting.empty() ? "" : " - " + setting);
}

OmString WatchedFilter::information() const
{
  OmString text = m_pictures.information() + "\nfiltered by " + filterName() + ": " +
                  sizeText(m_result.width(), m_result.height()) + " pixels";
  for (const Setting& setting : m_values.all())
    text += "\n  " + settingText(setting);
  return text;
}

bool WatchedFilter::act(const OmWindowEvent& event)
{
  const OmU32 symbol = event.key >= 'A' && event.key <= 'Z' ? event.key - 'A' + 'a' : event.key;
  for (const Key& key : Keys)
    if (key.symbol == symbol && (this->*key.act)(key.direction, (event.modifiers & OmWindowEvent::Shift) != 0))
      return true;
  const bool isMeant = m_pictures.act(event);
  m_isDue = m_isDue || isMeant;
  return isMeant;
}

bool WatchedFilter::advance()
{
  const bool isAnother = m_pictures.advance();
  m_isDue = m_isDue || isAnother;
  return isAnother;
}

bool WatchedFilter::choose(int direction, bool isShifted)
{
  m_values.choose(isShifted ? -1 : direction);
  return true;
}

bool WatchedFilter::change(int direction, bool isShifted)
{
  const Setting* const setting = m_values.change(isShifted ? 10 * direction : direction);
  if (!setting)
    return false;
  m_pipeline.set(*setting);
  m_isDue = true;
  return true;
}

bool WatchedFilter::write(int, bool)
{
  const OmString file = freeName();
  try
  {
    writePicture(image(), file, m_log);
    std::cout << file << std::endl;
  }
  catch (const Failure& failure)
  {
    printFailure("omrender", failure.what());
  }
  return true;
}

bool WatchedFilter::print(int, bool)
{
  image(); // with the settings as they are
  FilterSettings settings = m_settings;
  for (ShaderSettings& shader : settings.shaders)
    shader.uniforms.clear();
  for (const std::vector<Setting>& some : {m_values.own(), m_times})
    for (const Setting& setting : some)
    {
      const auto [shader, name] = FilterPipeline::place(setting.name);
      settings.shaders[shader].uniforms.push_back(settingText({name, setting.floats, setting.integers}));
    }
  if (m_stale.empty())
    std::cout << filterCommandLine(settings, name(), freeName()) << std::endl;
  else
    printFailure("omrender", "no command makes this picture, as " + ::quoted(m_stale.front()) +
                                 " has changed since; mend it first");
  return true;
}

/// The name for a result in the current directory. No file has it yet.
OmString WatchedFilter::freeName() const
{
  const OmString start = std::filesystem::path(name()).stem().string() + '-' + filterName();
  std::error_code error;
  OmString file = start + ".png";
  for (int number = 2; std::filesystem::exists(std::filesystem::symlink_status(file, error)); ++number)
    file = start + '-' + std::to_string(number) + ".png";
  return file;
}

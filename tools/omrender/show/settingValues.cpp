#include "tools/omrender/show/settingValues.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace
{

using Setting = OmImageFilter::Setting;

template <typename Number>
OmString numberText(Number number)
{
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

std::size_t count(const Setting& setting)
{
  return setting.floats.size() + setting.integers.size();
}

bool haveOneShape(const Setting& a, const Setting& b)
{
  return a.floats.size() == b.floats.size() && a.integers.size() == b.integers.size();
}

/// The decimal number that a float stands for, so that 21 twentieths of 0.3 make 0.315.
double decimal(float number)
{
  const OmString text = numberText(number);
  double value = 0.0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

int stepped(int value, int steps)
{
  using Limits = std::numeric_limits<int>;
  const long long sum = static_cast<long long>(value) + steps;
  return static_cast<int>(std::clamp<long long>(sum, Limits::min(), Limits::max()));
}

/// Goes to whole multiples of the step, so that errors do not add up.
float stepped(float value, float initial, int steps)
{
  const double size = initial == 0.0F ? 0.05 : std::abs(decimal(initial)) / 20.0;
  const double place = decimal(value) / size;
  const double whole = std::round(place);
  const double start = std::abs(place - whole) < 1e-6 * std::max(1.0, std::abs(place)) ? whole : place;
  const auto result = static_cast<float>((start + steps) * size);
  return std::isfinite(result) ? result : value;
}

} // namespace

void SettingValues::reset(const std::vector<Setting>& defaults)
{
  m_defaults = defaults;
}

void SettingValues::set(const Setting& setting)
{
  m_own[setting.name] = setting;
}

SettingValues::Setting SettingValues::value(const Setting& initial) const
{
  const auto found = m_own.find(initial.name);
  return found != m_own.end() && haveOneShape(found->second, initial) ? found->second : initial;
}

std::vector<SettingValues::Setting> SettingValues::own() const
{
  std::vector<Setting> settings;
  for (const Setting& initial : m_defaults)
  {
    const auto found = m_own.find(initial.name);
    if (found != m_own.end() && haveOneShape(found->second, initial))
      settings.push_back(found->second);
  }
  return settings;
}

std::vector<SettingValues::Setting> SettingValues::all() const
{
  std::vector<Setting> settings;
  for (const Setting& initial : m_defaults)
    settings.push_back(value(initial));
  return settings;
}

SettingValues::Place SettingValues::place() const
{
  for (std::size_t i = 0; i < m_defaults.size(); ++i)
    if (m_defaults[i].name == m_chosen)
      return {i, std::min(m_component, count(m_defaults[i]) - 1)};
  return {};
}

void SettingValues::choose(int direction)
{
  std::vector<Place> places;
  std::size_t now = 0;
  const Place chosen = place();
  for (std::size_t setting = 0; setting < m_defaults.size(); ++setting)
    for (std::size_t component = 0; component < count(m_defaults[setting]); ++component)
    {
      if (setting == chosen.setting && component == chosen.component)
        now = places.size();
      places.push_back({setting, component});
    }
  if (places.empty())
    return;
  const Place next = places[(now + places.size() + static_cast<std::size_t>(direction)) % places.size()];
  m_chosen = m_defaults[next.setting].name;
  m_component = next.component;
}

const SettingValues::Setting* SettingValues::change(int steps)
{
  if (m_defaults.empty())
    return nullptr;
  const auto [index, component] = place();
  const Setting& initial = m_defaults[index];
  Setting setting = value(initial);
  if (setting.floats.empty())
    setting.integers[component] = stepped(setting.integers[component], steps);
  else
    setting.floats[component] = stepped(setting.floats[component], initial.floats[component], steps);
  return &(m_own[setting.name] = setting);
}

OmString SettingValues::chosenText() const
{
  if (m_defaults.empty())
    return "";
  const auto [index, component] = place();
  const Setting setting = value(m_defaults[index]);
  OmString text = setting.name;
  for (std::size_t i = 0; i < count(setting); ++i)
  {
    const OmString number = setting.floats.empty() ? numberText(setting.integers[i]) : numberText(setting.floats[i]);
    text += i == 0 ? '=' : ',';
    text += i == component && count(setting) > 1 ? '[' + number + ']' : number;
  }
  return text;
}

OmString settingText(const OmImageFilter::Setting& setting)
{
  OmString text;
  for (const float number : setting.floats)
    text += ',' + numberText(number);
  for (const int number : setting.integers)
    text += ",i" + numberText(number);
  return setting.name + '=' + text.substr(1);
}

#ifndef OM_TOOLS_SETTING_VALUES_H
#define OM_TOOLS_SETTING_VALUES_H

#include "render/omImageFilter.h"

#include <map>
#include <vector>

/// The settings of a shader as a user changes them, one number at a time. What the user has set stays when the shader
/// is made again, also for a setting that comes back later.
class SettingValues
{
public:
  using Setting = OmImageFilter::Setting;

  /// Takes the settings that there are now, with their defaults. A value of the user stays if the setting still has as
  /// many numbers of its kind, and the chosen number stays chosen.
  void reset(const std::vector<Setting>& defaults);
  /// Sets one as the user wants it, whether it is there or not.
  void set(const Setting& setting);

  /// Those that are there and have a value of the user.
  std::vector<Setting> own() const;
  /// All that are there.
  std::vector<Setting> all() const;

  /// Chooses the next number (1) or the one before (-1), in a circle.
  void choose(int direction);
  /// Changes the chosen number by so many steps: 1 for a whole number, otherwise a twentieth of its default, or 0.05
  /// if that is 0. Returns the setting; null if there is none.
  const Setting* change(int steps);
  /// The setting with the chosen number, for a title: "radius=3", "tint=1,[0.5],0". Empty if there is none.
  OmString chosenText() const;

private:
  /// A number of a setting.
  struct Place
  {
    std::size_t setting = 0;
    std::size_t component = 0;
  };

  Setting value(const Setting& initial) const;
  Place place() const;

  std::vector<Setting> m_defaults;
  std::map<OmString, Setting> m_own;
  OmString m_chosen; ///< the name of the setting; the first one's if there is none of that name
  std::size_t m_component = 0;
};

/// A setting as --set takes it. The same numbers come out.
OmString settingText(const OmImageFilter::Setting& setting);

#endif

#ifndef OM_TOOLS_WATCHED_FILTER_H
#define OM_TOOLS_WATCHED_FILTER_H

#include "image/omImage.h"
#include "tools/omrender/filter/filterPipeline.h"
#include "tools/omrender/show/fileWatch.h"
#include "tools/omrender/show/settingValues.h"
#include "tools/omrender/show/viewerContent.h"

#include <chrono>
#include <optional>
#include <set>
#include <vector>

class LibraryLog;
class PictureFiles;

/// Pictures through a filter, whose settings the user changes by keys. What is seen is what `omrender filter` writes.
///
/// Tells the shader the time: the seconds since the start, if it has a `uniform float time`, and how many pictures were
/// made before, if it has a `uniform int frame`.
class WatchedFilter : public ViewerContent
{
public:
  /// Makes the filter and the first picture. `files` are those of the pictures. Keeps references to the pictures and
  /// the log. Throws a Failure.
  WatchedFilter(PictureFiles& pictures, std::vector<OmString> files, const FilterSettings& settings, LibraryLog& log);

  /// From now on makes the filter again when one of its files changes, and the picture when its file does. A failure is
  /// reported on standard error, and the picture stays.
  void watch();

  const OmImage& image() override;
  OmString title() const override;
  OmString name() const override;
  OmString information() const override;
  int descriptor() const override { return m_watch ? m_watch->descriptor() : -1; }
  bool update() override;
  bool isAnimated() const override { return !m_times.empty(); }
  bool act(const OmWindowEvent& key) override;
  bool advance() override;

private:
  using Setting = OmImageFilter::Setting;

  /// What a key does. `direction` is 1 or -1. Returns false if there is nothing to do it to.
  struct Key
  {
    OmU32 symbol;
    int direction;
    bool (WatchedFilter::*act)(int direction, bool isShifted);
  };

  static const Key Keys[];

  bool choose(int direction, bool isShifted);
  bool change(int direction, bool isShifted);
  bool write(int, bool);
  bool print(int, bool);

  void run();
  const OmImage& picture();
  void readChanged(const OmString& file);
  void reload();
  void takeSettings();
  bool isGiven(const OmString& setting) const;
  void setTimes();
  template <typename Job>
  bool attempt(Job job);
  OmString filterName() const;
  OmString freeName() const;

  PictureFiles& m_pictures;
  const std::vector<OmString> m_files; ///< of the pictures
  const FilterSettings m_settings;
  LibraryLog& m_log;
  const std::vector<OmString> m_filterFiles;
  FilterPipeline m_pipeline;
  SettingValues m_values;
  std::vector<Setting> m_times; ///< `time` and `frame`, as far as the shader has them
  std::optional<FileWatch> m_watch;
  std::vector<OmString> m_stale;        ///< files of the filter that changed since it was made
  std::set<OmString> m_changedPictures; ///< since the start
  OmString m_ownName;                   ///< the file that m_own was read from
  OmImage m_own;                        ///< the one of the changed pictures that was read last
  OmImage m_result;
  bool m_isDue = true; ///< m_result is to be made again
  OmString m_failure;  ///< reported, and not mended yet
  const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  int m_frame = 0;
};

#endif

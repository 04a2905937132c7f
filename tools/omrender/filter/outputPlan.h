#ifndef OM_TOOLS_OUTPUT_PLAN_H
#define OM_TOOLS_OUTPUT_PLAN_H

#include "tools/omrender/filter/outputOptions.h"
#include "tools/omrender/filter/pictureFinder.h"
#include "tools/omrender/filter/shard.h"
#include "tools/omrender/filter/taskList.h"

#include <CLI/App.hpp>

#include <cstddef>
#include <set>
#include <vector>

/// Where the results of files go.
struct OutputPlaces
{
  OmString file;      ///< the only result, or "-" for standard output; if this is given, the next three are not
  OmString directory; ///< of all results; without one they go beside the pictures, which takes a suffix
  OmString suffix;    ///< between the picture's name and the extension
  bool recursive = false;
  bool skipExisting = false;

  bool writesStream() const { return file == "-"; }
  bool areForBatch() const { return !directory.empty() || !suffix.empty(); }
  bool areGiven() const { return !file.empty() || areForBatch(); }
};

void addPlaceOptions(CLI::App& command, OutputPlaces& places);

/// Throws a CLI::Error if the places make no sense for these files.
void checkPlaceOptions(const OutputPlaces& places, const std::vector<OmString>& files);

/// Throws a CLI::Error if the places make no sense for a list, whose lines may have places of their own.
void checkPlaceOptionsForList(const OutputPlaces& places);

/// The pictures of a run and the file for the result of each. All names are known before the first picture is read;
/// they are all that a long run keeps.
class OutputPlan : public TaskList
{
public:
  /// Finds the pictures, checks that their results can be written, and keeps those of one shard. `alsoRead` are other
  /// files of the run. Throws a Failure, and makes nothing.
  OutputPlan(const std::vector<OmString>& files, const OutputPlaces& places, const OutputOptions& options,
             const std::vector<OmString>& alsoRead, const Shard& shard);

  /// Makes the directories that the results need. Throws a Failure.
  void makeDirectories() const;

  std::optional<FilterTask> next() override;
  std::size_t total() const override { return m_pictures.size(); }
  /// How many pictures are left out because their results exist.
  std::size_t skipped() const { return m_skipped; }

private:
  void find(const std::vector<OmString>& files, const OutputPlaces& places, const OmString& extension);
  void add(const FoundPicture& picture, const OutputPlaces& places, const OmString& extension);
  void checkDistinct() const;
  void collectDirectories();
  void skipExisting();
  template <typename Condition>
  void keep(const Condition& isKept);

  std::vector<OmString> m_pictures;
  std::vector<OmString> m_results;               ///< the file for each; none at all for standard output
  std::set<std::filesystem::path> m_directories; ///< of the results
  std::size_t m_skipped = 0;
  std::size_t m_next = 0;
};

#endif

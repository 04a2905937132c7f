#ifndef OM_TOOLS_BATCH_H
#define OM_TOOLS_BATCH_H

#include "tools/omrender/failure.h"
#include "tools/omrender/filter/pictureSource.h"
#include "tools/omrender/filter/progressBar.h"
#include "tools/omrender/filter/report.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

class FilterPipeline;

struct BatchSettings
{
  int jobs;             ///< pictures that are read or written at the same time
  std::uint64_t memory; ///< in bytes, for the pictures that are under way
  std::size_t total;    ///< pictures, for the progress bar; 0 if that is not known
  bool endsAtFailure;   ///< the first failure ends the program
  ProgressKind progress;
  Report* report; ///< gets a line for each picture; may be null
};

/// Takes pictures through the filter: as many threads as there are jobs read and write them, and the caller's thread,
/// which has the context, filters them in between. With one job all is done in the caller's thread, one picture after
/// the other.
///
/// Pictures are filtered, delivered and reported in the order of the source, whatever the threads do. A picture is read
/// only if the memory for it is left, in that order too; one that needs more than there is goes alone.
class Batch
{
public:
  Batch(PictureSource& source, FilterPipeline& pipeline, PictureSink& sink, const BatchSettings& settings);

  /// Filters what can be filtered and reports what cannot. Returns OutOfRoom if a picture failed for that, otherwise
  /// SomeFailed if one failed.
  ExitStatus run();

private:
  /// What a picture waits for, or what is done with it.
  enum class State
  {
    Taken, ///< from the source
    Opening,
    Opened, ///< waits for memory
    Reading,
    Read,
    Filtering,
    Filtered,
    Encoding,
    Encoded,
    Writing,
    Done, ///< or failed; waits for the pictures before it
    Delivering
  };

  struct Item
  {
    State state = State::Taken;
    std::unique_ptr<PictureInput> input;
    PicturePixels pixels; ///< the picture, and then its result
    std::vector<OmU8> bytes;
    std::size_t size = 0; ///< of the encoded result, in bytes
    OmU32 width = 0;      ///< of the result, in pixels
    OmU32 height = 0;
    bool isLeftOut = false;      ///< by its source
    bool isDeep = false;         ///< it is filtered with 16 bits
    bool losesDepth = false;     ///< it would be if the card kept them
    std::uint64_t memory = 0;    ///< that it takes of the limit
    OmString failure;            ///< empty if there is none
    ExitStatus status = AllDone; ///< by the failure
    bool isBeyondLimit = false;  ///< the failure comes with the signal XFSZ
    /// That the stages took.
    std::array<std::optional<double>, PictureReport::Stages.size()> milliseconds;
  };

  using Lock = std::unique_lock<std::mutex>;

  std::vector<std::thread> startThreads();
  void work();
  bool workNext(Lock& lock);
  bool filterNext(Lock& lock);
  bool isOver() const { return (m_isEnded || (m_isStopped && !m_isTaking)) && m_items.empty(); }
  bool mayTake() const;
  bool mayRead(const Item& item) const;
  std::uint64_t memoryFor(const Item& item) const;
  Item* find(State state);
  Item* nextToRead();
  void take(Lock& lock);
  void open(Item& item, Lock& lock);
  void read(Item& item, Lock& lock);
  void encode(Item& item, Lock& lock);
  void write(Item& item, Lock& lock);
  void deliver(Item& item, Lock& lock);
  void finish(const Item& item);
  void count(const Item& item);
  void report(const Item& item);
  void addToReport(const Item& item);
  void reportUntried();
  void warnOfDepth();
  static std::optional<std::size_t> stageOf(State state);
  template <typename Operation>
  void perform(Item& item, State during, State after, Lock& lock, const Operation& operation);

  PictureSource& m_source;
  FilterPipeline& m_pipeline; ///< run() is for the caller's thread
  PictureSink& m_sink;
  const BatchSettings m_settings;

  std::mutex m_mutex; ///< for what follows; a picture is its thread's own while something is done with it
  std::condition_variable m_changed;
  std::list<Item> m_items;    ///< under way, in the order of the source
  std::uint64_t m_memory = 0; ///< of the items
  bool m_isTaking = false;
  bool m_isEnded = false;   ///< the source has no more
  bool m_isStopped = false; ///< no more are taken, as their results could not be written

  // Of the thread that delivers.
  ProgressBar m_bar;
  Progress m_progress;
  Report* m_report;
  ExitStatus m_status = AllDone;
  bool m_hasWarned = false;
};

#endif

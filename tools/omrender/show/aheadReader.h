#ifndef OM_TOOLS_AHEAD_READER_H
#define OM_TOOLS_AHEAD_READER_H

#include "image/omImage.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

/// Reads the pictures of a list, and on a thread of its own those that are likely to come next.
class AheadReader
{
public:
  /// Reads a picture of the list. Called on two threads at once. Throws when it cannot.
  using Read = std::function<OmImage(std::size_t index)>;

  /// `sizes` are the bytes of each picture. Those that are kept besides the last one got take at most `bound` bytes.
  AheadReader(std::vector<std::uint64_t> sizes, std::uint64_t bound, Read read);
  /// Waits for the picture that is being read, and reads no other.
  ~AheadReader();
  AheadReader(const AheadReader&) = delete;
  AheadReader& operator=(const AheadReader&) = delete;

  /// The picture, from memory or read now. Then reads ahead for somebody who goes on in that direction, 1 or -1. Throws
  /// what `read` throws.
  std::shared_ptr<const OmImage> get(std::size_t index, int direction);

private:
  void readAhead();
  std::vector<std::size_t> chooseNeighbours(std::size_t index, int direction) const;
  std::optional<std::size_t> nextWanted() const;

  const std::vector<std::uint64_t> m_sizes;
  const std::uint64_t m_bound;
  const Read m_read;

  std::mutex m_mutex; ///< of all below
  std::condition_variable m_changed;
  std::map<std::size_t, std::shared_ptr<const OmImage>> m_pictures;
  std::vector<std::size_t> m_wanted; ///< the most urgent one first
  std::set<std::size_t> m_failed;    ///< among the wanted ones
  std::optional<std::size_t> m_underWay;
  bool m_end = false;
  std::thread m_thread; ///< begins last
};

#endif

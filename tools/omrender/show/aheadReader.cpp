#include "tools/omrender/show/aheadReader.h"

#include <algorithm>
#include <exception>
#include <utility>

AheadReader::AheadReader(std::vector<std::uint64_t> sizes, std::uint64_t bound, Read read)
    : m_sizes(std::move(sizes)), m_bound(bound), m_read(std::move(read)), m_thread([this] { readAhead(); })
{
}

AheadReader::~AheadReader()
{
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_end = true;
  }
  m_changed.notify_all();
  m_thread.join();
}

std::shared_ptr<const OmImage> AheadReader::get(std::size_t index, int direction)
{
  std::unique_lock<std::mutex> lock(m_mutex);
  m_changed.wait(lock, [&] { return m_underWay != index; });
  const auto found = m_pictures.find(index);
  std::shared_ptr<const OmImage> picture = found == m_pictures.end() ? nullptr : found->second;
  if (!picture)
  {
    m_wanted.clear(); // this one comes first
    lock.unlock();
    picture = std::make_shared<const OmImage>(m_read(index));
    lock.lock();
  }
  m_wanted = chooseNeighbours(index, direction);
  m_failed.clear();
  for (auto kept = m_pictures.begin(); kept != m_pictures.end();)
    kept = std::count(m_wanted.begin(), m_wanted.end(), kept->first) ? std::next(kept) : m_pictures.erase(kept);
  m_pictures[index] = picture;
  m_changed.notify_all();
  return picture;
}

std::vector<std::size_t> AheadReader::chooseNeighbours(std::size_t index, int direction) const
{
  constexpr int Steps[] = {1, 2, -1, 3};
  std::vector<std::size_t> neighbours;
  std::uint64_t left = m_bound;
  for (const int step : Steps)
  {
    const std::size_t neighbour = index + static_cast<std::size_t>(step * direction); // huge before the first one
    if (neighbour >= m_sizes.size() || m_sizes[neighbour] > left)
      continue;
    left -= m_sizes[neighbour];
    neighbours.push_back(neighbour);
  }
  return neighbours;
}

std::optional<std::size_t> AheadReader::nextWanted() const
{
  for (const std::size_t index : m_wanted)
    if (!m_pictures.count(index) && !m_failed.count(index))
      return index;
  return std::nullopt;
}

void AheadReader::readAhead()
{
  std::unique_lock<std::mutex> lock(m_mutex);
  for (;;)
  {
    m_changed.wait(lock, [this] { return m_end || nextWanted(); });
    if (m_end)
      return;
    const std::size_t index = *nextWanted();
    m_underWay = index;
    lock.unlock();
    std::shared_ptr<const OmImage> picture;
    try
    {
      picture = std::make_shared<const OmImage>(m_read(index));
    }
    catch (const std::exception&)
    {
      // get() reads it again, and reports why that fails.
    }
    lock.lock();
    m_underWay.reset();
    if (!picture)
      m_failed.insert(index);
    else if (std::count(m_wanted.begin(), m_wanted.end(), index))
      m_pictures[index] = picture;
    m_changed.notify_all();
  }
}

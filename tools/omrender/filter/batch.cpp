#include "tools/omrender/filter/batch.h"

#include "tools/omrender/filter/filterPipeline.h"
#include "tools/omrender/signals.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

namespace
{

/// For each job, at most this many pictures are read ahead of the filter. More would only take memory.
constexpr std::size_t ReadAhead = 2;
/// For each job, at most this many pictures are under way, those that wait for a slow one before them included.
constexpr std::size_t UnderWay = 16;

} // namespace

Batch::Batch(PictureSource& source, FilterPipeline& pipeline, PictureSink& sink, const BatchSettings& settings)
    : m_source(source), m_pipeline(pipeline), m_sink(sink), m_settings(settings),
      m_bar(settings.total, settings.progress), m_report(settings.report)
{
}

ExitStatus Batch::run()
{
  Lock lock(m_mutex);
  std::vector<std::thread> threads = startThreads();
  // One thread alone could wait for the source while a result is to be written.
  const bool helps = threads.size() < 2;
  while (!isOver())
    if (!filterNext(lock) && !(helps && workNext(lock)))
      m_changed.wait(lock);
  lock.unlock();
  for (std::thread& thread : threads)
    thread.join();
  if (m_isStopped)
    reportUntried();
  return m_status;
}

/// If the system gives fewer threads than there are jobs, those do the work.
std::vector<std::thread> Batch::startThreads()
{
  std::vector<std::thread> threads;
  try
  {
    while (m_settings.jobs > 1 && threads.size() < static_cast<std::size_t>(m_settings.jobs))
      threads.emplace_back([this] { work(); });
  }
  catch (const std::system_error&)
  {
  }
  return threads;
}

void Batch::work()
{
  Lock lock(m_mutex);
  while (!isOver())
    if (!workNext(lock))
      m_changed.wait(lock);
}

/// Does what is most urgent: what ends a picture goes before what begins one. Returns false if there is nothing to do.
bool Batch::workNext(Lock& lock)
{
  if (!m_items.empty() && m_items.front().state == State::Done)
    deliver(m_items.front(), lock);
  else if (Item* const encoded = find(State::Encoded))
    write(*encoded, lock);
  else if (Item* const filtered = find(State::Filtered))
    encode(*filtered, lock);
  else if (Item* const next = nextToRead())
    read(*next, lock);
  else if (Item* const taken = find(State::Taken))
    open(*taken, lock);
  else if (mayTake())
    take(lock);
  else
    return false;
  return true;
}

/// Filters the first picture that is not yet filtered, if it has been read. Returns false if it has not.
bool Batch::filterNext(Lock& lock)
{
  const auto next =
      std::find_if(m_items.begin(), m_items.end(), [](const Item& item) { return item.state <= State::Read; });
  if (next == m_items.end() || next->state != State::Read)
    return false;
  const auto filter = [this](Item& item)
  {
    const PictureFile& header = item.input->header();
    std::visit([&](auto& image)
               { m_pipeline.run(image, header.file, !header.hasAlpha(), item.input->task().uniforms, image); },
               item.pixels);
  };
  perform(*next, State::Filtering, State::Filtered, lock, filter);
  return true;
}

bool Batch::mayTake() const
{
  const auto jobs = static_cast<std::size_t>(m_settings.jobs);
  const auto ahead =
      std::count_if(m_items.begin(), m_items.end(), [](const Item& item) { return item.state <= State::Read; });
  return !m_isEnded && !m_isStopped && !m_isTaking && m_items.size() < UnderWay * jobs &&
         static_cast<std::size_t>(ahead) < ReadAhead * jobs;
}

bool Batch::mayRead(const Item& item) const
{
  return m_memory == 0 || m_memory + memoryFor(item) <= m_settings.memory;
}

/// The most that a picture takes from reading to writing, in bytes: its pixels, and beside them what a progressive JPEG
/// is collected in or libwebp decodes to, or the result's pixels and what its encoder takes for each of them.
std::uint64_t Batch::memoryFor(const Item& item) const
{
  const PictureFile& header = item.input->header();
  const auto [width, height] = m_pipeline.resultSize(header);
  const std::uint64_t pixels = std::uint64_t{header.width} * header.height;
  const std::uint64_t resultPixels = std::uint64_t{width} * height;
  const std::uint64_t sampleSize = item.isDeep ? 2 : 1;
  return item.input->byteSize() +
         sampleSize * (4 * pixels + std::max(8 * pixels, (4 + m_sink.encodingMemory(*item.input)) * resultPixels));
}

/// Returns the first picture in that state, or null.
Batch::Item* Batch::find(State state)
{
  const auto found =
      std::find_if(m_items.begin(), m_items.end(), [state](const Item& item) { return item.state == state; });
  return found == m_items.end() ? nullptr : &*found;
}

/// Returns the first picture that has not been read, or null if it must not be read yet. Those behind it wait too:
/// they would take the memory that it needs, and are filtered after it.
Batch::Item* Batch::nextToRead()
{
  const auto next =
      std::find_if(m_items.begin(), m_items.end(), [](const Item& item) { return item.state <= State::Opened; });
  return next != m_items.end() && next->state == State::Opened && mayRead(*next) ? &*next : nullptr;
}

void Batch::take(Lock& lock)
{
  std::list<Item> taken(1);
  Item& item = taken.front();
  m_isTaking = true;
  perform(item, State::Taken, State::Taken, lock, [this](Item& next) { next.input = m_source.next(); });
  m_isTaking = false;
  m_isEnded = !item.input && item.failure.empty();
  if (m_isEnded)
    return;
  m_items.splice(m_items.end(), taken);
}

void Batch::open(Item& item, Lock& lock)
{
  const auto openInput = [this](Item& opened)
  {
    opened.isLeftOut = !opened.input->open();
    if (opened.isLeftOut)
      return;
    m_pipeline.checkPicture(opened.input->header());
    const bool wantsDepth = m_sink.depth(*opened.input) > 8;
    opened.isDeep = wantsDepth && m_pipeline.takesDeepImages();
    opened.losesDepth = wantsDepth && !opened.isDeep;
  };
  perform(item, State::Opening, State::Opened, lock, openInput);
}

void Batch::read(Item& item, Lock& lock)
{
  item.memory = memoryFor(item);
  m_memory += item.memory;
  const auto readPicture = [this](Item& read)
  {
    read.pixels = read.input->read(read.isDeep);
    m_pipeline.scale(read.pixels, read.input->header());
  };
  perform(item, State::Reading, State::Read, lock, readPicture);
}

void Batch::encode(Item& item, Lock& lock)
{
  const auto encodeResult = [this](Item& filtered)
  {
    filtered.width = std::visit([](const auto& image) { return image.width(); }, filtered.pixels);
    filtered.height = std::visit([](const auto& image) { return image.height(); }, filtered.pixels);
    filtered.bytes = m_sink.encode(*filtered.input, filtered.pixels);
    filtered.size = filtered.bytes.size();
  };
  perform(item, State::Encoding, State::Encoded, lock, encodeResult);
}

/// If the disk is full, what follows would fail as well.
void Batch::write(Item& item, Lock& lock)
{
  perform(item, State::Writing, State::Done, lock,
          [this](Item& encoded) { m_sink.write(*encoded.input, encoded.bytes); });
  m_isStopped = m_isStopped || item.status == OutOfRoom;
}

/// Only the first picture is delivered, and one thread does it, so failures are reported in order.
void Batch::deliver(Item& item, Lock& lock)
{
  const auto deliverResult = [this](Item& done)
  {
    if (done.failure.empty() && !done.isLeftOut)
      m_sink.deliver(done.bytes, done.width, done.height);
  };
  perform(item, State::Delivering, State::Delivering, lock, deliverResult);
  lock.unlock();
  finish(item);
  lock.lock();
  m_isStopped = m_isStopped || m_report != m_settings.report;
  m_memory -= item.memory;
  m_items.pop_front();
  m_changed.notify_all();
}

void Batch::finish(const Item& item)
{
  count(item);
  addToReport(item);
  if (!item.failure.empty())
    report(item);
  else if (item.losesDepth && !m_hasWarned)
    warnOfDepth();
  m_bar.show(m_progress);
}

void Batch::count(const Item& item)
{
  if (!item.failure.empty())
    ++m_progress.failed;
  else if (item.isLeftOut)
    ++m_progress.skipped;
  else
    ++m_progress.done;
}

/// Without the report the batch does not go on: nobody would know what it did.
void Batch::addToReport(const Item& item)
{
  if (!m_report)
    return;
  PictureReport line;
  if (item.input)
  {
    line.in = item.input->task().picture;
    line.out = item.input->task().result;
  }
  line.status = !item.failure.empty() ? "failed" : item.isLeftOut ? "skipped" : "done";
  line.reason = item.failure;
  line.bytes = item.failure.empty() ? item.size : 0;
  line.width = item.width;
  line.height = item.height;
  line.milliseconds = item.milliseconds;
  try
  {
    m_report->append(line);
  }
  catch (const Failure& failure)
  {
    m_report = nullptr;
    m_status = std::max(m_status, failure.status());
    m_bar.hide();
    printFailure("omrender", failure.what());
  }
}

void Batch::reportUntried()
{
  const std::size_t tried = m_progress.finished();
  if (m_settings.total == tried || m_isEnded)
    return;
  m_bar.hide();
  printFailure("omrender", (m_settings.total > tried ? std::to_string(m_settings.total - tried) + " pictures were"
                                                     : OmString("what is left of the list was")) +
                               " not tried; run the same again when there is room");
}

void Batch::report(const Item& item)
{
  m_status = std::max(m_status, item.status);
  m_bar.hide();
  printFailure("omrender", item.failure);
  if (item.isBeyondLimit)
    endBySignal(SIGXFSZ);
  endIfSignalled();
  if (!m_settings.endsAtFailure)
    return;
  m_bar.end();
  std::_Exit(m_status); // another thread may wait for a picture that never comes
}

void Batch::warnOfDepth()
{
  m_hasWarned = true;
  m_bar.hide();
  printFailure("omrender", "warning: " + m_pipeline.renderer() +
                               " has no textures of 16 bits or floats; pictures are filtered with 8");
}

/// The place of a stage in the report. What a stream delivers is written then.
std::optional<std::size_t> Batch::stageOf(State state)
{
  switch (state)
  {
  case State::Opening:
    return 0;
  case State::Reading:
    return 1;
  case State::Filtering:
    return 2;
  case State::Encoding:
    return 3;
  case State::Writing:
  case State::Delivering:
    return 4;
  default:
    return std::nullopt;
  }
}

/// Runs an operation on a picture, which is this thread's own meanwhile. What it throws is the picture's failure.
template <typename Operation>
void Batch::perform(Item& item, State during, State after, Lock& lock, const Operation& operation)
{
  item.state = during;
  lock.unlock();
  const auto start = std::chrono::steady_clock::now();
  try
  {
    operation(item);
  }
  catch (const std::bad_alloc&)
  {
    item.failure =
        "out of memory" + (item.input ? " for " + quoted(item.input->task().picture) : "") + "; scale it down first";
    item.status = OutOfRoom;
  }
  catch (const Failure& failure)
  {
    item.failure = failure.what();
    item.status = failure.status() == OutOfRoom ? OutOfRoom : SomeFailed; // a picture too large for the card is one
    item.isBeyondLimit = takeLimitSignal();
  }
  catch (const std::exception& failure)
  {
    item.failure = failure.what();
    item.status = SomeFailed;
  }
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  const auto stage = stageOf(during);
  if (stage && (during != State::Delivering || (item.failure.empty() && !item.isLeftOut)))
    item.milliseconds[*stage] = item.milliseconds[*stage].value_or(0.0) + time.count();
  const bool hasFailed = !item.failure.empty() || item.isLeftOut;
  const bool isOver = hasFailed || after == State::Encoded || after == State::Done;
  if (isOver)
    item.pixels = OmImage();
  lock.lock();
  item.state = hasFailed && during != State::Delivering ? State::Done : after;
  if (isOver)
  {
    m_memory -= item.memory;
    item.memory = item.bytes.size();
    m_memory += item.memory;
  }
  m_changed.notify_all();
}

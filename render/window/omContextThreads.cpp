#include "render/window/omContextThreads.h"

#include <algorithm>

OmContextThreads& OmContextThreads::instance()
{
  static OmContextThreads& threads = *new OmContextThreads; // never destroyed, so that static windows can still use it
  return threads;
}

bool OmContextThreads::isElsewhere(Context context)
{
  const std::thread::id self = std::this_thread::get_id();
  const std::lock_guard<std::mutex> lock(m_mutex);
  return std::any_of(m_contexts.begin(), m_contexts.end(),
                     [&](const auto& entry) { return entry.second == context && entry.first != self; });
}

void OmContextThreads::take(Context context)
{
  thread_local const AtThreadEnd atThreadEnd;
  forget(context); // a context is current on one thread at a time
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_contexts[std::this_thread::get_id()] = context;
}

void OmContextThreads::forget(Context context)
{
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (auto& entry : m_contexts)
    if (entry.second == context)
      entry.second = nullptr;
}

OmContextThreads::AtThreadEnd::~AtThreadEnd()
{
  OmContextThreads& threads = instance();
  const std::lock_guard<std::mutex> lock(threads.m_mutex);
  threads.m_contexts.erase(std::this_thread::get_id());
}

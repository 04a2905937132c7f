#ifndef OM_CONTEXT_THREADS_H
#define OM_CONTEXT_THREADS_H

#include <map>
#include <mutex>
#include <thread>

/// Which context each thread has made current last through the back ends. A context is a handle of the window system.
/// take() is an assignment; the first call on a thread also allocates. All operations may be called on any thread.
class OmContextThreads
{
public:
  using Context = const void*;

  static OmContextThreads& instance();

  /// Whether a thread other than the calling one has made the context current last, and may still have it.
  bool isElsewhere(Context context);
  /// Says that the calling thread has made the context current. Null: it has no current context.
  void take(Context context);
  /// Says that the context is gone.
  void forget(Context context);

private:
  /// Removes a thread when it ends.
  struct AtThreadEnd
  {
    ~AtThreadEnd();
  };

  std::mutex m_mutex;
  std::map<std::thread::id, Context> m_contexts;
};

#endif

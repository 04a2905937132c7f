#include "tools/omrender/signals.h"

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <initializer_list>
#include <mutex>

#include <unistd.h>

namespace
{

std::atomic<int> writers(0); // changes under the mutex; the handler only reads it
std::mutex writersMutex;
std::condition_variable writersChanged;
std::atomic<int> waitingSignal(0);
thread_local std::atomic<bool> wroteBeyondLimit(false);

void addWriters(int count)
{
  const std::lock_guard<std::mutex> lock(writersMutex);
  writers += count;
  writersChanged.notify_all();
}

/// Ends the program by the signal, so that the shell's own loop ends too. Process 1 survives that and just exits. So
/// does XFSZ, whose default action leaves a core file.
[[noreturn]] void endAtOnce(int signal)
{
  std::signal(signal, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  if (signal != SIGXFSZ)
    ::raise(signal);
  ::_exit(128 + signal);
}

/// A write beyond the limit of the file size raises XFSZ in its own thread and then fails; that failure is reported
/// first. The second of the other signals does not wait.
void onSignal(int signal, siginfo_t* info, void*)
{
  if (signal == SIGXFSZ && info->si_pid == ::getpid())
  {
    wroteBeyondLimit = true;
    return;
  }
  int none = 0;
  const bool isFirst = waitingSignal.compare_exchange_strong(none, signal);
  if (!isFirst || writers == 0)
    endAtOnce(signal);
}

} // namespace

void endOnSignals()
{
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGXFSZ})
  {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
      continue;
    action.sa_sigaction = onSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

void endIfSignalled()
{
  if (const int signal = waitingSignal)
    endBySignal(signal);
  if (takeLimitSignal())
    endBySignal(SIGXFSZ);
}

bool takeLimitSignal()
{
  return wroteBeyondLimit.exchange(false);
}

void endBySignal(int signal)
{
  int none = 0;
  waitingSignal.compare_exchange_strong(none, signal); // nobody begins another file
  std::unique_lock<std::mutex> lock(writersMutex);
  writersChanged.wait(lock, [] { return writers == 0; });
  endAtOnce(signal);
}

FileWriting::FileWriting()
{
  addWriters(1);
  // Whoever signalled before that may have seen no writer of this thread. Whoever does so from now on waits for it.
  if (const int signal = waitingSignal)
  {
    addWriters(-1);
    endBySignal(signal);
  }
}

FileWriting::~FileWriting()
{
  addWriters(-1);
}

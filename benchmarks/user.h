#ifndef OM_BENCHMARKS_USER_H
#define OM_BENCHMARKS_USER_H

#include "foundation/core/omTypes.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// Seconds of a steady clock.
double now();

/// Drags over, turns the wheel in and resizes the newest window of the screen, from a connection and a thread of its
/// own: 500 motions, 25 turns and 25 sizes a second. Each event has a value of its own, so that an answer tells which
/// ones it has seen.
class User
{
public:
  User();
  ~User();
  User(const User&) = delete;
  User& operator=(const User&) = delete;

  /// What it took to answer an event.
  struct Answer
  {
    double time;   ///< in seconds
    double frames; ///< that ended meanwhile, with the one that answers it
  };
  /// A frame that ended then has the pointer there, has seen that many turns, and has that width. Appends what it
  /// answers.
  void answered(int x, OmU32 turns, OmU32 width, double time, std::vector<Answer>& answers);

private:
  struct Event
  {
    OmU32 value;
    double time;
    OmU32 frame;  ///< the frames before it
    bool arrived; ///< at the server
  };
  using Events = std::deque<Event>; ///< not answered yet, the oldest first

  void run();
  void arrived();
  void note(Events& events, OmU32 value);

  std::mutex m_mutex; ///< for all that follows but the thread
  OmU32 m_frame = 0;  ///< that ended last
  Events m_motions;
  Events m_turns;
  Events m_sizes;
  std::atomic<bool> m_ended{false};
  std::thread m_thread;
};

#endif

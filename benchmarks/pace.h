#ifndef OM_BENCHMARKS_PACE_H
#define OM_BENCHMARKS_PACE_H

#include "benchmarks/streams.h"
#include "benchmarks/user.h"

/// What a window has taken of its user so far.
struct Answer
{
  int x = -1;      ///< where the pointer was last, in pixels; -1 for nowhere
  OmU32 turns = 0; ///< of the wheel
  OmU32 width = 0; ///< of the window, in pixels
};

/// Prints the median of the frames' times, which are in seconds, and the percentiles of the answers.
void printPace(const char* name, const std::vector<double>& frames, const std::vector<User::Answer>& answers);

/// Shows a stream to a user who drags, turns the wheel and resizes. A Window polls into an Answer and shows an image.
template <class Window>
void pace(const char* name, double seconds)
{
  const OmImage images[] = {makePicture(4, 1920, 1080), OmImage(4, 1920, 1080)};
  Window window(1920, 1080);
  for (const OmImage& image : images)
    window.show(image);
  User user;
  std::vector<double> frames;
  std::vector<User::Answer> answers;
  Answer answer;
  const double end = now() + seconds;
  for (double before = now(); before < end;)
  {
    window.poll(answer);
    window.show(images[frames.size() % 2]);
    const double after = now();
    frames.push_back(after - before);
    user.answered(answer.x, answer.turns, answer.width, after, answers);
    before = after;
  }
  printPace(name, frames, answers);
}

/// Runs a viewer, and turns the wheel in its window. Returns an exit status.
int paceOfViewer(double seconds, char** command);
void paceOfSfml(double seconds);
void paceOfSdl(double seconds);

#endif

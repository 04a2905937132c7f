#ifndef OM_BENCHMARKS_STREAMS_H
#define OM_BENCHMARKS_STREAMS_H

#include "image/omImage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

/// A picture that takes every byte value.
inline OmImage makePicture(OmU32 channels, OmU32 width, OmU32 height)
{
  OmImage image(channels, width, height);
  OmU32 state = 1;
  std::generate_n(image.data(), image.byteSize(),
                  [&state]
                  {
                    state = state * 1664525u + 1013904223u;
                    return static_cast<OmU8>(state >> 24);
                  });
  return image;
}

/// Opens a window, shows one picture and closes it, again and again. A Window shows by show(image).
template <class Window>
void openToFirstFrame(benchmark::State& state)
{
  const OmImage image = makePicture(4, 640, 480);
  for (auto _ : state)
  {
    Window window(640, 480);
    window.show(image);
  }
}

/// Shows pictures of one size, one after another: Channels, width and height are the arguments.
template <class Window>
void onScreen(benchmark::State& state)
{
  const auto width = static_cast<OmU32>(state.range(1));
  const auto height = static_cast<OmU32>(state.range(2));
  const OmImage image = makePicture(static_cast<OmU32>(state.range(0)), width, height);
  Window window(width, height);
  window.show(image); // some open, and store the picture, with the first one
  for (auto _ : state)
    window.show(image);
}

/// The same off screen, with the result read back. An OffScreen does it by render(image).
template <class OffScreen>
void offScreen(benchmark::State& state)
{
  const auto width = static_cast<OmU32>(state.range(1));
  const auto height = static_cast<OmU32>(state.range(2));
  const OmImage image = makePicture(static_cast<OmU32>(state.range(0)), width, height);
  OffScreen window(width, height);
  window.render(image);
  for (auto _ : state)
    benchmark::DoNotOptimize(window.render(image));
}

/// Registers what one way of doing the work can do; `channels` has the formats that it takes.
template <class Window, class OffScreen>
void registerStreams(const std::string& name, std::initializer_list<int> channels)
{
  benchmark::RegisterBenchmark(("open/" + name).c_str(), openToFirstFrame<Window>)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  for (const int count : channels)
    for (const auto& [width, height] : {std::pair(640, 480), std::pair(1920, 1080)})
    {
      benchmark::RegisterBenchmark(("screen/" + name).c_str(), onScreen<Window>)
          ->Args({count, width, height})
          ->ArgNames({"channels", "width", "height"})
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime();
      benchmark::RegisterBenchmark(("offScreen/" + name).c_str(), offScreen<OffScreen>)
          ->Args({count, width, height})
          ->ArgNames({"channels", "width", "height"})
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime();
    }
}

void registerByHand();
void registerSfml();
void registerSdl();

#endif

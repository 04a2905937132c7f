// What windows do, beside the same work by hand in plain GL and Xlib and, if their packages are there, with SFML and
// SDL2: opening to the first frame, a stream of pictures on the screen, and the same off screen with read-back.

#include "benchmarks/streams.h"
#include "render/omFBOWindow.h"

namespace
{

class LibraryWindow
{
public:
  LibraryWindow(OmU32 width, OmU32 height) { m_window.setWindowSize(width, height); }
  void show(const OmImage& image) { m_window.setImageBuffer(image, true); }

private:
  OmSimpleWindow m_window;
};

class LibraryOffScreen
{
public:
  LibraryOffScreen(OmU32 width, OmU32 height) : m_result(4, width, height)
  {
    m_window.setWindowSize(width, height);
    m_window.setOffScreenRendering(true);
    m_window.init();
  }
  const OmU8* render(const OmImage& image)
  {
    if (m_result.channels() != image.channels())
      m_result = OmImage(image.channels(), image.width(), image.height());
    m_window.setImageBuffer(image, false);
    m_window.renderSceneAndCaptureImage(m_result, 0, nullptr);
    return m_result.data();
  }

private:
  OmFBOWindow m_window;
  OmImage m_result;
};

} // namespace

int main(int argc, char** argv)
{
  registerStreams<LibraryWindow, LibraryOffScreen>("omRender", {3, 4});
  registerByHand();
#ifdef OM_BENCHMARK_SFML
  registerSfml();
#endif
#ifdef OM_BENCHMARK_SDL
  registerSdl();
#endif
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}

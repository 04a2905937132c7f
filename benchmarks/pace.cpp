// How long a window that shows a stream of pictures of 1920 by 1080 takes to answer its user: the time from an event to
// the end of the first frame that has it, in frames of that stream. Beside SFML and SDL2 if their packages are there.
//
//   omPace [SECONDS]             the same loop with each: take events, store the next picture, draw it
//   omPace SECONDS COMMAND...    a viewer whose picture has its number as colour: from a turn of the wheel to the title

#include "benchmarks/pace.h"
#include "benchmarks/user.h"
#include "render/omSimpleWindow.h"
#include "render/omTexture.h"
#include "render/omTextureParameters.h"
#include "render/omWindowEvent.h"

#include <boost/make_shared.hpp>

#include <cstdlib>
#include <string>

namespace
{

class LibraryWindow
{
public:
  LibraryWindow(OmU32 width, OmU32 height)
  {
    m_window.setWindowSize(width, height);
    m_window.init();
    m_texture->loadFromImage(OmImage(4, width, height), OmTextureParameters());
    m_window.setImageBuffer(m_texture, true);
  }
  void poll(Answer& answer)
  {
    m_window.pollEvents();
    OmWindowEvent event;
    while (m_window.takeEvent(event))
      if (event.type == OmWindowEvent::MouseMoved)
        answer.x = event.x;
      else if (event.type == OmWindowEvent::WheelTurned)
        ++answer.turns;
    OmU32 height = 0;
    m_window.getWindowSize(answer.width, height);
  }
  void show(const OmImage& image)
  {
    m_texture->loadFromImage(image, OmTextureParameters());
    m_window.renderScene(true);
  }

private:
  OmSimpleWindow m_window;
  boost::shared_ptr<OmTexture> m_texture = boost::make_shared<OmTexture>();
};

} // namespace

int main(int argc, char** argv)
{
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10.0;
  if (argc > 2)
    return paceOfViewer(seconds, argv + 2);
  pace<LibraryWindow>("omRender", seconds);
#ifdef OM_BENCHMARK_SFML
  paceOfSfml(seconds);
#endif
#ifdef OM_BENCHMARK_SDL
  paceOfSdl(seconds);
#endif
}

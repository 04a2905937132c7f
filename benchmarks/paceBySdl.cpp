// The same with SDL2's renderer on OpenGL.

#include "benchmarks/pace.h"

#include <SDL.h>

namespace
{

class SdlWindow
{
public:
  SdlWindow(OmU32 width, OmU32 height) : m_pitch(static_cast<int>(width * 4))
  {
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "opengl");
    SDL_InitSubSystem(SDL_INIT_VIDEO);
    m_window = SDL_CreateWindow("SDL2", 0, 0, static_cast<int>(width), static_cast<int>(height),
                                SDL_WINDOW_SHOWN | SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    m_renderer = SDL_CreateRenderer(m_window, -1, SDL_RENDERER_ACCELERATED);
    m_texture = SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_ABGR8888, SDL_TEXTUREACCESS_STREAMING,
                                  static_cast<int>(width), static_cast<int>(height));
  }
  ~SdlWindow()
  {
    SDL_DestroyTexture(m_texture);
    SDL_DestroyRenderer(m_renderer);
    SDL_DestroyWindow(m_window);
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
  SdlWindow(const SdlWindow&) = delete;
  SdlWindow& operator=(const SdlWindow&) = delete;

  void poll(Answer& answer)
  {
    SDL_Event event;
    while (SDL_PollEvent(&event))
      if (event.type == SDL_MOUSEMOTION)
        answer.x = event.motion.x;
      else if (event.type == SDL_MOUSEWHEEL)
        ++answer.turns;
      else if (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED)
        answer.width = static_cast<OmU32>(event.window.data1);
  }
  void show(const OmImage& image)
  {
    SDL_UpdateTexture(m_texture, nullptr, image.data(), m_pitch);
    SDL_RenderClear(m_renderer);
    SDL_RenderCopy(m_renderer, m_texture, nullptr, nullptr);
    SDL_RenderPresent(m_renderer);
  }

private:
  int m_pitch;
  SDL_Window* m_window = nullptr;
  SDL_Renderer* m_renderer = nullptr;
  SDL_Texture* m_texture = nullptr;
};

} // namespace

void paceOfSdl(double seconds)
{
  pace<SdlWindow>("SDL2", seconds);
}

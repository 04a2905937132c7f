// The same with SDL2's renderer on OpenGL.

#include "benchmarks/streams.h"

#include <SDL.h>

#include <vector>

namespace
{

class SdlWindow
{
public:
  SdlWindow(OmU32 width, OmU32 height, Uint32 flags = SDL_WINDOW_SHOWN)
      : m_width(static_cast<int>(width)), m_height(static_cast<int>(height))
  {
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "opengl");
    SDL_InitSubSystem(SDL_INIT_VIDEO);
    m_window = SDL_CreateWindow("SDL2", 0, 0, m_width, m_height, flags | SDL_WINDOW_OPENGL);
    m_renderer = SDL_CreateRenderer(m_window, -1, SDL_RENDERER_ACCELERATED | SDL_RENDERER_TARGETTEXTURE);
  }
  ~SdlWindow()
  {
    SDL_DestroyTexture(m_texture);
    SDL_DestroyTexture(m_target);
    SDL_DestroyRenderer(m_renderer);
    SDL_DestroyWindow(m_window);
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
  SdlWindow(const SdlWindow&) = delete;
  SdlWindow& operator=(const SdlWindow&) = delete;

  void show(const OmImage& image)
  {
    draw(image);
    SDL_RenderPresent(m_renderer);
  }

protected:
  static Uint32 format(const OmImage& image)
  {
    return image.channels() == 4 ? SDL_PIXELFORMAT_ABGR8888 : SDL_PIXELFORMAT_RGB24;
  }

  SDL_Texture* makeTexture(const OmImage& image, SDL_TextureAccess access) const
  {
    return SDL_CreateTexture(m_renderer, format(image), access, m_width, m_height);
  }

  void draw(const OmImage& image)
  {
    if (!m_texture)
      m_texture = makeTexture(image, SDL_TEXTUREACCESS_STREAMING);
    SDL_UpdateTexture(m_texture, nullptr, image.data(), m_width * static_cast<int>(image.channels()));
    SDL_RenderClear(m_renderer);
    SDL_RenderCopy(m_renderer, m_texture, nullptr, nullptr);
  }

  int m_width;
  int m_height;
  SDL_Window* m_window = nullptr;
  SDL_Renderer* m_renderer = nullptr;
  SDL_Texture* m_texture = nullptr;
  SDL_Texture* m_target = nullptr;
};

class SdlOffScreen : private SdlWindow
{
public:
  SdlOffScreen(OmU32 width, OmU32 height) : SdlWindow(width, height, SDL_WINDOW_HIDDEN) {}
  const OmU8* render(const OmImage& image)
  {
    if (!m_target)
      m_target = makeTexture(image, SDL_TEXTUREACCESS_TARGET);
    SDL_SetRenderTarget(m_renderer, m_target);
    draw(image);
    m_result.resize(image.byteSize());
    SDL_RenderReadPixels(m_renderer, nullptr, format(image), m_result.data(),
                         m_width * static_cast<int>(image.channels()));
    return m_result.data();
  }

private:
  std::vector<OmU8> m_result;
};

} // namespace

void registerSdl()
{
  registerStreams<SdlWindow, SdlOffScreen>("sdl", {3, 4});
}

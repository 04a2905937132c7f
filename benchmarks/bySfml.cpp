// The same with SFML, whose textures take RGBA alone.

#include "benchmarks/streams.h"

#include <SFML/Graphics.hpp>

namespace
{

class SfmlWindow
{
public:
  SfmlWindow(OmU32 width, OmU32 height) : m_window(sf::VideoMode(width, height), "SFML")
  {
    m_texture.create(width, height);
  }
  void show(const OmImage& image)
  {
    m_texture.update(image.data());
    m_window.clear();
    m_window.draw(sf::Sprite(m_texture));
    m_window.display();
  }

private:
  sf::RenderWindow m_window;
  sf::Texture m_texture;
};

class SfmlOffScreen
{
public:
  SfmlOffScreen(OmU32 width, OmU32 height)
  {
    m_target.create(width, height);
    m_texture.create(width, height);
  }
  const OmU8* render(const OmImage& image)
  {
    m_texture.update(image.data());
    m_target.clear();
    m_target.draw(sf::Sprite(m_texture));
    m_target.display();
    m_result = m_target.getTexture().copyToImage();
    return m_result.getPixelsPtr();
  }

private:
  sf::RenderTexture m_target;
  sf::Texture m_texture;
  sf::Image m_result;
};

} // namespace

void registerSfml()
{
  registerStreams<SfmlWindow, SfmlOffScreen>("sfml", {4});
}

// The same with SFML.

#include "benchmarks/pace.h"

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
  void poll(Answer& answer)
  {
    sf::Event event;
    while (m_window.pollEvent(event))
      if (event.type == sf::Event::MouseMoved)
        answer.x = event.mouseMove.x;
      else if (event.type == sf::Event::MouseWheelScrolled)
        ++answer.turns;
      else if (event.type == sf::Event::Resized)
        answer.width = event.size.width;
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

} // namespace

void paceOfSfml(double seconds)
{
  pace<SfmlWindow>("SFML", seconds);
}

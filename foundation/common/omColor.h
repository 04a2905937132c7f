#ifndef OM_COLOR_H
#define OM_COLOR_H

/// An RGBA colour; each component from 0.0 to 1.0.
class OmColor
{
public:
  OmColor(double r, double g, double b, double a) : m_r(r), m_g(g), m_b(b), m_a(a) {}

  double r() const { return m_r; }
  double g() const { return m_g; }
  double b() const { return m_b; }
  double a() const { return m_a; }

protected:
  double m_r;
  double m_g;
  double m_b;
  double m_a;
};

#endif

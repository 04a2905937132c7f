#ifndef OM_COLOR_H
#define OM_COLOR_H

/// An RGBA colour; each component from 0.0 to 1.0.
///
/// \code
///   const OmColor amber(1.0, 0.75, 0.0, 1.0);
///   const double green = amber.g();
/// \endcode
class OmColor
{
public:
  /// Red, green, blue and alpha. Values outside 0.0 to 1.0 are kept.
  OmColor(double r, double g, double b, double a) : m_r(r), m_g(g), m_b(b), m_a(a) {}

  double r() const { return m_r; } ///< red
  double g() const { return m_g; } ///< green
  double b() const { return m_b; } ///< blue
  double a() const { return m_a; } ///< alpha: 1.0 is opaque

protected:
  double m_r; ///< red
  double m_g; ///< green
  double m_b; ///< blue
  double m_a; ///< alpha
};

#endif

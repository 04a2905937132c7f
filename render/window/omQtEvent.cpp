#include "render/window/omQtEvent.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace
{

constexpr int WheelStep = 120;
constexpr OmU32 UnicodeSymbols = 0x1000000; // the key symbols of characters beyond Latin-1: this and the code

/// Keys without a character, as X names them.
struct Key
{
  int qt;
  OmU32 symbol;
};

constexpr Key Keys[] = {
    {Qt::Key_Backspace, OmWindowEvent::KeyBackspace},
    {Qt::Key_Tab, OmWindowEvent::KeyTab},
    {Qt::Key_Backtab, OmWindowEvent::KeyBackTab},
    {Qt::Key_Return, OmWindowEvent::KeyReturn},
    {Qt::Key_Enter, 0xff8d},
    {Qt::Key_Escape, OmWindowEvent::KeyEscape},
    {Qt::Key_Home, OmWindowEvent::KeyHome},
    {Qt::Key_Left, OmWindowEvent::KeyLeft},
    {Qt::Key_Up, OmWindowEvent::KeyUp},
    {Qt::Key_Right, OmWindowEvent::KeyRight},
    {Qt::Key_Down, OmWindowEvent::KeyDown},
    {Qt::Key_PageUp, OmWindowEvent::KeyPageUp},
    {Qt::Key_PageDown, OmWindowEvent::KeyPageDown},
    {Qt::Key_End, OmWindowEvent::KeyEnd},
    {Qt::Key_Insert, OmWindowEvent::KeyInsert},
    {Qt::Key_Delete, OmWindowEvent::KeyDelete},
    {Qt::Key_Shift, 0xffe1},
    {Qt::Key_Control, 0xffe3},
    {Qt::Key_CapsLock, 0xffe5},
    {Qt::Key_Alt, 0xffe9},
    {Qt::Key_Meta, 0xffeb},
};

bool isControlCharacter(const QString& text)
{
  return text.isEmpty() || text.front().category() == QChar::Other_Control;
}

/// The symbol of a key on platforms that do not know X's.
OmU32 symbolWithoutX(const QKeyEvent& event)
{
  const int key = event.key();
  const auto* const known = std::find_if(std::begin(Keys), std::end(Keys), [key](const Key& k) { return k.qt == key; });
  if (known != std::end(Keys))
    return known->symbol;
  if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
    return OmWindowEvent::KeyF1 + static_cast<OmU32>(key - Qt::Key_F1);
  if (key >= Qt::Key_Escape)
    return 0;
  OmU32 code = static_cast<OmU32>(key); // of the capital letter
  if (!isControlCharacter(event.text()))
    code = event.text().toUcs4().front();
  else if (!(event.QInputEvent::modifiers() & Qt::ShiftModifier))
    code = QChar::toLower(code);
  return code < 0x100 ? code : UnicodeSymbols + code;
}

/// X's number of a button. 4 to 7 are the wheels.
OmU32 numberOf(Qt::MouseButton button)
{
  switch (button)
  {
  case Qt::LeftButton:
    return OmWindowEvent::LeftButton;
  case Qt::MiddleButton:
    return OmWindowEvent::MiddleButton;
  case Qt::RightButton:
    return OmWindowEvent::RightButton;
  default:
  {
    OmU32 number = 8;
    for (unsigned int other = Qt::BackButton; other < static_cast<unsigned int>(button); other *= 2)
      ++number;
    return number;
  }
  }
}

OmU32 modifiersOf(Qt::KeyboardModifiers modifiers)
{
  return (modifiers & Qt::ShiftModifier ? OmWindowEvent::Shift : 0U) |
         (modifiers & Qt::ControlModifier ? OmWindowEvent::Control : 0U) |
         (modifiers & Qt::AltModifier ? OmWindowEvent::Alt : 0U) |
         (modifiers & Qt::MetaModifier ? OmWindowEvent::Super : 0U);
}

/// Sets a position that is given in Qt's pixels.
void setPosition(const QWidget& widget, const QPointF& position, OmWindowEvent& translated)
{
  constexpr double RoundingError = 1e-6;
  const double scale = widget.devicePixelRatioF();
  translated.x = static_cast<int>(std::floor(position.x() * scale + RoundingError));
  translated.y = static_cast<int>(std::floor(position.y() * scale + RoundingError));
}

void setPositionOfPointer(const QWidget& widget, OmWindowEvent& translated)
{
  setPosition(widget, widget.mapFromGlobal(QCursor::pos()), translated);
}

bool translateKey(const QWidget& widget, const QKeyEvent& event, OmWindowEvent& translated)
{
  const bool pressed = event.type() == QEvent::KeyPress;
  if (!pressed && event.isAutoRepeat())
    return false;
  translated.type = pressed ? OmWindowEvent::KeyPressed : OmWindowEvent::KeyReleased;
  // The platforms of X and Wayland give X's symbol, the others nothing.
  translated.key = event.nativeVirtualKey() ? event.nativeVirtualKey() : symbolWithoutX(event);
  if (pressed && !isControlCharacter(event.text()))
    translated.text = event.text().toStdString();
  translated.modifiers = modifiersOf(event.QInputEvent::modifiers()); // QKeyEvent's own are those down afterwards
  setPositionOfPointer(widget, translated);
  return true;
}

bool translateMouse(const QWidget& widget, const QMouseEvent& event, OmWindowEvent& translated)
{
  if (event.type() == QEvent::MouseMove)
    translated.type = OmWindowEvent::MouseMoved;
  else
  {
    const bool released = event.type() == QEvent::MouseButtonRelease;
    translated.type = released ? OmWindowEvent::ButtonReleased : OmWindowEvent::ButtonPressed;
    translated.button = numberOf(event.button());
  }
  translated.modifiers = modifiersOf(event.modifiers());
  // Qt rounds the position in the widget to its own pixels, but not the same position in the native window.
  const bool sameOrigin = (event.windowPos() - event.localPos()).manhattanLength() < 2.0;
  setPosition(widget, sameOrigin ? event.windowPos() : event.localPos(), translated);
  return true;
}

bool translateWheel(const QWidget& widget, const QWheelEvent& event, int& wheel, OmWindowEvent& translated)
{
  int turned = event.angleDelta().y();
  if (turned == 0 && event.modifiers() & Qt::AltModifier)
    turned = event.angleDelta().x(); // Qt's platform for X exchanges the two
  if ((turned < 0) != (wheel < 0))
    wheel = 0;
  wheel += turned;
  translated.type = OmWindowEvent::WheelTurned;
  translated.wheel = wheel / WheelStep;
  wheel %= WheelStep;
  translated.modifiers = modifiersOf(event.modifiers());
  setPosition(widget, event.position(), translated);
  return translated.wheel != 0;
}

} // namespace

bool omTranslateQtEvent(const QWidget& widget, const QEvent& event, int& wheel, OmWindowEvent& translated)
{
  switch (event.type())
  {
  case QEvent::KeyPress:
  case QEvent::KeyRelease:
    return translateKey(widget, static_cast<const QKeyEvent&>(event), translated);
  case QEvent::MouseButtonPress:
  case QEvent::MouseButtonDblClick:
  case QEvent::MouseButtonRelease:
  case QEvent::MouseMove:
    return translateMouse(widget, static_cast<const QMouseEvent&>(event), translated);
  case QEvent::Wheel:
    return translateWheel(widget, static_cast<const QWheelEvent&>(event), wheel, translated);
  case QEvent::Leave:
    translated.type = OmWindowEvent::MouseExited;
    translated.modifiers = modifiersOf(QGuiApplication::queryKeyboardModifiers());
    setPositionOfPointer(widget, translated);
    return true;
  default:
    return false;
  }
}

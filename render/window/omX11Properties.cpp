#include "render/window/omX11Properties.h"

#include "image/omImage.h"
#include "render/window/omX11Errors.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string>

#include <unistd.h>

namespace
{

constexpr const char* AtomNames[] = {"WM_PROTOCOLS",
                                     "WM_DELETE_WINDOW",
                                     "_NET_WM_PING",
                                     "_NET_WM_NAME",
                                     "UTF8_STRING",
                                     "_NET_WM_PID",
                                     "_NET_WM_ICON",
                                     "_NET_WM_STATE",
                                     "_NET_WM_STATE_FULLSCREEN",
                                     "_NET_SUPPORTED",
                                     "_NET_SUPPORTING_WM_CHECK"};

constexpr std::size_t LargestIcon = 256; // in pixels; a larger property is a burden for all who read it

/// The property by which programs tell Motif and most later window managers about decorations. Xlib takes properties of
/// format 32 as an array of long.
struct MotifHints
{
  unsigned long flags;
  unsigned long functions;
  unsigned long decorations;
  long inputMode;
  unsigned long status;
};

constexpr unsigned long MotifDecorationsValid = 2;

/// How many bytes follow the first one of a character in UTF-8; -1 if no character begins so.
int bytesThatFollow(unsigned char first)
{
  if (first < 0x80)
    return 0;
  if (first < 0xc2 || first > 0xf4)
    return -1;
  return first < 0xe0 ? 1 : first < 0xf0 ? 2 : 3;
}

bool isUtf8(const OmString& text)
{
  constexpr unsigned int Smallest[] = {0, 0x80, 0x800, 0x10000}; // in so many more bytes
  for (std::size_t i = 0; i < text.size();)
  {
    const auto first = static_cast<unsigned char>(text[i++]);
    const int following = bytesThatFollow(first);
    if (following < 0)
      return false;
    unsigned int code = following == 0 ? first : first & (0x3fu >> following);
    for (int n = 0; n < following; ++n)
    {
      const unsigned char next = i < text.size() ? static_cast<unsigned char>(text[i++]) : 0;
      if ((next & 0xc0) != 0x80)
        return false;
      code = code << 6 | (next & 0x3fu);
    }
    const bool surrogate = code >= 0xd800 && code < 0xe000;
    if (code < Smallest[following] || code > 0x10ffff || surrogate)
      return false;
  }
  return true;
}

OmString utf8FromLatin1(const OmString& text)
{
  OmString result;
  for (const char character : text)
  {
    const auto code = static_cast<unsigned char>(character);
    if (code < 0x80)
      result += character;
    else
    {
      result += static_cast<char>(0xc0 | code >> 6);
      result += static_cast<char>(0x80 | (code & 0x3f));
    }
  }
  return result;
}

/// The mean of a rectangle of a picture, as alpha, red, green, blue from the highest byte to the lowest.
unsigned long meanPixel(const OmImage& image, std::size_t left, std::size_t right, std::size_t top, std::size_t bottom)
{
  const std::size_t channels = image.channels();
  std::size_t sums[4] = {};
  for (std::size_t y = top; y < bottom; ++y)
    for (std::size_t x = left; x < right; ++x)
      for (std::size_t c = 0; c < channels; ++c)
        sums[c] += image.data()[(y * image.width() + x) * channels + c];
  const std::size_t count = std::max<std::size_t>(1, (right - left) * (bottom - top));
  const auto mean = [&](std::size_t channel) { return static_cast<unsigned long>(sums[channel] / count); };
  const bool colored = channels >= 3;
  const unsigned long alpha = channels % 2 == 0 ? mean(channels - 1) : 255;
  return alpha << 24 | mean(0) << 16 | mean(colored ? 1 : 0) << 8 | mean(colored ? 2 : 0);
}

} // namespace

void OmX11Properties::look(const OmX11Native& native)
{
  static_assert(std::size(AtomNames) == NameCount);
  m_native = native;
  char* names[NameCount] = {};
  for (std::size_t i = 0; i < NameCount; ++i)
    names[i] = const_cast<char*>(AtomNames[i]); // Xlib only reads them
  XInternAtoms(m_native.display, names, NameCount, False, m_atoms.data());
}

void OmX11Properties::open(const OmX11Native& native)
{
  look(native);
  Atom protocols[] = {atom(DeleteWindow)};
  XSetWMProtocols(m_native.display, m_native.window, protocols, 1);
  introduce();
}

void OmX11Properties::introduce() const
{
  const char* const given = std::getenv("RESOURCE_NAME");
  std::string program = program_invocation_short_name;
  std::string name = given && *given ? given : program;
  program[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(program[0])));
  XClassHint hint = {name.data(), program.data()};
  XSetClassHint(m_native.display, m_native.window, &hint);

  write(ProcessId, XA_CARDINAL, {static_cast<unsigned long>(getpid())});
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  char* list[] = {host};
  XTextProperty machine = {};
  if (XStringListToTextProperty(list, 1, &machine))
  {
    XSetWMClientMachine(m_native.display, m_native.window, &machine);
    XFree(machine.value);
  }
}

void OmX11Properties::announcePing() const
{
  Atom protocols[] = {atom(DeleteWindow), atom(Ping)};
  XSetWMProtocols(m_native.display, m_native.window, protocols, 2);
}

bool OmX11Properties::isProtocol(const XEvent& event, Name name) const
{
  return event.type == ClientMessage && event.xclient.message_type == atom(Protocols) && event.xclient.format == 32 &&
         static_cast<Atom>(event.xclient.data.l[0]) == atom(name);
}

bool OmX11Properties::isCloseRequest(const XEvent& event) const
{
  return isProtocol(event, DeleteWindow);
}

void OmX11Properties::answerPing(const XEvent& event) const
{
  if (!isProtocol(event, Ping))
    return;
  XEvent answer = event;
  answer.xclient.window = m_native.root;
  XSendEvent(m_native.display, m_native.root, False, SubstructureNotifyMask | SubstructureRedirectMask, &answer);
  XFlush(m_native.display);
}

void OmX11Properties::setTitle(const OmString& title) const
{
  const OmString text = title.substr(0, title.find('\0')); // WM_NAME too ends at a null character
  const OmString utf8 = isUtf8(text) ? text : utf8FromLatin1(text);
  XChangeProperty(m_native.display, m_native.window, atom(Title), atom(Utf8), 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(utf8.data()), static_cast<int>(utf8.size()));
}

std::vector<unsigned long> OmX11Properties::pixels(const OmImage& icon)
{
  if (!icon.data() || icon.width() == 0 || icon.height() == 0)
    return {};
  const std::size_t from[] = {icon.width(), icon.height()};
  const std::size_t longest = std::max(from[0], from[1]);
  std::size_t to[] = {from[0], from[1]};
  if (longest > LargestIcon)
    for (std::size_t& side : to)
      side = std::max<std::size_t>(1, side * LargestIcon / longest);

  std::vector<unsigned long> result(to, to + 2);
  result.reserve(2 + to[0] * to[1]);
  for (std::size_t y = 0; y < to[1]; ++y)
    for (std::size_t x = 0; x < to[0]; ++x)
      result.push_back(meanPixel(icon, x * from[0] / to[0], (x + 1) * from[0] / to[0], y * from[1] / to[1],
                                 (y + 1) * from[1] / to[1]));
  return result;
}

void OmX11Properties::setIcon(const std::vector<unsigned long>& pixels) const
{
  if (pixels.empty())
    XDeleteProperty(m_native.display, m_native.window, atom(Icon));
  else
    write(Icon, XA_CARDINAL, pixels);
  XFlush(m_native.display);
}

bool OmX11Properties::setDecorated(bool decorated) const
{
  const Atom motif = XInternAtom(m_native.display, "_MOTIF_WM_HINTS", True);
  if (motif == None)
    return false;
  const MotifHints hints = {MotifDecorationsValid, 0, decorated ? 1ul : 0ul, 0, 0};
  XChangeProperty(m_native.display, m_native.window, motif, motif, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&hints), sizeof hints / sizeof(long));
  XFlush(m_native.display);
  return true;
}

/// Xlib takes and gives properties of format 32 as an array of long.
void OmX11Properties::write(Name name, Atom type, const std::vector<unsigned long>& values) const
{
  XChangeProperty(m_native.display, m_native.window, atom(name), type, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(values.size()));
}

/// The values of a property of format 32. Empty if the window, or the property in this type, is not there.
std::vector<unsigned long> OmX11Properties::read(Window window, Name name, Atom type) const
{
  constexpr long Most = 4096;
  Atom foundType = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  std::vector<unsigned long> values;
  if (XGetWindowProperty(m_native.display, window, atom(name), 0, Most, False, type, &foundType, &format, &count, &rest,
                         &data) == Success &&
      format == 32)
  {
    const auto* const first = reinterpret_cast<const unsigned long*>(data);
    values.assign(first, first + count);
  }
  if (data)
    XFree(data);
  return values;
}

bool OmX11Properties::canFillScreen() const
{
  const OmX11Errors errors(m_native.display);
  const std::vector<unsigned long> manager = read(m_native.root, ManagerCheck, XA_WINDOW);
  // A manager that has ended may have left its properties, but not its window.
  if (manager.size() != 1 || read(manager[0], ManagerCheck, XA_WINDOW) != manager)
    return false;
  const std::vector<unsigned long> supported = read(m_native.root, Supported, XA_ATOM);
  return std::find(supported.begin(), supported.end(), atom(FillScreen)) != supported.end();
}

bool OmX11Properties::setFillScreen(bool fill, bool hidden) const
{
  if (!canFillScreen())
    return false;
  if (hidden) // the manager reads the property when the window is shown
  {
    std::vector<unsigned long> states = read(m_native.window, State, XA_ATOM);
    states.erase(std::remove(states.begin(), states.end(), atom(FillScreen)), states.end());
    if (fill)
      states.push_back(atom(FillScreen));
    write(State, XA_ATOM, states);
  }
  else
  {
    constexpr long FromAProgram = 1;
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = m_native.window;
    event.xclient.message_type = atom(State);
    event.xclient.format = 32;
    event.xclient.data.l[0] = fill ? 1 : 0; // add or remove
    event.xclient.data.l[1] = static_cast<long>(atom(FillScreen));
    event.xclient.data.l[3] = FromAProgram;
    XSendEvent(m_native.display, m_native.root, False, SubstructureNotifyMask | SubstructureRedirectMask, &event);
  }
  XFlush(m_native.display);
  return true;
}

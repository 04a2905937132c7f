#include "render/window/omX11Properties.h"

namespace
{

constexpr const char* AtomNames[] = {"WM_PROTOCOLS", "WM_DELETE_WINDOW", "_NET_WM_PING"};

} // namespace

void OmX11Properties::open(Display* display, Window window)
{
  static_assert(std::size(AtomNames) == NameCount);
  m_display = display;
  m_window = window;
  char* names[NameCount] = {};
  for (std::size_t i = 0; i < NameCount; ++i)
    names[i] = const_cast<char*>(AtomNames[i]); // Xlib only reads them
  XInternAtoms(m_display, names, NameCount, False, m_atoms.data());
  Atom protocols[] = {atom(DeleteWindow)};
  XSetWMProtocols(m_display, m_window, protocols, 1);
}

void OmX11Properties::announcePing() const
{
  Atom protocols[] = {atom(DeleteWindow), atom(Ping)};
  XSetWMProtocols(m_display, m_window, protocols, 2);
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
  XWindowAttributes attributes = {};
  XGetWindowAttributes(m_display, m_window, &attributes);
  XEvent answer = event;
  answer.xclient.window = attributes.root;
  XSendEvent(m_display, attributes.root, False, SubstructureNotifyMask | SubstructureRedirectMask, &answer);
  XFlush(m_display);
}

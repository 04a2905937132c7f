#!/usr/bin/env python3
"""closeWindow.py WINDOW: asks the window with that number to close, as a window manager's button does."""
import ctypes
import sys

CLIENT_MESSAGE = 33


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("rest_of_xevent", ctypes.c_long * 24)]


x = ctypes.CDLL("libX11.so.6")
x.XOpenDisplay.restype = ctypes.c_void_p
x.XInternAtom.restype = ctypes.c_ulong
display = ctypes.c_void_p(x.XOpenDisplay(None))
window = ctypes.c_ulong(int(sys.argv[1]))
message = ClientMessage(type=CLIENT_MESSAGE, window=window.value, format=32,
                        message_type=x.XInternAtom(display, b"WM_PROTOCOLS", 0))
message.data[0] = x.XInternAtom(display, b"WM_DELETE_WINDOW", 0)
x.XSendEvent(display, window, 0, ctypes.c_long(0), ctypes.byref(message))
x.XCloseDisplay(display)

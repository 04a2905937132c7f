#!/usr/bin/env python3
"""The user's hand, for what xdotool does not do.

hand.py drag BUTTON X,Y X,Y...   presses the button at the first place, drags to the others, and lets go. Goes on while a
                                 window manager holds the server, as some do while a frame is dragged.
hand.py close WINDOW             asks the window to close, as a window manager does for its close button
"""
import ctypes
import sys
import time

x11 = ctypes.CDLL("libX11.so.6")
xtest = ctypes.CDLL("libXtst.so.6")
x11.XOpenDisplay.restype = ctypes.c_void_p
x11.XInternAtom.restype = ctypes.c_ulong
display = ctypes.c_void_p(x11.XOpenDisplay(None))


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("sent", ctypes.c_int), ("display", ctypes.c_void_p),
                ("window", ctypes.c_ulong), ("message", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 20)]


def close(window):
    protocols, delete = (x11.XInternAtom(display, name, 0) for name in (b"WM_PROTOCOLS", b"WM_DELETE_WINDOW"))
    event = ClientMessage(33, 0, 1, display, int(window), protocols, 32, (ctypes.c_long * 20)(delete))
    x11.XSendEvent(display, ctypes.c_ulong(int(window)), 0, ctypes.c_long(0), ctypes.byref(event))


def drag(button, *places):
    xtest.XTestGrabControl(display, 1)
    for index, place in enumerate(places):
        xtest.XTestFakeMotionEvent(display, -1, *(int(number) for number in place.split(",")), 0)
        x11.XSync(display, 0)
        time.sleep(0.03)  # twm asks where the pointer is, and gives no sign when it has
        if index == 0:
            xtest.XTestFakeButtonEvent(display, int(button), 1, 0)
    xtest.XTestFakeButtonEvent(display, int(button), 0, 0)


{"close": close, "drag": drag}[sys.argv[1]](*sys.argv[2:])
x11.XSync(display, 0)

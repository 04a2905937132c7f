#!/usr/bin/env python3
"""The user's hand, for what xdotool does not do.

hand.py drag BUTTON X,Y X,Y...   presses the button at the first place, drags to the others, and lets go. Goes on while a
                                 window manager holds the server, as some do while a frame is dragged.
hand.py close WINDOW             asks the window to close, as a window manager does for its close button
hand.py storm WINDOW COUNT       causes that many events: motions, turns of the wheel, keys, exposures, moves and resizes
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


def move(x, y):
    xtest.XTestFakeMotionEvent(display, -1, x, y, 0)
    x11.XSync(display, 0)
    time.sleep(0.02)  # twm asks where the pointer is, and gives no sign when it has


def drag(button, *places):
    steps = 3  # between two places
    xtest.XTestGrabControl(display, 1)
    here, *others = ([int(number) for number in place.split(",")] for place in places)
    move(*here)
    xtest.XTestFakeButtonEvent(display, int(button), 1, 0)
    for place in others:
        for step in range(1, steps + 1):
            move(*((a * (steps - step) + b * step) // steps for a, b in zip(here, place)))
        here = place
    xtest.XTestFakeButtonEvent(display, int(button), 0, 0)


def storm(window, count):
    window = ctypes.c_ulong(int(window))
    keys = [x11.XKeysymToKeycode(display, ctypes.c_ulong(symbol)) for symbol in (ord("0"), ord("1"), 0xFF53, 0xFF51)]
    for round in range(int(count) // 10):
        for motion in range(3):
            xtest.XTestFakeMotionEvent(display, -1, 20 + (37 * round + motion) % 200, 20 + round % 150, 0)
        for press in (1, 0):
            xtest.XTestFakeButtonEvent(display, 4 + round % 2, press, 0)
        for press in (1, 0):
            xtest.XTestFakeKeyEvent(display, keys[round % 4], press, 0)
        x11.XClearArea(display, window, 0, 0, 50, 50, 1)
        x11.XMoveWindow(display, window, round % 5, round % 3)
        x11.XResizeWindow(display, window, 300 + round % 7, 200 + round % 2)
        x11.XSync(display, 0)


{"close": close, "drag": drag, "storm": storm}[sys.argv[1]](*sys.argv[2:])
x11.XSync(display, 0)

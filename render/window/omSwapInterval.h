#ifndef OM_SWAP_INTERVAL_H
#define OM_SWAP_INTERVAL_H

/// Sets swap interval 0 for the current GLX drawable, so that a swap does not wait for the screen. Needs
/// GLX_EXT_swap_control or GLX_MESA_swap_control; does nothing without them. glSwapInterval(), which OmGL loads from
/// GLX_SGI_swap_control, is not enough: that extension has no interval 0, so drivers may keep their own. Under XWayland
/// that would limit a window that is not visible to one swap a second.
void omSwapWithoutWaiting();

#endif

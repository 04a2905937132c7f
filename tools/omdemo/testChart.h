#ifndef OM_TOOLS_TEST_CHART_H
#define OM_TOOLS_TEST_CHART_H

#include "image/omImage.h"

/// A picture in which faults show: 641 x 479 RGB pixels, so that neither side is a power of two or a multiple of 4,
/// with gradients, checkers, one-pixel lines, small text, and corners, arrows and letters that look different when
/// the picture is mirrored or turned.
OmImage makeTestChart();

#endif

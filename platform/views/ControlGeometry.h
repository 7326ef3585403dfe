// Integer and floating-point rectangles of controls.
#ifndef VELNOR_PLATFORM_VIEWS_CONTROLGEOMETRY_H
#define VELNOR_PLATFORM_VIEWS_CONTROLGEOMETRY_H

#include "platform/Controls.h"

namespace velnor {

// A side that ends before it begins has size 0.
HIRect FrameOf(const Rect& bounds);

// Fractions are cut off, values beyond 16 bits are the nearest.
Rect BoundsOf(const HIRect& frame);

} // namespace velnor

#endif

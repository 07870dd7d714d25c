#pragma once

#include "geometry/zylvector.h"
#include "toolkit/zylexport.h"

/// The pointer of the display.
class ZYL_EXPORT VCursor
{
public:
    /// The position on the whole screen, (0, 0) without a display.
    static geometry::Vector2i pos();

    /// Moves the pointer; does nothing without a display.
    static void setPos(int x, int y);
};

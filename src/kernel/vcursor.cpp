#include "kernel/vcursor.h"

#include "kernel/vx11.h"

geometry::Vector2i VCursor::pos()
{
    int x, y;
    VX11::instance()->pointerPosition(x, y);
    return geometry::Vector2i(x, y);
}

void VCursor::setPos(int x, int y)
{
    VX11::instance()->setPointerPosition(x, y);
}

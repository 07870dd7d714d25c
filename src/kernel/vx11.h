#pragma once

#include "toolkit/zylexport.h"

#include <qstringlist.h>

/// What the library asks of the X server. This class answers as there is none.
class ZYL_EXPORT VX11
{
public:
    virtual ~VX11() = default;

    /// 0 when the leftmost pixel of a bitmap is the least significant bit of its unit, 1 when the
    /// most.
    virtual int bitmapBitOrder() { return 0; }

    /// Where the pointer is on the whole screen; false, with both at 0, where there is none.
    virtual bool pointerPosition(int& x, int& y);
    virtual void setPointerPosition(int, int) {}

    /// Where the server looks for fonts: mostly folders, but an entry may be anything else.
    virtual QStringList fontPath();

    /// The substitute, or the server of the environment's display, opened at the first call.
    /// Without a display the answers are those of this class.
    static VX11* instance();

    /// Puts another in the server's place, or with null takes it away. Returns the one before. The
    /// caller keeps both.
    static VX11* setSubstitute(VX11* substitute);
};

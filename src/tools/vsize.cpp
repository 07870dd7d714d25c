#include "tools/vsize.h"

#include <qlogging.h>

namespace
{
bool isDivisor(bool nonZero)
{
    if (!nonZero)
        qWarning("VSize: Division by zero error");
    return nonZero;
}
} // namespace

void VSize::scale(int width, int height, ScaleMode mode)
{
    const VSize target(width, height);
    if (mode == ScaleFree || m_width == 0 || m_height == 0) {
        *this = target;
        return;
    }
    const qint64 fitted = qint64(height) * m_width / m_height;
    if (mode == ScaleMin ? fitted <= width : fitted >= width)
        *this = VSize(saturatedInt(fitted), height);
    else
        *this = VSize(width, saturatedInt(qint64(width) * m_height / m_width));
}

VSize& VSize::operator/=(int divisor)
{
    // Widened, since the least int divided by -1 does not fit.
    if (isDivisor(divisor != 0))
        *this = VSize(saturatedInt(qint64(m_width) / divisor),
                      saturatedInt(qint64(m_height) / divisor));
    return *this;
}

VSize& VSize::operator/=(double divisor)
{
    if (isDivisor(divisor != 0))
        *this = VSize(roundedInt(m_width / divisor), roundedInt(m_height / divisor));
    return *this;
}

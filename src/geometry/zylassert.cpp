#include "geometry/zylassert.h"

#include <qlogging.h>

void geometry::warnAssertion(const char* condition, const char* source, int line)
{
    qWarning("ASSERT: \"%s\" in %s (%d)", condition, source, line);
}

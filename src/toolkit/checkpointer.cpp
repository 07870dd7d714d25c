#include "toolkit/checkpointer.h"

#include <qlogging.h>

bool qt_check_pointer(bool isNull, const char* file, int line)
{
    if (isNull)
        qWarning("In file %s, line %d: Out of memory", file, line);
    return true;
}

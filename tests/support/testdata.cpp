#include "support/testdata.h"

QString testData(const char* name)
{
    return QString::fromLocal8Bit(ZYL_TEST_DATA "/") + QString::fromLocal8Bit(name);
}

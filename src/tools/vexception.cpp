#include "tools/vexception.h"

VException::~VException() = default;

const char* VException::what() const noexcept
{
    return m_bytes.constData();
}

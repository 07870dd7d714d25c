#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <qlogging.h>

/// What the fuzz targets share.
namespace fuzz
{
/// Ends the run, as a finding, when what should always hold doesn't.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Warnings about bad input are right, and many.
inline void silence()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}
} // namespace fuzz

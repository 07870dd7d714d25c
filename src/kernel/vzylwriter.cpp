#include "kernel/vzylwriter_p.h"

#include "kernel/vformatdiagnostics.h"
#include "kernel/vformatio.h"

#include <qtextstream.h>

#include <algorithm>
#include <cmath>

namespace
{
constexpr qsizetype bufferSize = 65536;
}

void VZylWriter::begin()
{
    if (m_textStream)
        m_textStream->flush();
    m_device = m_io ? m_io->ioDevice() : nullptr;
}

bool VZylWriter::isExact() const
{
    return m_io && m_io->isExact();
}

void VZylWriter::flush()
{
    if (!m_device)
        m_device = m_io ? m_io->ioDevice() : nullptr;
    const qint64 size = m_at ? m_at - m_buffer.constData() : 0;
    if (size == 0)
        return;
    if (!m_device || m_device->write(m_buffer.constData(), size) != size)
        m_failed = true;
    m_at = m_buffer.data();
}

void VZylWriter::spill()
{
    if (m_at) {
        flush();
        return;
    }
    m_buffer.resize(bufferSize);
    m_at = m_buffer.data();
    m_end = m_at + bufferSize;
}

void VZylWriter::put(std::string_view text)
{
    while (!text.empty()) {
        room(1);
        const std::size_t piece = std::min(text.size(), std::size_t(m_end - m_at));
        std::memcpy(m_at, text.data(), piece);
        m_at += piece;
        text.remove_prefix(piece);
    }
}

template <class T>
void VZylWriter::checkFinite(const T* values, std::size_t n)
{
    VFormatDiagnostics* const sink = m_io ? m_io->diagnostics() : nullptr;
    if (sink && !std::all_of(values, values + n, [](T value) { return std::isfinite(value); }))
        sink->report(VFormatDiagnostics::LossyNumber, QString(), VFormatDiagnostics::Place());
}

template void VZylWriter::checkFinite(const float*, std::size_t);
template void VZylWriter::checkFinite(const double*, std::size_t);

void VZylWriter::putIndent()
{
    const std::size_t width = m_io ? std::size_t(m_io->indentWidth()) : 0;
    // There is no buffer to point into before the first byte.
    std::memset(room(std::max<std::size_t>(width, 1)), ' ', width);
    m_at += width;
}

void VZylWriter::raiseIndent(int levels)
{
    if (m_io)
        m_io->setIndent(m_io->indent() + levels);
}

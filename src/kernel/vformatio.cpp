#include "kernel/vformatio.h"

#include "kernel/vformatdiagnostics.h"
#include "kernel/vzylstream.h"

#include <qbytearray.h>
#include <qiodevice.h>

#include <algorithm>

VFormatDiagnostics::~VFormatDiagnostics() = default;

VFormatIOData::VFormatIOData() : QAsciiDict<void>(17) {}

VFormatIOData::~VFormatIOData() = default;

VFormatIO::VFormatIO() : VFormatIO(nullptr, nullptr) {}

VFormatIO::VFormatIO(QIODevice* device, const char* format) : m_device(device)
{
    setFormat(format);
}

VFormatIO::VFormatIO(const QString& fileName, const char* format) : m_fileName(fileName)
{
    setFormat(format);
}

VFormatIO::~VFormatIO() = default;

void VFormatIO::setFormat(const char* format)
{
    m_format = format ? format : "";
}

// Further to the right there is nothing to see.
constexpr int mostIndent = 24;

int VFormatIO::indentWidth() const
{
    return 4 * std::clamp(m_indent, 0, mostIndent);
}

void VFormatIO::writeIndent()
{
    // A stream on the request may hold text back that belongs before the blanks.
    if (VZylStream* stream = VZylStream::get(*this))
        stream->writeIndent();
    else if (m_device)
        m_device->write(QByteArray(indentWidth(), ' '));
}

void VFormatIO::setContainer(const char* key, void* value)
{
    if (!key)
        return;
    if (value) {
        if (!m_containers)
            m_containers = std::make_unique<VFormatIOData>();
        m_containers->replace(key, value);
    } else if (m_containers) {
        m_containers->remove(key);
    }
}

void* VFormatIO::container(const char* key) const
{
    return m_containers && key ? m_containers->find(key) : nullptr;
}

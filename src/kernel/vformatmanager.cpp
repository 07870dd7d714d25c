#include "kernel/vformatmanager.h"

#include <qbytearray.h>
#include <qfile.h>

#include <algorithm>

VFormatManager::VFormatManager(int headerLength) : m_headerLength(std::max(headerLength, 0)) {}

VFormatManager::~VFormatManager() = default;

VFormatHandler* VFormatManager::find(const char* format) const
{
    for (VFormatHandler* handler : *this)
        if (qstrcmp(handler->format(), format ? format : "") == 0)
            return handler;
    return nullptr;
}

const char* VFormatManager::format(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? format(&file) : nullptr;
}

const char* VFormatManager::format(QIODevice* device)
{
    if (!device)
        return nullptr;
    QByteArray buffer(m_headerLength, '\0');
    if (device->isSequential()) {
        // There is no way back on such a device, only a look ahead.
        const qint64 got = device->peek(buffer.data(), m_headerLength);
        return got > 0 && got == m_headerLength ? analyse(buffer.data(), m_headerLength) : nullptr;
    }
    const qint64 position = device->pos();
    if (device->read(buffer.data(), m_headerLength) != m_headerLength)
        return nullptr;
    const auto* file = qobject_cast<QFileDevice*>(device);
    const char* result = nullptr;
    if (m_headerLength > 0 && (!file || file->error() == QFileDevice::NoError))
        result = analyse(buffer.data(), m_headerLength);
    device->seek(position);
    return result;
}

const char* VFormatManager::analyse(char* buffer, int length)
{
    if (length <= 0)
        return nullptr;
    std::replace(buffer, buffer + length, '\0', '\1'); // so that a binary header passes as text
    buffer[length - 1] = '\0';
    const QString text = QString::fromLatin1(buffer, length - 1);
    const char* result = nullptr;
    int longest = -1;
    for (const VFormatHandler* handler : *this) {
        const int matched = handler->match(text);
        if (matched > longest) {
            longest = matched;
            result = handler->format();
        }
    }
    return result;
}

QStrList VFormatManager::inputFormats() const
{
    return names(&VFormatHandler::canRead);
}

QStrList VFormatManager::outputFormats() const
{
    return names(&VFormatHandler::canWrite);
}

QStrList VFormatManager::names(bool (VFormatHandler::*can)() const) const
{
    QStrList result(true);
    for (const VFormatHandler* handler : *this)
        if ((handler->*can)() && !handler->isObsolete() && result.find(handler->format()) < 0)
            result.inSort(handler->format());
    return result;
}

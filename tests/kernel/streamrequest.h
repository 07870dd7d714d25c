#pragma once

#include "kernel/vformatdiagnostics.h"
#include "kernel/vformatio.h"
#include "kernel/vzylstream.h"
#include "kernel/zylobject.h"

#include <qbuffer.h>

#include <string>

/// A request that does nothing by itself.
struct StreamRequest : VFormatIO {
    bool read() override { return false; }
    bool write() override { return false; }
};

/// Reads from a text in memory.
struct TextSource {
    explicit TextSource(const QByteArray& bytes) : text(bytes), buffer(&text)
    {
        buffer.open(QIODevice::ReadOnly);
        io.setIODevice(&buffer);
    }
    /// What has not been read yet.
    std::string left()
    {
        stream.sync();
        return text.mid(buffer.pos()).toStdString();
    }

    QByteArray text;
    QBuffer buffer;
    StreamRequest io;
    VZylStream stream{&io};
};

/// Collects what is written.
struct TextTarget {
    TextTarget()
    {
        buffer.open(QIODevice::WriteOnly);
        io.setIODevice(&buffer);
    }
    /// All that was written since the last call.
    std::string take()
    {
        const std::string result = buffer.data().mid(taken).toStdString();
        taken = buffer.data().size();
        return result;
    }

    QBuffer buffer;
    qsizetype taken = 0;
    StreamRequest io;
    VZylStream stream{&io};
};

/// Collects reports as "kind what line", one a line.
struct Reports : VFormatDiagnostics {
    void report(Kind kind, const QString& what, const Place& place) override
    {
        text += std::to_string(kind) + ' ' + what.toStdString() + ' ' + std::to_string(place.line) +
                '\n';
    }
    std::string text;
};

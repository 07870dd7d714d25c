#pragma once

#include "kernel/streamrequest.h"

#include <qdatastream.h>

/// What an object writes into its block of a text.
inline std::string textOf(const ZYLObject& object)
{
    TextTarget target;
    object.write(target.io);
    return target.take();
}

/// Reads what would stand in the block of an object.
inline void readText(ZYLObject& object, const std::string& text, void* scene = nullptr)
{
    TextSource source(QByteArray::fromStdString(text + "}"));
    source.io.setContainer("scene", scene);
    source.stream.readObject(object);
}

/// The bytes that an object writes into its value, in hexadecimal.
inline std::string bytesOf(const ZYLObject& object)
{
    TextTarget target;
    QDataStream data(&target.buffer);
    data.setVersion(QDataStream::Qt_3_3);
    target.stream.setDataStream(&data);
    object.write(target.io);
    return target.buffer.data().toHex().toStdString();
}

/// Returns what is left of the bytes.
inline std::string readBytes(ZYLObject& object, const std::string& hex, void* scene = nullptr)
{
    TextSource source(QByteArray::fromHex(QByteArray::fromStdString(hex)));
    QDataStream data(&source.buffer);
    data.setVersion(QDataStream::Qt_3_3);
    source.stream.setDataStream(&data);
    source.io.setContainer("scene", scene);
    object.read(source.io);
    return source.buffer.readAll().toHex().toStdString();
}

/// Writes one object and reads it into another, by both forms in turn; `check` looks at the result.
template <class T, class F>
void throughFiles(const T& object, F check, void* scene = nullptr)
{
    {
        SCOPED_TRACE("text");
        T copy;
        readText(copy, textOf(object), scene);
        check(copy);
    }
    SCOPED_TRACE("binary");
    T copy;
    EXPECT_EQ(readBytes(copy, bytesOf(object), scene), "");
    check(copy);
}

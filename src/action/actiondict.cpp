#include "action/actiondict.h"

#include "action/actionfactory.h"
#include "action/actionstream_p.h"
#include "security/asnvalue.h"

#include <qbuffer.h>

#include <cstring>
#include <memory>

namespace action
{
namespace
{
using asn::DerValue;

void writeText(VZylStream& stream, const ActionDict& actions)
{
    VFormatIO& io = *stream.io();
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it) {
        stream.begin(ActionDict::typeName(**it));
        putRaw(stream, "{\n");
        io.setIndent(io.indent() + 1);
        io << **it;
        io.setIndent(io.indent() - 1);
        stream.writeIndent();
        putRaw(stream, "}\n");
    }
}

void writeBinary(VZylStream& stream, const ActionDict& actions)
{
    QDataStream& data = *stream.dataStream();
    QBuffer members;
    members.open(QIODevice::WriteOnly);
    {
        const DeviceScope scope(stream, &members);
        for (QAsciiDictIterator<Action> it(actions); it.current(); ++it) {
            QBuffer pair, bytes;
            pair.open(QIODevice::WriteOnly);
            bytes.open(QIODevice::WriteOnly);
            {
                const DeviceScope inner(stream, &bytes);
                *stream.io() << **it;
                data.setDevice(&pair);
                DerValue(QCString(ActionDict::typeName(**it))).encode(data);
                zylfields::putContent(data, DerValue::OctetString, bytes.data());
            }
            zylfields::putContent(data, DerValue::Sequence, pair.data());
        }
    }
    zylfields::putContent(data, DerValue::Set, members.data());
}

/// Passes a block over, whose opening brace is still to come. False where there is none.
bool skipBlock(VZylStream& stream)
{
    while (stream.skip_comments() > 0)
        continue;
    return stream.nextChar() == '{' && stream.skip_block() >= 0;
}

void readText(VZylStream& stream, ActionDict& actions)
{
    const ActionFactory factory;
    QCString word;
    while (stream.read_identifier(word) > 0) {
        std::unique_ptr<Action> action(factory.getInstance(word));
        if (!action) {
            stream.report(VFormatDiagnostics::SkippedClass, QString::fromLatin1(word.data()));
            if (!skipBlock(stream))
                return;
        } else {
            while (stream.skip_comments() > 0)
                continue;
            if (stream.nextChar() != '{' || actions.readBlock(*stream.io(), action.release()) < 0)
                return;
        }
        int c;
        while ((c = stream.nextChar()) == ';')
            continue; // may stand behind any block
        if (c >= 0)
            stream.ungetch();
    }
}

void readMember(VZylStream& stream, const ActionFactory& factory, const DerValue& member,
                ActionDict& actions)
{
    const QValueList<DerValue> parts = member.getList();
    if (member.tag != DerValue::Sequence || parts.count() < 2)
        return;
    auto part = parts.begin();
    const DerValue& type = *part;
    const DerValue& bytes = *++part;
    if (type.tag != DerValue::PrintableString || bytes.tag != DerValue::OctetString)
        return;
    const QCString word = type.getPrintableString();
    std::unique_ptr<Action> action(factory.getInstance(word));
    if (!action) {
        stream.report(VFormatDiagnostics::SkippedClass, QString::fromLatin1(word.data()));
        return;
    }
    QBuffer buffer;
    buffer.setData(QByteArray::fromRawData(bytes.data.data(), qsizetype(bytes.data.size())));
    buffer.open(QIODevice::ReadOnly);
    const DeviceScope scope(stream, &buffer);
    *stream.io() >> *action;
    // That a value ends with its last field is no failure of the stream.
    stream.dataStream()->resetStatus();
    // A missing name is written as an empty one.
    const char* const name = action->name(nullptr);
    if (name && *name && actions.put(action.get()))
        action.release();
}
} // namespace

bool ActionDict::put(Action* action)
{
    const char* const name = action->name(nullptr);
    if (!name)
        return false;
    if (find(name) == action)
        return true;
    makeRoom(*this);
    replace(name, action);
    return true;
}

int ActionDict::readBlock(VFormatIO& io, Action* action)
{
    std::unique_ptr<Action> owned(action);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return -1;
    VZylBlock block(*stream);
    const int result = block.read();
    if (!block.isEmpty())
        io >> *action;
    if (put(action))
        owned.release();
    return result;
}

void ActionDict::resolve()
{
    for (QAsciiDictIterator<Action> it(*this); it.current(); ++it)
        it.current()->resolve(*this);
}

void ActionDict::forgetReceivers(const ReceiverSet& gone)
{
    for (QAsciiDictIterator<Action> it(*this); it.current(); ++it)
        it.current()->forgetReceivers(gone);
}

const char* ActionDict::typeName(const Action& action)
{
    const char* const name = action.className();
    const char* const scope = std::strrchr(name, ':');
    return scope ? scope + 1 : name;
}

VFormatIO& operator<<(VFormatIO& io, const ActionDict& actions)
{
    if (VZylStream* const stream = VZylStream::get(io))
        stream->dataStream() ? writeBinary(*stream, actions) : writeText(*stream, actions);
    return io;
}

VFormatIO& operator>>(VFormatIO& io, ActionDict& actions)
{
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        DerValue set;
        set.decode(*data);
        if (set.tag != DerValue::Set)
            return io;
        const ActionFactory factory;
        for (const DerValue& member : set.getList())
            readMember(*stream, factory, member, actions);
    } else {
        readText(*stream, actions);
    }
    actions.resolve();
    return io;
}
} // namespace action

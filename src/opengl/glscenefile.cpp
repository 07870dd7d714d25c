#include "kernel/vzylfields_p.h"
#include "opengl/glfont.h"
#include "opengl/gllight.h"
#include "opengl/glscene.h"
#include "opengl/glsceneconnections_p.h"
#include "opengl/vzylfile.h"
#include "security/asnvalue.h"

#include <qiodevice.h>

#include <optional>

using action::Action;
using asn::DerValue;
using zylfields::get;
using zylfields::getContent;
using zylfields::put;
using zylfields::putContent;

namespace
{
/// The tags of the binary form. Those of the six lists stand in the order of the lists.
enum Tag : quint8 {
    FlagsTag = 0x03,
    TexturesTag = 0x80,
    MaterialsTag,
    FontsTag,
    LibraryTag,
    ObjectsTag,
    LightsTag,
    ActionsTag,
    TimeLengthTag,
    BackgroundTag,
    AmbientTag
};

constexpr char connectionWord[] = "connection";

/// Makes a data stream the current one of a request's stream until the end of the scope.
class DataStreamScope
{
public:
    DataStreamScope(VZylStream& stream, QDataStream& data)
        : m_stream(stream), m_outer(stream.dataStream())
    {
        stream.setDataStream(&data);
    }
    ~DataStreamScope() { m_stream.setDataStream(m_outer); }
    DataStreamScope(const DataStreamScope&) = delete;
    DataStreamScope& operator=(const DataStreamScope&) = delete;

private:
    VZylStream& m_stream;
    QDataStream* m_outer;
};

/// A value's content, written by a function that gets the stream.
template <class Write>
void putValue(QDataStream& stream, quint8 tag, Write write)
{
    QByteArray content;
    QDataStream inner(&content, QIODevice::WriteOnly);
    write(inner);
    putContent(stream, tag, content);
}

template <class Write>
void putConnection(QDataStream& set, Write write)
{
    putValue(set, DerValue::Sequence, [&](QDataStream& member) {
        put(member, connectionWord);
        putValue(member, DerValue::Sequence, write);
    });
}

void putSignals(QDataStream& set, const char* sender,
                const std::vector<GL_SceneConnections::Signal>& joined)
{
    for (const GL_SceneConnections::Signal& signal : joined)
        putConnection(set, [&](QDataStream& who) {
            put(who, sender);
            put(who, signal.signature);
            put(who, signal.receiver);
            put(who, signal.member);
        });
}

void putTargets(QDataStream& set, const Action& source, int key,
                const std::vector<GL_SceneConnections::Target>& targets)
{
    if (targets.empty())
        return;
    putConnection(set, [&](QDataStream& who) {
        put(who, source.name(nullptr));
        put(who, key);
        putValue(who, DerValue::Sequence, [&](QDataStream& list) {
            for (const GL_SceneConnections::Target& target : targets)
                putValue(list, DerValue::Sequence, [&](QDataStream& pair) {
                    put(pair, target.path);
                    put(pair, target.index);
                });
        });
    });
}

/// The value that stands next as a stream of its own; null if it hasn't this tag or isn't whole.
class Content
{
public:
    Content(QDataStream& stream, quint8 tag)
    {
        if (getContent(stream, tag, m_bytes))
            m_stream.emplace(m_bytes);
    }
    explicit operator bool() const { return m_stream.has_value(); }
    QDataStream& stream() { return *m_stream; }
    bool atEnd() const { return m_stream->atEnd(); }
    int nextTag() const { return atEnd() ? -1 : quint8(m_bytes[m_stream->device()->pos()]); }

private:
    QByteArray m_bytes;
    std::optional<QDataStream> m_stream;
};

void readTargets(QDataStream& who, GL_SceneConnections& connections, const char* name)
{
    Action* const source = connections.source(name);
    int key = 0;
    get(who, key);
    Content list(who, DerValue::Sequence);
    while (source && list && !list.atEnd()) {
        Content pair(list.stream(), DerValue::Sequence);
        if (!pair)
            return;
        QCString path;
        int index = -1;
        get(pair.stream(), path);
        get(pair.stream(), index);
        if (pair.stream().status() == QDataStream::Ok)
            connections.connect(*source, key, path, index);
    }
}

void readConnection(QDataStream& set, GL_SceneConnections& connections)
{
    Content member(set, DerValue::Sequence);
    if (!member)
        return;
    QCString word;
    get(member.stream(), word);
    Content who(member.stream(), DerValue::Sequence);
    if (!who || qstrcmp(word, connectionWord) != 0)
        return;
    QCString source;
    get(who.stream(), source);
    if (who.nextTag() == DerValue::Integer) {
        readTargets(who.stream(), connections, source);
        return;
    }
    QCString signal, receiver, slot;
    get(who.stream(), signal);
    get(who.stream(), receiver);
    get(who.stream(), slot);
    if (who.stream().status() == QDataStream::Ok)
        connections.connect(source, signal, receiver, slot);
}

void readConnections(QDataStream& stream, GL_SceneConnections& connections)
{
    Content set(stream, DerValue::Set);
    while (set && !set.atEnd() && set.stream().status() == QDataStream::Ok)
        readConnection(set.stream(), connections);
    if (set && set.stream().status() != QDataStream::Ok)
        stream.setStatus(QDataStream::ReadCorruptData);
}

void writeConnections(QDataStream& stream, const GL_Scene& scene, GL_SceneConnections& connections)
{
    putValue(stream, DerValue::Set, [&](QDataStream& set) {
        for (QAsciiDictIterator<Action> it(scene.actions()); it.current(); ++it) {
            const Action& action = **it;
            putSignals(set, action.name(nullptr), connections.signalsOf(action));
            if (!action.connections())
                continue;
            const VMemArray<int> keys = action.connections()->keys();
            for (const int key : keys)
                putTargets(set, action, key, connections.targets(action, key, false));
        }
        putSignals(set, "", connections.signalsOf(scene));
    });
}

/// The stream of a request, made for the scope if there is none.
class RequestStream
{
public:
    explicit RequestStream(VSceneIO& io)
    {
        if (!VZylStream::get(io))
            m_file.emplace(&io);
    }

private:
    std::optional<VZylFile> m_file;
};
} // namespace

int GL_Scene::write(VSceneIO& io) const
{
    if (!io.ioDevice())
        return -1;
    const RequestStream stream(io);
    QDataStream data(io.ioDevice());
    return write(data, io);
}

int GL_Scene::read(VSceneIO& io)
{
    if (!io.ioDevice())
        return -1;
    const RequestStream stream(io);
    QDataStream data(io.ioDevice());
    return read(data, io);
}

int GL_Scene::write(QDataStream& stream, VFormatIO& io) const
{
    VZylStream* const zyl = VZylStream::get(io);
    if (!zyl || !stream.device() || !stream.device()->isWritable())
        return -1;
    const DataStreamScope scope(*zyl, stream);
    const auto value = [&stream](quint8 tag, const auto& what) {
        stream << tag;
        put(stream, what);
    };
    const auto list = [&](quint8 tag, const auto& items) {
        if (items.isEmpty())
            return;
        stream << tag;
        io << items;
    };
    if (const unsigned stored = m_flags & GL_Object::StoredMask)
        value(FlagsTag, stored);
    list(TexturesTag, m_textures);
    list(MaterialsTag, m_materials);
    list(FontsTag, m_fonts);
    list(LibraryTag, m_library);
    list(ObjectsTag, m_objects);
    list(LightsTag, m_lights);
    if (!m_actions.isEmpty()) {
        list(ActionsTag, m_actions);
        const Lookup lookup(*this);
        GL_SceneConnections connections(const_cast<GL_Scene&>(*this), *zyl);
        writeConnections(stream, *this, connections);
    }
    if (m_timeLength > 0)
        value(TimeLengthTag, m_timeLength);
    if (m_background != VColor())
        value(BackgroundTag, m_background);
    if (m_ambient != VColor(defaultAmbient))
        value(AmbientTag, m_ambient);
    return stream.status() == QDataStream::Ok && !zyl->hasFailed() ? 0 : -1;
}

int GL_Scene::read(QDataStream& stream, VFormatIO& io)
{
    VZylStream* const zyl = VZylStream::get(io);
    if (!zyl || !stream.device() || !stream.device()->isReadable())
        return -1;
    const DataStreamScope scope(*zyl, stream);
    clear();
    io.setContainer("scene", this);
    io.setContainer("finder", static_cast<VObjectFinder*>(this));
    const Lookup lookup(*this);
    bool isKnown = true;
    for (quint8 tag; isKnown && zylfields::nextTag(stream, tag);) {
        switch (tag) {
        case FlagsTag: {
            unsigned flags = m_flags;
            get(stream, flags);
            setFileFlags(flags);
            break;
        }
        case TexturesTag:
            io >> m_textures;
            break;
        case MaterialsTag:
            io >> m_materials;
            break;
        case FontsTag:
            io >> m_fonts;
            break;
        case LibraryTag:
            io >> m_library;
            break;
        case ObjectsTag:
            io >> m_objects;
            break;
        case LightsTag:
            zyl->readBinary(m_lights, &GL_Light::metaClass);
            break;
        case ActionsTag: {
            io >> m_actions;
            GL_SceneConnections connections(*this, *zyl);
            readConnections(stream, connections);
            break;
        }
        case TimeLengthTag:
            get(stream, m_timeLength);
            break;
        case BackgroundTag:
            get(stream, m_background);
            break;
        case AmbientTag:
            get(stream, m_ambient);
            break;
        default:
            zylfields::putBack(stream, tag);
            isKnown = false;
        }
    }
    finishReading();
    return stream.status() == QDataStream::Ok ? 0 : -1;
}

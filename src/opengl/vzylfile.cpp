#include "opengl/vzylfile.h"

#include "action/actionfactory.h"
#include "opengl/glfont.h"
#include "opengl/gllight.h"
#include "opengl/glmaterial.h"
#include "opengl/glscene.h"
#include "opengl/glsceneconnections_p.h"
#include "opengl/gltexture.h"
#include "opengl/vscenehandlers_p.h"

#include <qbuffer.h>
#include <qdatastream.h>
#include <qtextstream.h>

#include <cmath>
#include <memory>

using action::Action;
using Signals = std::vector<GL_SceneConnections::Signal>;

namespace
{
constexpr char textSignature[] = "// ZYL ASCII V1.0\n";
constexpr char binarySignature[] = "// ZYL BINARY V1.0\n";
constexpr int longestSignature = 200;

/// "//.ZYL." as a pattern.
bool isSignature(const QByteArray& line)
{
    return line.size() >= 7 && line.startsWith("//") && line.mid(3, 3) == "ZYL";
}

void skipComments(VZylStream& stream)
{
    while (stream.skip_comments() > 0)
        continue;
}

/// Takes the next character behind blanks and comments if it is this one.
bool take(VZylStream& stream, char expected)
{
    skipComments(stream);
    const int c = stream.nextChar();
    if (c >= 0 && c != expected)
        stream.ungetch();
    return c == expected;
}

bool isAtEnd(VZylStream& stream)
{
    skipComments(stream);
    const int c = stream.nextChar();
    if (c >= 0)
        stream.ungetch();
    return c < 0;
}

/// A number at the top level. Its ";" may be missing at the end.
template <class T>
int readNumber(VZylStream& stream, T& number)
{
    stream.read(number);
    return take(stream, ';') || isAtEnd(stream) ? 1 : -1;
}

int readColor(VZylStream& stream, VColor& color)
{
    return stream.read(color) >= 0 && take(stream, ';') ? 1 : -1;
}

template <class T>
void writeStatement(VZylStream& stream, const char* key, const T& value)
{
    stream.begin(key);
    stream.write(value);
    stream.end();
}

void writeSignals(VZylStream& stream, const char* sender, const Signals& joined)
{
    for (const GL_SceneConnections::Signal& signal : joined) {
        stream.beginBlock("connection");
        if (sender)
            writeStatement(stream, "sender", sender);
        writeStatement(stream, "signal", signal.signature);
        writeStatement(stream, "receiver", signal.receiver);
        writeStatement(stream, "slot", signal.member);
        stream.endBlock();
    }
}

/// The paths in braces, each with its index behind it, unless that is -1.
void readOutput(VZylStream& stream, GL_SceneConnections& connections, Action& source, int key)
{
    if (!take(stream, '{'))
        return;
    do {
        QCString path;
        if (stream.read(path) < 0)
            return;
        int index = -1;
        bool hasMore = take(stream, ',');
        if (hasMore && !take(stream, '"')) {
            stream.read(index);
            hasMore = take(stream, ',');
        } else if (hasMore) {
            stream.ungetch();
        }
        connections.connect(source, key, path, index);
        if (!hasMore)
            return;
    } while (true);
}
} // namespace

VZylFile::VZylFile(VFormatIO* io) : VZylStream(io), m_scene(nullptr)
{
    prefixes().append("GL_");
    prefixes().append("action::");
    if (const auto* const request = dynamic_cast<VSceneIO*>(io))
        m_scene = request->scene();
    else if (io)
        m_scene = static_cast<GL_Scene*>(io->container("scene"));
}

int VZylFile::read()
{
    QIODevice* const device = io() ? io()->ioDevice() : nullptr;
    if (!device || !m_scene)
        return -1;
    const QByteArray line = readLine(longestSignature);
    if (!isSignature(line))
        return -1;
    if (device->isTextModeEnabled() || line.indexOf("ASCII") > 0)
        return readText();
    sync();
    QDataStream stream(device);
    setDataStream(&stream);
    const int result = m_scene->read(stream, *io());
    setDataStream(nullptr);
    return result;
}

int VZylFile::write()
{
    QIODevice* const device = io() ? io()->ioDevice() : nullptr;
    if (!device || !m_scene)
        return -1;
    if (device->isTextModeEnabled()) {
        QTextStream stream(device);
        setTextStream(&stream);
        const int result = writeText();
        setTextStream(nullptr);
        return result;
    }
    if (device->write(binarySignature, sizeof binarySignature - 1) < 1)
        return -1;
    QDataStream stream(device);
    setDataStream(&stream);
    const int result = m_scene->write(stream, *io());
    setDataStream(nullptr);
    return result;
}

// Text

int VZylFile::readText()
{
    if (!io() || !m_scene)
        return -1;
    m_scene->clear();
    io()->setContainer("scene", m_scene);
    io()->setContainer("finder", static_cast<VObjectFinder*>(m_scene));
    const GL_Scene::Lookup lookup(*m_scene);
    int result = 0;
    QCString word;
    while (result >= 0) {
        const int found = read_identifier(word);
        if (found > 0) {
            result = readStatement(word);
        } else if (found < 0 || !take(*this, ';')) {
            // A ";" may stand behind any block.
            if (found == 0)
                report(VFormatDiagnostics::UnexpectedText, QString());
            break;
        }
    }
    m_scene->finishReading();
    return result;
}

int VZylFile::readStatement(const QCString& word)
{
    if (word == "ambient" || word == "background") {
        VColor color;
        if (readColor(*this, color) < 0)
            return -1;
        word == "ambient" ? m_scene->setAmbient(color) : m_scene->setBackground(color);
        return 1;
    }
    if (word == "timeLength") {
        double length = 0;
        const int result = readNumber(*this, length);
        m_scene->setTimeLength(length);
        return result;
    }
    if (word == "flags") {
        unsigned flags = 0;
        const int result = readNumber(*this, flags);
        m_scene->setFileFlags(flags);
        return result;
    }
    if (!take(*this, '{'))
        return -1;
    if (word == "library") {
        ungetch();
        return append(m_scene->library()) >= 0 && take(*this, ';') ? 1 : -1;
    }
    if (word == "connection") {
        VZylBlock block(*this);
        const int result = block.read();
        if (result >= 0)
            read_connection(m_scene);
        return result;
    }
    // Most objects follow one of the same class.
    if (word != m_lastClass) {
        static const action::ActionFactory factory;
        if (Action* const action = factory.getInstance(word))
            return m_scene->actions().readBlock(*io(), action);
        m_lastClass = word;
    }
    return readObject(word);
}

int VZylFile::readObject(const QCString& word)
{
    std::unique_ptr<ZYLObject> object(createObject(QString::fromLatin1(word.data())));
    int result = -1;
    const auto readInto = [&](auto& list, const VMetaClass& base) {
        using Item = std::remove_pointer_t<decltype(list.getFirst())>;
        if (!object || !object->inherits(&base))
            return false;
        result = VZylStream::readObject(*object);
        list.append(static_cast<Item*>(object.release()));
        return true;
    };
    // A light is an object, too, and goes first.
    const bool isTaken = readInto(m_scene->textures(), GL_Texture::metaClass) ||
                         readInto(m_scene->materials(), GL_Material::metaClass) ||
                         readInto(m_scene->fonts(), GL_Font::metaClass) ||
                         readInto(m_scene->lights(), GL_Light::metaClass) ||
                         readInto(m_scene->objects(), GL_Object::metaClass);
    if (isTaken)
        return result;
    report(VFormatDiagnostics::SkippedClass, QString::fromLatin1(word.data()));
    return skip_block();
}

int VZylFile::writeText()
{
    if (!io() || !m_scene)
        return -1;
    writeRaw(textSignature);
    if (m_scene->background() != VColor(0u))
        writeStatement(*this, "background", m_scene->background());
    if (m_scene->ambient() != VColor())
        writeStatement(*this, "ambient", m_scene->ambient());
    // What isn't a number would make the file unreadable.
    if (m_scene->timeLength() != 0 && std::isfinite(m_scene->timeLength()))
        writeStatement(*this, "timeLength", m_scene->timeLength());
    if (const unsigned flags = m_scene->flags() & GL_Scene::FileMask)
        writeStatement(*this, "flags", flags);
    const auto writeList = [this](const auto& list) {
        if (!list.isEmpty())
            write(list, 0);
    };
    writeList(m_scene->textures());
    writeList(m_scene->materials());
    writeList(m_scene->fonts());
    if (!m_scene->library().isEmpty()) {
        begin("library");
        write(m_scene->library(), Braces);
        end();
    }
    writeList(m_scene->objects());
    writeList(m_scene->lights());

    const GL_Scene::Lookup lookup(*m_scene);
    GL_SceneConnections connections(*m_scene, *this);
    const action::ActionDict& actions = m_scene->actions();
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it) {
        beginBlock(action::ActionDict::typeName(**it));
        *io() << **it;
        endBlock();
        writeOutputs(**it);
    }
    for (QAsciiDictIterator<Action> it(actions); it.current(); ++it)
        writeSignals(*this, it.current()->name(), connections.signalsOf(**it));
    writeSignals(*this, nullptr, connections.signalsOf(*m_scene));
    return hasFailed() ? -1 : 0;
}

// Connections

void VZylFile::read_connection(GL_Scene* scene)
{
    if (!scene)
        return;
    GL_SceneConnections connections(*scene, *this);
    if (contains("signal")) {
        QCString sender, signal, receiver, slot;
        VZylStream::read("sender", sender);
        VZylStream::read("signal", signal);
        VZylStream::read("receiver", receiver);
        VZylStream::read("slot", slot);
        connections.connect(sender, signal, receiver, slot);
        return;
    }
    QCString name;
    int key = 0;
    VZylStream::read("action", name);
    VZylStream::read("input", key);
    const Value output(*this, "output");
    Action* const source = connections.source(name);
    if (source && output)
        readOutput(*this, connections, *source, key);
}

void VZylFile::writeOutputs(const Action& action)
{
    if (!action.connections())
        return;
    GL_SceneConnections connections(*m_scene, *this);
    const VMemArray<int> keys = action.connections()->keys();
    for (const int key : keys) {
        const auto targets = connections.targets(action, key, true);
        if (targets.empty())
            continue;
        beginBlock("connection");
        writeStatement(*this, "action", action.name());
        writeStatement(*this, "input", key);
        begin("output");
        const char* before = "{ ";
        for (const GL_SceneConnections::Target& target : targets) {
            writeRaw(before);
            write(("/" + target.path).data());
            if (target.index != -1) {
                writeRaw(", ");
                write(target.index);
            }
            before = ", ";
        }
        writeRaw(" }");
        end();
        endBlock();
    }
}

void VZylFile::write_connection(QTextStream& stream, const char* sender, const char* signal,
                                VConnectionList* list)
{
    if (!signal || !list || !io() || !m_scene)
        return;
    Signals joined;
    GL_SceneConnections(*m_scene, *this).append(joined, signal, list);
    stream.flush();
    QIODevice* const device = io()->ioDevice();
    if (stream.device() == device) {
        writeSignals(*this, sender, joined);
        return;
    }
    QBuffer text;
    text.open(QIODevice::WriteOnly);
    setDevice(&text);
    writeSignals(*this, sender, joined);
    setDevice(device);
    if (stream.device())
        stream.device()->write(text.data());
    else
        stream << QString::fromLocal8Bit(text.data());
}

// Handlers

void VZylHandler::defaultRead(VSceneIO* io)
{
    VZylFile file(io);
    if (file.read() >= 0)
        io->setStatus(0);
}

void VZylHandler::defaultWrite(VSceneIO* io)
{
    VZylFile file(io);
    if (file.write() >= 0)
        io->setStatus(0);
}

void vInitZylIO()
{
    struct Format {
        const char* name;
        const char* header;
        const char* flags;
    };
    static constexpr Format formats[] = {
        {"ZYL BINARY", "//\\s+ZYL\\s+BINARY", ""},
        {"ZYL ASCII", "//\\s+ZYL\\s+ASCII", "T"},
    };
    for (const Format& format : formats)
        defineBuiltInHandler(
            std::make_unique<VZylHandler>(format.name, format.header, format.flags));
}

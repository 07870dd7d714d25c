#include "kernel/vformatio.h"
#include "kernel/vzylreader_p.h"
#include "kernel/vzylstream.h"
#include "kernel/vzylwriter_p.h"
#include "kernel/zylobject.h"

#include <qbuffer.h>
#include <qdatastream.h>

#include <algorithm>
#include <vector>

namespace
{
// Of the binary form.
constexpr quint8 sequenceTag = 0x30;
constexpr quint8 stringTag = 0x13;
constexpr quint8 bytesTag = 0x04;

class Nesting
{
public:
    explicit Nesting(int& depth) : m_depth(depth) { ++m_depth; }
    ~Nesting() { --m_depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    int& m_depth;
};

/// Sends a binary form to another device for a while.
class DeviceScope
{
public:
    DeviceScope(VZylStream& stream, QIODevice* device)
        : m_stream(stream), m_device(stream.io()->ioDevice()),
          m_dataDevice(stream.dataStream()->device())
    {
        switchTo(device, device);
    }
    ~DeviceScope() { switchTo(m_device, m_dataDevice); }
    DeviceScope(const DeviceScope&) = delete;
    DeviceScope& operator=(const DeviceScope&) = delete;

private:
    // The stream's own cursor follows when it is needed, which in the binary form is never.
    void switchTo(QIODevice* device, QIODevice* dataDevice)
    {
        m_stream.io()->setIODevice(device);
        m_stream.dataStream()->setDevice(dataDevice);
    }

    VZylStream& m_stream;
    QIODevice* m_device;
    QIODevice* m_dataDevice;
};

/// Tag and length, the latter in as few bytes as it takes.
QByteArray valueHeader(quint8 tag, quint64 length)
{
    QByteArray header(1, char(tag));
    if (length < 0x80)
        return header.append(char(length));
    QByteArray digits;
    for (quint64 rest = length; rest > 0; rest >>= 8)
        digits.prepend(char(rest));
    return header.append(char(0x80 | digits.size())).append(digits);
}

/// Takes values one after the other off a run of bytes.
struct ValueReader {
    const char* at;
    const char* end;

    /// False at the end, and where a value is cut short.
    bool next(quint8& tag, QByteArray& content)
    {
        if (end - at < 2)
            return false;
        const char* p = at;
        tag = quint8(*p++);
        quint64 length = quint8(*p++);
        if (length & 0x80) {
            const std::ptrdiff_t digits = std::ptrdiff_t(length & 0x7F);
            if (digits > 4 || end - p < digits)
                return false;
            length = 0;
            for (std::ptrdiff_t i = 0; i < digits; ++i)
                length = length << 8 | quint8(*p++);
        }
        if (length > quint64(end - p))
            return false;
        content = QByteArray::fromRawData(p, qsizetype(length));
        at = p + length;
        return true;
    }
    bool isAtEnd() const { return at == end; }
};

/// Up to `length` bytes of a device. What a buffer holds isn't copied; a device that can't tell its
/// size is read in pieces, so that a length alone allocates nothing.
QByteArray readContent(QIODevice* device, quint64 length)
{
    if (auto* memory = qobject_cast<QBuffer*>(device)) {
        const QByteArray& data = memory->data();
        const qint64 at = std::clamp<qint64>(memory->pos(), 0, data.size());
        const qint64 size = std::min<quint64>(length, quint64(data.size() - at));
        memory->seek(at + size);
        return QByteArray::fromRawData(data.constData() + at, size);
    }
    QByteArray content;
    if (!device->isSequential() && quint64(device->bytesAvailable()) >= length) {
        content.resize(qsizetype(length));
        content.truncate(std::max<qint64>(device->read(content.data(), content.size()), 0));
        return content;
    }
    while (quint64(content.size()) < length) {
        const QByteArray piece =
            device->read(qint64(std::min<quint64>(length - quint64(content.size()), 1 << 20)));
        if (piece.isEmpty())
            break;
        content.append(piece);
    }
    return content;
}
} // namespace

// Values lie in each other, and the length of each stands before it. The outermost list collects
// the contents of all of them, with the headers to put in between; so each byte is moved once,
// however deep it lies.
struct VZylStream::BinaryOutput {
    struct Header {
        qint64 position;
        QByteArray bytes;
    };

    QBuffer contents;
    std::vector<Header> headers; // in the order of their positions
    qint64 headerBytes = 0;

    /// A value from construction to the end of the scope.
    class Value
    {
    public:
        Value(BinaryOutput& output, quint8 tag)
            : m_output(output), m_index(output.headers.size()), m_tag(tag),
              m_headerBytes(output.headerBytes)
        {
            output.headers.push_back({output.contents.pos(), QByteArray()});
        }
        ~Value()
        {
            Header& header = m_output.headers[m_index];
            const qint64 inside = m_output.headerBytes - m_headerBytes;
            header.bytes =
                valueHeader(m_tag, quint64(m_output.contents.pos() - header.position + inside));
            m_output.headerBytes += header.bytes.size();
        }
        Value(const Value&) = delete;
        Value& operator=(const Value&) = delete;

    private:
        BinaryOutput& m_output;
        std::size_t m_index;
        quint8 m_tag;
        qint64 m_headerBytes;
    };

    void write(QDataStream& stream)
    {
        const char* const data = contents.data().constData();
        qint64 written = 0;
        const auto writeRaw = [&stream](const char* bytes, qint64 size) {
            for (qint64 at = 0; at < size; at += 1 << 30)
                stream.writeRawData(bytes + at, int(std::min<qint64>(size - at, 1 << 30)));
        };
        for (const Header& header : headers) {
            writeRaw(data + written, header.position - written);
            written = header.position;
            writeRaw(header.bytes.constData(), header.bytes.size());
        }
        writeRaw(data + written, contents.data().size() - written);
    }
};

// Classes

const VMetaClass* VZylStream::findClass(const char* name, std::size_t size) const
{
    // One class mostly comes many times in a row.
    if (m_lastClass && m_lastClassName == QByteArrayView(name, qsizetype(size)))
        return m_lastClass;
    const QByteArray bare(name, qsizetype(size));
    const VMetaClass* found = VMetaClass::metaClass(bare.constData());
    for (QStrListIterator it(m_prefixes); !found && it.current(); ++it)
        found = VMetaClass::metaClass((it.current() + bare).constData());
    m_lastClassName = bare;
    m_lastClass = found;
    return found;
}

ZYLObject* VZylStream::createObject(const QString& className) const
{
    const QByteArray name = className.toLatin1();
    const VMetaClass* const found = findClass(name.constData(), std::size_t(name.size()));
    return found ? found->makeInstance() : nullptr;
}

/// An object of a class of this name, unless it isn't of the base class: then it is passed over.
ZYLObject* VZylStream::makeObject(const char* name, std::size_t size, const VMetaClass* base)
{
    const VMetaClass* const found = findClass(name, size);
    std::unique_ptr<ZYLObject> object(found ? found->makeInstance() : nullptr);
    if (object && object->inherits(base))
        return object.release();
    if (m_io->diagnostics())
        report(VFormatDiagnostics::SkippedClass, QString::fromLatin1(name, qsizetype(size)));
    return nullptr;
}

QCString VZylStream::prefix_detach(const QCString& className, const QStrList& prefixes)
{
    for (QStrListIterator it(prefixes); it.current(); ++it) {
        const unsigned size = unsigned(qstrlen(it.current()));
        if (qstrncmp(className, it.current(), size) == 0)
            return className.length() > size ? QCString(className.data() + size) : className;
    }
    return className;
}

// Text

bool VZylStream::isNestedTooDeep()
{
    if (m_active == 1)
        m_tooDeep = false;
    if (m_depth > m_depthLimit && !m_tooDeep) {
        m_tooDeep = true;
        report(VFormatDiagnostics::TooDeep, QString());
    }
    return m_tooDeep;
}

int VZylStream::readObject(ZYLObject& object)
{
    const Nesting active(m_active);
    if (isNestedTooDeep())
        return -1;
    VZylBlock block(*this);
    const int result = block.read();
    if (!block.isEmpty())
        *m_io >> object;
    return m_tooDeep ? -1 : result;
}

int VZylStream::readObjects(VGList& list, const VMetaClass* base, Append add, bool clears)
{
    const Nesting nesting(m_depth), active(m_active);
    m_reader->prepare();
    if (isNestedTooDeep() || !m_reader->take('{'))
        return -1;
    if (clears)
        list.clear();
    VZylReader::View name;
    while (m_reader->readIdentifier(name) > 0) {
        ZYLObject* const object = makeObject(name.data, name.size, base);
        if (object)
            add(list, object);
        while (m_reader->skipComments() > 0)
            continue;
        if (!m_reader->take('{'))
            return -1;
        if ((object ? readObject(*object) : m_reader->skipBlock()) < 0)
            return -1;
        while (m_reader->take(';'))
            continue; // may stand behind any block
    }
    return m_reader->take('}') ? int(list.count()) : -1;
}

void VZylStream::writeObjects(const VGList& list, Next next, int flags)
{
    if (!m_io)
        return;
    const Nesting nesting(m_depth), active(m_active);
    const VZylWriter::Scope scope(*m_writer);
    if (flags & Braces) {
        m_writer->put('{');
        m_writer->raiseIndent(1);
    }
    const VLNode* node = list.firstNode();
    if (isNestedTooDeep()) {
        m_writer->setFailed();
        node = nullptr;
    }
    while (const ZYLObject* object = next(node)) {
        m_writer->putLine();
        if (flags & Define)
            m_writer->put("#define ");
        m_writer->put(prefix_detach(object->className(), m_prefixes).data());
        m_writer->put(" {\n");
        m_writer->raiseIndent(1);
        *m_io << *object;
        m_writer->raiseIndent(-1);
        m_writer->putIndent();
        m_writer->put("}\n");
    }
    if (flags & Braces) {
        m_writer->raiseIndent(-1);
        m_writer->putIndent();
        m_writer->put('}');
    }
}

// Binary

void VZylStream::writeBinary(const VGList& list, Next next)
{
    if (!m_dataStream)
        return;
    if (!m_binaryOutput) {
        BinaryOutput output;
        output.contents.open(QIODevice::WriteOnly);
        m_binaryOutput = &output;
        {
            const DeviceScope scope(*this, &output.contents);
            writeBinary(list, next);
        }
        m_binaryOutput = nullptr;
        output.write(*m_dataStream);
        return;
    }
    const Nesting nesting(m_depth), active(m_active);
    const BinaryOutput::Value values(*m_binaryOutput, sequenceTag);
    const VLNode* node = list.firstNode();
    if (isNestedTooDeep()) {
        m_writer->setFailed();
        node = nullptr;
    }
    while (const ZYLObject* object = next(node)) {
        const BinaryOutput::Value pair(*m_binaryOutput, sequenceTag);
        {
            const BinaryOutput::Value name(*m_binaryOutput, stringTag);
            const QCString text = prefix_detach(object->className(), m_prefixes);
            m_dataStream->writeRawData(text.data(), int(text.length()));
        }
        const BinaryOutput::Value content(*m_binaryOutput, bytesTag);
        *m_io << *object;
    }
}

void VZylStream::readBinary(VGList& list, const VMetaClass* base, Append add)
{
    if (!m_dataStream || !m_dataStream->device())
        return;
    const Nesting nesting(m_depth), active(m_active);
    if (isNestedTooDeep())
        return;
    quint8 tag = 0, first = 0;
    *m_dataStream >> tag >> first;
    quint64 length = first;
    if (first & 0x80) {
        length = 0;
        for (int i = first & 0x7F; i > 0 && (first & 0x7F) < 5; --i) {
            quint8 digit = 0;
            *m_dataStream >> digit;
            length = length << 8 | digit;
        }
    }
    const QByteArray contents = readContent(m_dataStream->device(), length);
    if (tag != sequenceTag)
        return;
    bool isWhole = quint64(contents.size()) == length;
    ValueReader values{contents.constData(), contents.constData() + contents.size()};
    QByteArray pair, name, content;
    QBuffer buffer;
    while (!m_tooDeep && values.next(tag, pair)) {
        ValueReader parts{pair.constData(), pair.constData() + pair.size()};
        quint8 nameTag, contentTag;
        if (tag != sequenceTag || !parts.next(nameTag, name) || !parts.next(contentTag, content) ||
            !parts.isAtEnd())
            continue;
        ZYLObject* const object = makeObject(name.constData(), std::size_t(name.size()), base);
        if (!object)
            continue;
        add(list, object);
        buffer.close();
        buffer.setData(content);
        buffer.open(QIODevice::ReadOnly);
        const DeviceScope scope(*this, &buffer);
        *m_io >> *object;
        // That a value ends with its last field is no failure of the stream.
        m_dataStream->resetStatus();
    }
    if (!isWhole || !values.isAtEnd())
        m_dataStream->setStatus(QDataStream::ReadPastEnd);
}

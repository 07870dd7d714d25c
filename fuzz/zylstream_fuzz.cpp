// Reads the bytes as a list of objects, then with each of the value readers and the raw ones; what
// begins like the binary form also as that.

#include "geometry/gvector.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "geometry/zylvector.h"
#include "geometry/zylvectorarray.h"
#include "kernel/vformatio.h"
#include "kernel/vzylstream.h"
#include "kernel/zylobject.h"

#include <qbuffer.h>
#include <qdatastream.h>
#include <qlogging.h>

#include <cstdint>
#include <cstdlib>

namespace
{
struct Request : VFormatIO {
    bool read() override { return false; }
    bool write() override { return false; }
};

struct Sink : VFormatDiagnostics {
    void report(Kind, const QString& what, const Place& place) override
    {
        if (place.line < 0 || what.size() > (1 << 24))
            std::abort();
    }
};

/// Asks for a value of each kind.
struct Everything {
    bool flag = false;
    int integer = 0;
    double real = 0;
    VColor color;
    geometry::Vector3f vector;
    geometry::Quaternion rotation;
    geometry::Matrix4f matrix;
    QString text;
    QCString name;
    QStringList list;
    VMemArray<int> ints;
    VMemArray<double> reals;
    VMemArray<VColor> colors;
    geometry::Vector3fArray points;
    geometry::GVectorArray controls;

    template <class F>
    void each(F&& f)
    {
        f("integer", integer);
        f("real", real);
        f("color", color);
        f("vector", vector);
        f("rotation", rotation);
        f("matrix", matrix);
        f("text", text);
        f("name", name);
        f("list", list);
        f("ints", ints);
        f("reals", reals);
        f("colors", colors);
        f("points", points);
        f("controls", controls);
    }
};

struct Node : ZYLObject {
    static const VMetaClass metaClass;
    static ZYLObject* factory() { return new Node; }
    const VMetaClass* metaObject() const override { return &metaClass; }

    Node() { children.setAutoDelete(true); }

    VFormatIO& read(VFormatIO& io) override
    {
        VZylStream& stream = *VZylStream::get(io);
        if (stream.dataStream())
            return io >> children;
        stream.read("children", children);
        values.each([&stream](const char* key, auto& value) { stream.read(key, value); });
        values.flag = stream.contains("flag") && stream.find("flag");
        return io;
    }

    VFormatIO& write(VFormatIO& io) const override
    {
        VZylStream& stream = *VZylStream::get(io);
        if (stream.dataStream())
            return io << children;
        const_cast<Node*>(this)->values.each([&stream](const char* key, auto& value) {
            stream.begin(key);
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, QCString>)
                stream.write(value.data());
            else
                stream.write(value);
            stream.end();
        });
        stream.begin("children");
        stream.write(children, VZylStream::Braces);
        stream.end();
        return io;
    }

    Everything values;
    VPtrList<Node> children;
};
const VMetaClass Node::metaClass("VNode", &Node::factory, &ZYLObject::metaClass);

/// A request on the bytes as they lie in memory.
struct Source {
    explicit Source(const QByteArray& bytes)
    {
        buffer.setData(bytes);
        buffer.open(QIODevice::ReadOnly);
        io.setIODevice(&buffer);
        io.setDiagnostics(&sink);
    }
    Sink sink;
    QBuffer buffer;
    Request io;
    VZylStream stream{&io};
};

void discard(QtMsgType, const QMessageLogContext&, const QString&) {}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qInstallMessageHandler(discard);
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    Node root;
    Source(bytes).stream.read(root.children);

    // What was understood can be written, and the other form holds it too.
    Request io;
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    io.setIODevice(&buffer);
    VZylStream stream(&io);
    stream.write(root.children, VZylStream::Braces);
    QDataStream binary(&buffer);
    stream.setDataStream(&binary);
    buffer.seek(0);
    io << root.children;
    buffer.seek(0);
    Node copy;
    io >> copy.children;
    if (copy.children.count() != root.children.count())
        std::abort();
    stream.setDataStream(nullptr);

    Source raw(bytes);
    Everything values;
    values.each([&bytes](const char*, auto& value) { Source(bytes).stream.read(value); });
    QMemArray<char> text;
    QCString word;
    while (raw.stream.skip_comments() >= 0) {
        raw.stream.read_identifier(word);
        raw.stream.read_expression(text);
        if (raw.stream.getch() < 0)
            break;
    }
    Source(bytes).stream.read_block(text);
    Source(bytes).stream.skip_block();
    QDict<QMemArray<char>> dictionary;
    dictionary.setAutoDelete(true);
    Source(bytes).stream.read(dictionary);

    Source asBinary(bytes);
    QDataStream input(&asBinary.buffer);
    asBinary.stream.setDataStream(&input);
    asBinary.io >> root.children;
    asBinary.stream.setDataStream(nullptr);
    return 0;
}

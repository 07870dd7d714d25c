// The native stream: keyed text into objects, flat and deep, and number arrays in and out.

#include "geometry/zylvector.h"
#include "geometry/zylvectorarray.h"
#include "kernel/vformatio.h"
#include "kernel/vzylstream.h"
#include "kernel/zylobject.h"
#include "ratio.h"

#include <qbuffer.h>
#include <qfile.h>
#include <qtemporarydir.h>

#include <charconv>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace
{
struct Request : VFormatIO {
    bool read() override { return false; }
    bool write() override { return false; }
};

/// A shape such as scene files are full of: some keywords of many, most of them absent.
struct Shape : ZYLObject {
    static const VMetaClass metaClass;
    static ZYLObject* factory() { return new Shape; }
    const VMetaClass* metaObject() const override { return &metaClass; }

    Shape() { children.setAutoDelete(true); }

    VFormatIO& read(VFormatIO& io) override
    {
        VZylStream& stream = *VZylStream::get(io);
        stream.read("name", name);
        stream.read("flags", flags);
        stream.read("color", color);
        stream.read("style", style);
        for (const char* absent :
             {"shadingModel", "layerColor", "hidden", "locked", "lit", "twoSided"})
            flags |= stream.contains(absent);
        stream.read("position", position);
        stream.read("material", material);
        stream.read("size", size);
        stream.read("radius", radius);
        stream.read("vertices", vertices);
        stream.read("children", children);
        return io;
    }

    QCString name, material;
    unsigned flags = 0;
    int style = 0;
    float radius = 0;
    VColor color;
    geometry::Vector3f position, size;
    geometry::Vector3fArray vertices;
    VPtrList<Shape> children;
};
const VMetaClass Shape::metaClass("VBenchShape", &Shape::factory, &ZYLObject::metaClass);

/// Looks at nothing of its block.
struct Idle : ZYLObject {
    static const VMetaClass metaClass;
    static ZYLObject* factory() { return new Idle; }
    const VMetaClass* metaObject() const override { return &metaClass; }
};
const VMetaClass Idle::metaClass("VBenchIdle", &Idle::factory, &ZYLObject::metaClass);

QByteArray body(std::mt19937& random, int i)
{
    const auto number = [&random] {
        return QByteArray::number(double(random() % 2000000) / 1000 - 1000, 'g', 6);
    };
    return " name \"shape" + QByteArray::number(i) +
           "\"; flags 0x74; color 0xff8040ff; style 1;\n"
           "    position { " +
           number() + ", " + number() + ", " + number() +
           " };\n    material \"steel\";\n"
           "    size { " +
           number() + ", " + number() + ", " + number() + " }; radius " + number() + ";\n";
}

QByteArray flat(const char* name, int count)
{
    std::mt19937 random(7);
    QByteArray text = "{\n";
    for (int i = 0; i < count; ++i)
        text += QByteArray(name) + " {\n   " + body(random, i) + "}\n";
    return text + "}";
}

/// As many shapes in chains of `depth`.
QByteArray deep(int depth, int count)
{
    std::mt19937 random(7);
    QByteArray text = "{\n";
    for (int i = 0; i < count; i += depth) {
        for (int level = 0; level < depth; ++level)
            text += "BenchShape {\n   " + body(random, i) + " children {\n";
        for (int level = 0; level < depth; ++level)
            text += "};\n}\n";
    }
    return text + "}";
}

template <class T>
void readList(const QByteArray& text, VPtrList<T>& list)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    Request io;
    io.setIODevice(&buffer);
    VZylStream stream(&io);
    if (stream.read(list) < 0)
        std::abort();
}

void readShapes(const QByteArray& text)
{
    VPtrList<Shape> list;
    list.setAutoDelete(true);
    readList(text, list);
}

template <class Array>
void readArray(const QByteArray& text, Array& array)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    Request io;
    io.setIODevice(&buffer);
    VZylStream stream(&io);
    if (stream.read(array) < 1)
        std::abort();
}

template <class Write>
QByteArray written(Write write)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    Request io;
    io.setIODevice(&buffer);
    {
        VZylStream stream(&io);
        write(stream);
    }
    return buffer.data();
}

template <class T>
std::vector<T> coordinates(int count)
{
    std::mt19937 random(11);
    std::vector<T> values;
    for (int i = 0; i < count; ++i)
        values.push_back(
            T(std::ldexp(double(qint64(random() % (1u << 24)) - (1 << 23)), -int(random() % 24))));
    return values;
}

template <class T>
void numbers(const char* name)
{
    const std::vector<T> values = coordinates<T>(200000);
    std::vector<char> plain(values.size() * 24);
    const auto byLibrary = [&] {
        char* at = plain.data();
        for (const T value : values) {
            *at++ = ' ';
            at = std::to_chars(at, at + 24, value, std::chars_format::general, 6).ptr;
            *at++ = ',';
        }
        bench::keep(at);
    };
    QBuffer target;
    target.open(QIODevice::WriteOnly);
    Request io;
    io.setIODevice(&target);
    VZylStream stream(&io);
    const auto byStream = [&] {
        target.seek(0);
        stream.write(values.data(), unsigned(values.size()));
    };
    bench::compare(std::string("stream.") + name + ".out/to_chars", 1.0, byStream, byLibrary);
    const QByteArray text =
        written([&](VZylStream& s) { s.write(values.data(), unsigned(values.size())); });
    VMemArray<T> back;
    bench::rate(std::string("stream.") + name + ".in.250MB/s", 250e6, double(text.size()),
                [&] { readArray(text, back); });
}
} // namespace

int main()
{
    const QByteArray shapes = flat("BenchShape", 4000);
    bench::rate("stream.flat.100MB/s", 100e6, double(shapes.size()), [&] { readShapes(shapes); });
    {
        QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("flat")));
        file.open(QIODevice::ReadWrite);
        file.write(shapes);
        bench::rate("stream.flat.file.100MB/s", 100e6, double(shapes.size()), [&] {
            file.seek(0);
            Request io;
            io.setIODevice(&file);
            VZylStream stream(&io);
            VPtrList<Shape> list;
            list.setAutoDelete(true);
            if (stream.read(list) < 0)
                std::abort();
        });
    }
    const QByteArray idle = flat("BenchIdle", 4000);
    bench::rate("stream.unread.300MB/s", 300e6, double(idle.size()), [&] {
        VPtrList<Idle> list;
        list.setAutoDelete(true);
        readList(idle, list);
    });

    const QByteArray shallow = deep(10, 4000), steep = deep(1000, 4000);
    bench::compare(
        "stream.depth.1000/10", 1.0, [&] { readShapes(steep); }, [&] { readShapes(shallow); });

    numbers<float>("floats");
    numbers<double>("doubles");
    const std::vector<float> values = coordinates<float>(300000);
    const QByteArray points = written([&](VZylStream& s) { s.write(values.data(), 3, 100000); });
    geometry::Vector3fArray back;
    bench::rate("stream.points.in.250MB/s", 250e6, double(points.size()),
                [&] { readArray(points, back); });
    std::vector<int> whole;
    for (int i = 0; i < 300000; ++i)
        whole.push_back(i * 7 % 100003 - 20000);
    const QByteArray indices =
        written([&](VZylStream& s) { s.write(whole.data(), unsigned(whole.size())); });
    VMemArray<int> ints;
    bench::rate("stream.ints.in.250MB/s", 250e6, double(indices.size()),
                [&] { readArray(indices, ints); });

    // A mesh as scenes hold it: found by key, its block looked through first.
    const QByteArray mesh = "{ BenchShape { name \"mesh\"; vertices " + points + "; } }";
    bench::rate("stream.mesh.200MB/s", 200e6, double(mesh.size()), [&] { readShapes(mesh); });
}

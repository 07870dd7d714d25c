#pragma once

#include "geometry/zylforward.h"
#include "kernel/vformatdiagnostics.h"
#include "toolkit/qcstring.h"
#include "toolkit/qdict.h"
#include "toolkit/qmemarray.h"
#include "toolkit/qstrlist.h"
#include "tools/vcolor.h"
#include "tools/vmemarray.h"
#include "tools/vptrlist.h"

#include <qbytearray.h>
#include <qstring.h>
#include <qstringlist.h>

#include <memory>
#include <type_traits>

QT_BEGIN_NAMESPACE
class QDataStream;
class QIODevice;
class QTextStream;
QT_END_NAMESPACE
class VFormatIO;
class VMetaClass;
class VZylReader;
class VZylWriter;
struct VZylRows;
class ZYLObject;
namespace geometry
{
class GeneralPath;
class GVectorArray;
}

using ZYLObjectList = VPtrList<ZYLObject>;

/// Reads and writes the native text grammar, and the lists of objects in its binary form.
///
///     Group {
///         name "root";
///         transform { translate { 0, 1.5, 0 }; };
///         children { Cube { color 0xff8040ff; } }
///     }
///
/// A block is read whole into the current dictionary, and an object asks it for its keywords in any
/// order; what it doesn't ask for is passed over. While a file is read the dictionary is a table of
/// views into the text, from which `find` and `read(QDict&)` make arrays on demand: a value that
/// nobody reads costs next to nothing, and depth costs nothing.
///
/// Readers return the number of items or 1, 0 for nothing, and -1 on a syntax error or for a
/// missing key; they leave single values alone then. A number is decimal, or hexadecimal behind
/// "0x", whatever the locale. Readers of text look ahead of the device's position until `sync`, or
/// the stream's end, puts it right. Writers give up silently when the device does; `hasFailed`
/// tells.
///
/// Objects get the stream from their request:
///
///     VFormatIO& GL_Sphere::read(VFormatIO& io)
///     {
///         GL_Quadric::read(io);
///         if (VZylStream* stream = VZylStream::get(io))
///             stream->read("radius", m_radius);
///         return io;
///     }
class ZYL_EXPORT VZylStream
{
public:
    /// Enters itself as "zylio" and the list of prefixes as "prefix" in the request until it ends.
    explicit VZylStream(VFormatIO* io);
    virtual ~VZylStream();
    VZylStream(const VZylStream&) = delete;
    VZylStream& operator=(const VZylStream&) = delete;

    /// The stream of a request, or null.
    static VZylStream* get(const VFormatIO& io);

    VFormatIO* io() const { return m_io; }
    /// What may stand before the names of classes and is left out in files; at first "V".
    QStrList& prefixes()
    {
        m_lastClass = nullptr;
        return m_prefixes;
    }
    const QStrList& prefixes() const { return m_prefixes; }

    /// Set while a binary form is read or written.
    QDataStream* dataStream() const { return m_dataStream; }
    void setDataStream(QDataStream* stream) { m_dataStream = stream; }
    /// What is written to it directly stands in its place among what the stream writes. It isn't
    /// used for reading.
    QTextStream* textStream() const;
    void setTextStream(QTextStream* stream);

    /// Switches the request and the streams to another device. Reading goes on where it was after
    /// a switch back.
    void setDevice(QIODevice* device);
    /// Gives the device the position that reading has reached.
    void sync();
    bool hasFailed() const;

    /// How deep lists of objects may be nested; reading fails beyond. 4096 at first.
    int depthLimit() const { return m_depthLimit; }
    void setDepthLimit(int limit) { m_depthLimit = limit; }

    // Raw reading

    /// The next byte, or -1. `ungetch` steps back over it, `nextChar` skips blanks first.
    int getch();
    void ungetch();
    int nextChar();
    /// At most `most` bytes up to a line end, which is included.
    QByteArray readLine(int most);

    /// Skips white space and at most one comment. Positive if there was a comment, -1 at the end.
    int skip_comments();
    /// Skips to behind the brace that closes a block; returns it, or -1. Braces in strings count.
    int skip_block();
    /// Copies the block from the next opening brace on, without comments; returns the closing
    /// brace, or -1. Braces in strings count.
    int read_block(QMemArray<char>& text);
    /// Copies everything before the next ";"; returns that, or -1.
    int read_expression(QMemArray<char>& text);
    /// Takes a word, behind comments. 0 if there is none here, -1 at the end.
    int read_identifier(QCString& word);

    // Values

    /// One number. Always 1: where none stands it is 0.
    int read(int& value);
    int read(unsigned& value);
    int read(float& value);
    int read(double& value);
    /// `{ a, b, ... }` of at most `n` values; of characters, each one stands for itself.
    int read(char* values, unsigned n);
    int read(int* values, unsigned n);
    int read(float* values, unsigned n);
    int read(double* values, unsigned n);
    /// A number, or a tuple of red, green, blue and alpha: from 0 to 1, or, if one of them is above
    /// 1, from 0 to 255.
    int read(VColor& color);
    template <class S>
    int read(geometry::Vector2<S>& v);
    template <class S>
    int read(geometry::Vector3<S>& v);
    template <class S>
    int read(geometry::Vector4<S>& v);
    /// Three angles in degrees, or the four numbers themselves.
    int read(geometry::Quaternion& rotation);
    int read(geometry::Matrix4f& matrix);
    /// A quoted string in UTF-8, or, if it isn't that, in Latin-1.
    int read(QString& text);
    /// A quoted string as it stands in the file.
    int read(QCString& text);
    /// Squeezes white space and leaves out empty strings.
    int read(QStringList& list);
    /// Every string as it stands, for lists in which the place counts.
    int read(QStrList& list);
    /// Of numbers, colours or vectors. On failure the array holds what could be read.
    template <class T>
    int read(VMemArray<T>& array);
    int read(geometry::GVectorArray& array);
    /// The numbers alone; with `brace`, the opening brace is still to come.
    int read(geometry::GVectorArray& array, bool brace);
    /// On failure the rows before the fault are there.
    int read(VZylRows& rows);
    /// `{ flags 0x20002; vertices { ... }; types { 0, 1, -1 }; }`. On failure the path stays.
    int read(geometry::GeneralPath& path);
    /// Makes each object by the name of its class and appends it. What isn't a `T` is passed over,
    /// as is an unknown class.
    template <class T>
    int read(VPtrList<T>& list);
    /// The same without clearing the list, and for what is of the class `base`.
    template <class T>
    int append(VPtrList<T>& list, const VMetaClass* base = &T::metaClass);
    /// The block of an object, its opening brace being behind.
    int readObject(ZYLObject& object);

    // Blocks

    /// Reads statements up to the closing brace, the opening one being behind. Positive, or -1.
    int read(QDict<QMemArray<char>>& dictionary);

    QDict<QMemArray<char>>* dictionary() const { return m_dictionary; }
    /// Makes another dictionary current, or with null the last block read.
    void setDictionary(QDict<QMemArray<char>>* dictionary) { m_dictionary = dictionary; }

    /// The text of a value, or null. It lives as long as the block or dictionary.
    QMemArray<char>* find(const char* key);
    bool contains(const char* key);
    /// Reads the value of a key, as the reader for its type does. An array or list that fails stays
    /// as it was.
    template <class T>
    int read(const char* key, T& value);

    /// Reads from the value of a key until the end of the scope.
    class ZYL_EXPORT Value
    {
    public:
        Value(VZylStream& stream, const char* key) : m_stream(stream), m_found(stream.enter(key)) {}
        ~Value()
        {
            if (m_found)
                m_stream.leave();
        }
        Value(const Value&) = delete;
        Value& operator=(const Value&) = delete;
        explicit operator bool() const { return m_found; }

    private:
        VZylStream& m_stream;
        bool m_found;
    };

    // Writing

    void writeIndent();
    void begin(const char* key);
    void end();
    /// A line with the word and an opening brace; what follows is indented up to `endBlock`.
    void beginBlock(const char* word);
    void endBlock();
    /// Text as it stands.
    void writeRaw(const char* text);

    void write(int value);
    void write(unsigned value);
    void write(float value);
    void write(double value);
    void write(VColor color);
    // In one line, and as rows of `columns` values.
    void write(const char* values, unsigned n);
    void write(const int* values, unsigned n);
    void write(const unsigned* values, unsigned n);
    void write(const float* values, unsigned n);
    void write(const double* values, unsigned n);
    void write(const char* values, unsigned columns, unsigned rows);
    void write(const int* values, unsigned columns, unsigned rows);
    void write(const float* values, unsigned columns, unsigned rows);
    void write(const double* values, unsigned columns, unsigned rows);
    template <class S>
    void write(const geometry::Vector2<S>& v);
    template <class S>
    void write(const geometry::Vector3<S>& v);
    template <class S>
    void write(const geometry::Vector4<S>& v);
    void write(const geometry::Quaternion& rotation);
    void write(const geometry::Matrix4f& matrix);
    // Nothing is escaped, although the reader unescapes: a quote or a backslash doesn't come back.
    // Diagnostics are told.
    void write(const char* text);
    void write(const QString& text);
    void write(const QStringList& list);
    void write(const QStrList& list);
    /// Numbers in one line, colours and vectors one a line.
    template <class T>
    void write(const VMemArray<T>& array);
    void write(const geometry::GVectorArray& array);
    void write(const VZylRows& rows);
    void write(const geometry::GeneralPath& path);

    enum ListFlag { Braces = 1, Define = 2 };
    /// Each object as a block; with `Braces`, inside of another one.
    template <class T>
    void write(const VPtrList<T>& list, int flags);

    // Classes

    /// A new object of the class of this name, or with a prefix before it; null if there is none.
    ZYLObject* createObject(const QString& className) const;
    /// The name without the first of the prefixes that it begins with; never empty.
    static QCString prefix_detach(const QCString& className, const QStrList& prefixes);

    // What `operator<<` and `operator>>` of lists do; nothing without a data stream.
    template <class T>
    void writeBinary(const VPtrList<T>& list);
    template <class T>
    void readBinary(VPtrList<T>& list, const VMetaClass* base = &T::metaClass);

    /// Tells the request's diagnostics about the present place in the text.
    void report(VFormatDiagnostics::Kind kind, const QString& what);

private:
    friend class VZylBlock;

    using Append = void (*)(VGList& list, ZYLObject* object);
    /// Hands out one object of a list after the other; null ends them.
    using Next = const ZYLObject* (*)(const VLNode*& node);

    template <class T>
    static void appendTo(VGList& list, ZYLObject* object);
    template <class T>
    static const ZYLObject* nextOf(const VLNode*& node);

    bool enter(const char* key);
    void leave();
    bool isNestedTooDeep();
    const VMetaClass* findClass(const char* name, std::size_t size) const;
    ZYLObject* makeObject(const char* name, std::size_t size, const VMetaClass* base);
    int readObjects(VGList& list, const VMetaClass* base, Append add, bool clears);
    void writeObjects(const VGList& list, Next next, int flags);
    void readBinary(VGList& list, const VMetaClass* base, Append add);
    void writeBinary(const VGList& list, Next next);

    VFormatIO* m_io;
    QStrList m_prefixes;
    QDict<QMemArray<char>>* m_dictionary = nullptr;
    QDataStream* m_dataStream = nullptr;
    std::unique_ptr<VZylReader> m_reader;
    std::unique_ptr<VZylWriter> m_writer;
    struct BinaryOutput;
    BinaryOutput* m_binaryOutput = nullptr; // while a binary list is written
    mutable QByteArray m_lastClassName; // what was looked for last, and what it was
    mutable const VMetaClass* m_lastClass = nullptr;
    int m_depthLimit = 4096;
    int m_depth = 0;  // of lists
    int m_active = 0; // lists and objects under way
    bool m_tooDeep = false;
};

/// The dictionary of one object's block, current until the end of the scope.
class ZYL_EXPORT VZylBlock
{
public:
    explicit VZylBlock(VZylStream& stream);
    ~VZylBlock();
    VZylBlock(const VZylBlock&) = delete;
    VZylBlock& operator=(const VZylBlock&) = delete;

    /// See VZylStream::read(QDict&).
    int read();
    bool isEmpty() const;

private:
    VZylStream& m_stream;
    QDict<QMemArray<char>>* m_outer;
};

template <class T>
int VZylStream::read(const char* key, T& value)
{
    const Value text(*this, key);
    if (!text)
        return -1;
    if constexpr (std::is_base_of_v<VGArray, T> || std::is_same_v<T, QStringList> ||
                  std::is_same_v<T, QStrList> || std::is_same_v<T, VZylRows>) {
        T fresh(value);
        const int result = read(fresh);
        if (result >= 0)
            value = fresh;
        return result;
    } else {
        return read(value);
    }
}

template <class T>
void VZylStream::appendTo(VGList& list, ZYLObject* object)
{
    static_cast<VPtrList<T>&>(list).append(static_cast<T*>(object));
}

template <class T>
const ZYLObject* VZylStream::nextOf(const VLNode*& node)
{
    const T* object = nullptr;
    while (node && !object) {
        object = static_cast<const T*>(node->item);
        node = node->next;
    }
    return object;
}

template <class T>
int VZylStream::read(VPtrList<T>& list)
{
    return readObjects(list, &T::metaClass, &VZylStream::appendTo<T>, true);
}

template <class T>
int VZylStream::append(VPtrList<T>& list, const VMetaClass* base)
{
    return readObjects(list, base, &VZylStream::appendTo<T>, false);
}

template <class T>
void VZylStream::write(const VPtrList<T>& list, int flags)
{
    writeObjects(list, &VZylStream::nextOf<T>, flags);
}

template <class T>
void VZylStream::readBinary(VPtrList<T>& list, const VMetaClass* base)
{
    readBinary(list, base, &VZylStream::appendTo<T>);
}

template <class T>
void VZylStream::writeBinary(const VPtrList<T>& list)
{
    writeBinary(list, &VZylStream::nextOf<T>);
}

/// The binary form of a list, by the request's stream; nothing without one or its data stream.
template <class T>
VFormatIO& operator<<(VFormatIO& io, const VPtrList<T>& list)
{
    if (VZylStream* stream = VZylStream::get(io))
        stream->writeBinary(list);
    return io;
}

template <class T>
VFormatIO& operator>>(VFormatIO& io, VPtrList<T>& list)
{
    if (VZylStream* stream = VZylStream::get(io))
        stream->readBinary(list);
    return io;
}

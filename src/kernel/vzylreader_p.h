#pragma once

#include "kernel/vformatdiagnostics.h"
#include "kernel/vzylnumber_p.h"
#include "toolkit/qmemarray.h"

#include <qbytearray.h>
#include <qiodevice.h>
#include <qpointer.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

class VFormatIO;

/// The reading side of the native stream: one cursor for raw bytes and for values, and the blocks
/// as flat tables of views.
///
/// The cursor runs over a window of memory: the contents of a `QBuffer`, what has been read of
/// another device, or the text of one value. Only the second kind can grow, by `more`, which may
/// move what is there; a `Mark` keeps hold of a place. The device gets its true position back by
/// `sync`.
class VZylReader
{
public:
    struct View {
        const char* data = nullptr;
        std::size_t size = 0;
    };

    /// Keeps everything from here on in the window.
    class Mark
    {
    public:
        explicit Mark(VZylReader& reader) : m_reader(reader), m_outermost(!reader.m_window.mark)
        {
            if (m_outermost)
                reader.m_window.mark = reader.m_window.at;
            m_offset = reader.m_window.at - reader.m_window.mark;
        }
        ~Mark()
        {
            if (m_outermost)
                m_reader.m_window.mark = nullptr;
        }
        Mark(const Mark&) = delete;
        Mark& operator=(const Mark&) = delete;

        const char* begin() const { return m_reader.m_window.mark + m_offset; }
        View text() const { return {begin(), std::size_t(m_reader.m_window.at - begin())}; }

    private:
        VZylReader& m_reader;
        std::ptrdiff_t m_offset;
        bool m_outermost;
    };

    /// Takes the place of the current block until the end of the scope.
    class BlockScope
    {
    public:
        explicit BlockScope(VZylReader& reader) : m_reader(reader) { reader.openBlock(); }
        ~BlockScope() { m_reader.closeBlock(); }
        BlockScope(const BlockScope&) = delete;
        BlockScope& operator=(const BlockScope&) = delete;

    private:
        VZylReader& m_reader;
    };

    explicit VZylReader(VFormatIO* io) : m_io(io) {}
    VZylReader(const VZylReader&) = delete;
    VZylReader& operator=(const VZylReader&) = delete;

    /// Follows the request's device; to be called before reading from outside.
    void prepare();
    /// Goes on with another device; the place in the present one is kept for a return to it.
    void setDevice(QIODevice* device);
    /// Gives the devices the positions that reading has reached.
    void sync();

    // Bytes. -1 at the end of the input.
    int peek() { return m_window.at < m_window.end || more() ? quint8(*m_window.at) : -1; }
    int get() { return m_window.at < m_window.end || more() ? quint8(*m_window.at++) : -1; }
    /// Steps back over what `get` gave last; up to four bytes.
    void unget()
    {
        if (m_window.at > m_window.begin)
            --m_window.at;
    }
    /// The next byte behind blanks.
    int next();
    /// Takes the next byte behind blanks if it is this one.
    bool take(char c)
    {
        if (m_window.at == m_window.end || *m_window.at != c) {
            if (!skipBlanks() || *m_window.at != c)
                return false;
        }
        ++m_window.at;
        return true;
    }

    // Tokens and runs, as told by VZylStream.
    int skipComments();
    int skipBlock();
    /// Skips to behind the next such byte; false if there is none.
    bool skipThrough(char c);
    /// Appends to `text`, with comments taken out.
    int readBlock(QByteArray& text);
    int readExpression(QByteArray& text);
    /// The view holds until the cursor moves.
    int readIdentifier(View& word);
    bool readNumber(quint64& value);
    bool readNumber(double& value);
    /// See zyltext::readRun.
    template <class T>
    std::size_t readRun(T* values, std::size_t n, unsigned width)
    {
        return zyltext::readRun(m_window.at, m_window.end, values, n, width);
    }
    /// The bytes between the quotes, backslashes and all; `escaped` tells whether there are any.
    int readString(View& text, bool& escaped);
    View readLine(std::size_t most);

    // The current block, which stands for the one around it until it is closed.
    void openBlock();
    void closeBlock();
    /// Reads statements up to the closing brace, the opening one being behind the cursor. Returns
    /// their number, at least 1, or -1.
    int readStatements();
    bool isEmpty() const { return m_block.first == m_block.last; }
    quint32 count() const { return m_block.last - m_block.first; }
    int first() const { return int(m_block.first); }
    int last() const { return int(m_block.last) - 1; }
    /// The index of the last statement with this key, or -1.
    int find(const char* key);
    View key(int index) const;
    View value(int index) const;
    /// The value as an array that lives as long as the block.
    QMemArray<char>* array(int index);
    /// Tells of statements that nobody asked for.
    void reportUnused();

    /// Reads from the value until `leave`.
    void enter(int index);
    void enter(View text);
    void leave();

    VFormatDiagnostics* diagnostics() const;
    /// Tells the request's diagnostics, if there are any, about this place in the text.
    void report(VFormatDiagnostics::Kind kind, const QString& what, const char* place);
    const char* place() const { return m_window.at; }

private:
    friend class Mark;

    // A block nested in another one that has been looked through: where it begins and ends, counted
    // from the start of the outermost, and the index of the first one behind it. They stand in the
    // order of their beginnings. Blocks too short to matter have none.
    struct Brace {
        quint32 begin;
        quint32 end;
        quint32 next;
    };

    struct Entry {
        quint32 key; // offsets from the block's base
        quint32 keySize;
        quint32 tag;  // of the key, for a quick comparison
        quint32 text; // with `copied`, the index of a copy
        quint32 size;
        quint32 brace : 30; // of the value, or `noBrace`
        quint32 copied : 1;
        quint32 asked : 1;
    };

    struct Block {
        quint32 first = 0; // entries
        quint32 last = 0;
        const char* base = nullptr; // what the entries' offsets count from
        QByteArray keep;            // shares the memory under `base`, if it is a device's
        // What there was of these when the block was opened.
        std::size_t braces = 0;
        std::size_t copies = 0;
        std::size_t arrays = 0;
    };

    struct Window {
        const char* begin = nullptr;
        const char* at = nullptr;
        const char* end = nullptr;
        const char* mark = nullptr;
        const char* base = nullptr; // what the braces' offsets count from
        quint32 brace = 0;          // the next one not yet passed
        quint32 lastBrace = 0;
        bool isDevice = false;
    };

    struct Copy {
        QByteArray text;
        qint64 line;
    };

    // What is read from, other than the text of a value.
    struct Source {
        QPointer<QIODevice> device;
        QByteArray buffer;             // what the window runs over
        const char* content = nullptr; // of a QBuffer, to see that it was changed
        qint64 position = 0; // the device's, if nobody moved it: behind the window, or at `content`
        qint64 line = 1;     // where the window begins
        Window window;       // while another source is read from
        std::vector<Window> windows; // likewise
    };

    static constexpr quint32 noBrace = 0x3FFFFFFF;

    static quint32 tagOf(const char* key, std::size_t size);

    void attach(QIODevice* device);
    void storeWindow();
    static void giveBack(Source& source);
    bool more() { return m_window.isDevice && moreBytes(); }
    bool moreBytes();
    bool skipBlanks();
    template <class T, class Read>
    bool readToken(T& value, Read read);
    void addEntry(const Entry& entry, const Mark& mark, quint32& limit);
    void dropRepeated(const char* base);
    bool readValueBlock(Entry& entry, const Mark& mark);
    bool scanBlock(Entry& entry, const Mark& mark);
    bool jumpBlock(Entry& entry, const Mark& mark);
    bool openBrace(quint32& open, std::ptrdiff_t offset);
    bool closeBrace(quint32& open, std::ptrdiff_t offset);
    bool finishStatement();
    const char* textOf(const Entry& entry) const;
    qint64 lineOf(const char* place);

    VFormatIO* m_io;
    Source m_source;
    std::vector<Source> m_sources; // left by setDevice
    Window m_window;
    std::vector<Window> m_windows; // left for a value
    Block m_block;
    std::vector<Block> m_blocks; // around it
    std::vector<Entry> m_entries;
    std::vector<Brace> m_braces;
    std::deque<Copy> m_copies; // of values that had comments
    std::vector<std::pair<quint32, std::unique_ptr<QMemArray<char>>>> m_arrays;

    // How far lines have been counted: from where, up to where, and how many.
    const char* m_countedFrom = nullptr;
    const char* m_countedTo = nullptr;
    qint64 m_countedLines = 0;
};

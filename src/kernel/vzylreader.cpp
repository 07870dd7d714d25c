#include "kernel/vzylreader_p.h"

#include "kernel/vformatio.h"

#include <qbuffer.h>
#include <qstring.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace
{
constexpr std::ptrdiff_t blockSize = 65536;
constexpr std::ptrdiff_t largestWindow = 0x7FFFFFFF; // offsets have 32 bits
constexpr std::ptrdiff_t history = 4;                // bytes that `unget` can step back over
// Blocks below this size aren't worth a note of where they end: they are looked through again.
constexpr std::ptrdiff_t shortBlock = 32;

enum CharacterClass : quint8 { Letter = 1, Digit = 2, Structure = 4 };

constexpr std::array<quint8, 256> makeClasses()
{
    std::array<quint8, 256> classes{};
    for (unsigned c = 0; c < 26; ++c)
        classes['a' + c] = classes['A' + c] = Letter;
    classes['_'] = Letter;
    for (unsigned c = '0'; c <= '9'; ++c)
        classes[c] = Digit;
    classes['{'] = classes['}'] = classes['/'] = Structure;
    return classes;
}

constexpr auto classes = makeClasses();

inline bool isClass(char c, int mask)
{
    return classes[quint8(c)] & mask;
}

/// The first brace or slash.
inline const char* findStructure(const char* p, const char* end)
{
#ifdef __SSE2__
    const __m128i open = _mm_set1_epi8('{'), close = _mm_set1_epi8('}'), slash = _mm_set1_epi8('/');
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i found =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, open), _mm_cmpeq_epi8(bytes, close)),
                         _mm_cmpeq_epi8(bytes, slash));
        if (const int mask = _mm_movemask_epi8(found))
            return p + __builtin_ctz(unsigned(mask));
    }
#endif
    while (p < end && !isClass(*p, Structure))
        ++p;
    return p;
}
} // namespace

// Devices

void VZylReader::prepare()
{
    QIODevice* const device = m_io ? m_io->ioDevice() : nullptr;
    if (device != m_source.device) {
        setDevice(device);
    } else if (device && m_windows.empty()) {
        // Somebody may have read from the device, moved it or written to its memory.
        const auto* memory = m_source.content ? static_cast<QBuffer*>(device) : nullptr;
        if (device->pos() != m_source.position ||
            (memory && (memory->data().constData() != m_source.content ||
                        memory->data().size() != m_source.buffer.size())))
            attach(device);
    }
}

void VZylReader::setDevice(QIODevice* device)
{
    if (device && device == m_source.device)
        return;
    const auto left =
        std::find_if(m_sources.begin(), m_sources.end(),
                     [device](const Source& source) { return device && source.device == device; });
    storeWindow();
    if (left != m_sources.end()) {
        Source back = std::move(*left);
        giveBack(m_source);
        std::for_each(left + 1, m_sources.end(), giveBack);
        m_sources.erase(left, m_sources.end());
        m_source = std::move(back);
        m_window = m_source.window;
        m_windows = std::move(m_source.windows);
        return;
    }
    if (m_source.device)
        m_sources.push_back(std::move(m_source));
    attach(device);
}

/// Leaves the windows with their source.
void VZylReader::storeWindow()
{
    m_source.window = m_window;
    m_source.windows = std::move(m_windows);
    m_windows.clear();
}

void VZylReader::attach(QIODevice* device)
{
    m_source = Source();
    m_source.device = device;
    m_window = Window();
    m_window.isDevice = true;
    m_countedFrom = nullptr;
    if (!device)
        return;
    m_source.position = device->pos();
    if (auto* memory = qobject_cast<QBuffer*>(device); memory && memory->isReadable()) {
        m_source.buffer = memory->data();
        m_source.content = m_source.buffer.constData();
        m_window.begin = m_source.content;
        m_window.end = m_window.begin + std::min<qint64>(m_source.buffer.size(), largestWindow);
        m_window.at = m_window.begin +
                      std::clamp<qint64>(m_source.position, 0, m_window.end - m_window.begin);
    }
}

void VZylReader::giveBack(Source& source)
{
    const Window& window = source.windows.empty() ? source.window : source.windows.front();
    QIODevice* const device = source.device;
    if (!device || !window.isDevice || !device->isOpen())
        return;
    if (!device->isSequential() && device->pos() != source.position)
        return; // somebody has taken it elsewhere
    if (source.content) {
        source.position = window.at - window.begin;
        device->seek(source.position);
    } else if (!device->isSequential()) {
        const qint64 position = source.position - (window.end - window.at);
        if (position != source.position)
            device->seek(position);
        source.position = position;
    } else {
        for (const char* p = window.end; p > window.at;)
            device->ungetChar(*--p);
    }
}

void VZylReader::sync()
{
    std::for_each(m_sources.begin(), m_sources.end(), giveBack);
    m_sources.clear();
    storeWindow();
    giveBack(m_source);
    m_windows = std::move(m_source.windows);
    if (m_windows.empty() && !m_source.content)
        attach(m_source.device);
}

bool VZylReader::moreBytes()
{
    QIODevice* const device = m_source.device;
    if (m_source.content || !device || !device->isReadable())
        return false;
    const char* const keep = m_window.mark
                                 ? m_window.mark
                                 : m_window.at - std::min(m_window.at - m_window.begin, history);
    const std::ptrdiff_t kept = m_window.end - keep;
    std::ptrdiff_t wanted = std::max(blockSize, kept);
    if (const qint64 known = device->isSequential() ? 0 : device->bytesAvailable(); known > 0)
        // What is longer than a block is mostly all the rest, such as the one root of a tree.
        wanted = kept > blockSize ? std::min<qint64>(known, largestWindow - kept)
                                  : std::min<qint64>(wanted, known);
    if (kept > largestWindow - wanted)
        return false;
    if (diagnostics())
        m_source.line += std::count(m_window.begin, keep, '\n');

    const std::ptrdiff_t at = m_window.at - keep;
    // The table of a block may still look at the old memory.
    if (m_source.buffer.isDetached() && m_source.buffer.size() >= kept + wanted) {
        std::memmove(m_source.buffer.data(), keep, std::size_t(kept));
    } else {
        QByteArray next(std::max(2 * blockSize, kept + wanted), Qt::Uninitialized);
        if (kept > 0)
            std::memcpy(next.data(), keep, std::size_t(kept));
        m_source.buffer.swap(next);
    }
    char* const data = m_source.buffer.data();
    std::ptrdiff_t got = 0;
    do {
        const qint64 bytes = device->read(data + kept + got, wanted - got);
        if (bytes <= 0)
            break;
        got += bytes;
        // A long token is looked at anew with every piece; a device that trickles mustn't make that
        // quadratic.
    } while (kept > blockSize && got < kept / 2 && got < wanted);
    m_source.position = device->pos();
    m_window.begin = data;
    m_window.at = data + at;
    m_window.end = data + kept + got;
    if (m_window.mark)
        m_window.mark = data;
    m_countedFrom = nullptr;
    return got > 0;
}

// Bytes and tokens

bool VZylReader::skipBlanks()
{
    for (;;) {
        zyltext::skipBlanks(m_window.at, m_window.end);
        if (m_window.at < m_window.end)
            return true;
        if (!more())
            return false;
    }
}

bool VZylReader::skipThrough(char c)
{
    for (;;) {
        const std::size_t left = std::size_t(m_window.end - m_window.at);
        const void* found = left > 0 ? std::memchr(m_window.at, c, left) : nullptr;
        if (found) {
            m_window.at = static_cast<const char*>(found) + 1;
            return true;
        }
        m_window.at = m_window.end;
        if (!more())
            return false;
    }
}

int VZylReader::next()
{
    return skipBlanks() ? quint8(*m_window.at++) : -1;
}

int VZylReader::skipComments()
{
    if (!skipBlanks())
        return -1;
    if (*m_window.at != '/')
        return 0;
    get();
    const int c = get();
    if (c == '/')
        return skipThrough('\n') ? '\n' : -1;
    if (c == '*') {
        while (skipThrough('*')) {
            if (peek() == '/')
                return get();
        }
        return -1;
    }
    if (c >= 0)
        unget();
    unget();
    return 0;
}

int VZylReader::skipBlock()
{
    for (int depth = 0;;) {
        const int c = get();
        if (c < 0)
            return -1;
        if (c == '{')
            ++depth;
        else if (c == '}' && depth-- == 0)
            return c;
    }
}

int VZylReader::readIdentifier(View& word)
{
    word = View();
    int skipped;
    while ((skipped = skipComments()) > 0)
        continue;
    if (skipped < 0)
        return -1;
    if (!isClass(*m_window.at, Letter))
        return 0;
    const Mark mark(*this);
    do {
        while (m_window.at < m_window.end && isClass(*m_window.at, Letter | Digit))
            ++m_window.at;
    } while (m_window.at == m_window.end && more());
    word = mark.text();
    return 1;
}

template <class T, class Read>
bool VZylReader::readToken(T& value, Read read)
{
    if (!skipBlanks()) {
        value = 0;
        return false;
    }
    const char* p = m_window.at;
    bool found = read(p, m_window.end, value);
    if (p == m_window.end && m_window.isDevice) {
        // It may go on in what the device has still to give.
        const Mark mark(*this);
        while (p == m_window.end && more()) {
            p = mark.begin();
            found = read(p, m_window.end, value);
        }
    }
    m_window.at = p;
    return found;
}

bool VZylReader::readNumber(quint64& value)
{
    return readToken(value, zyltext::readInteger);
}

bool VZylReader::readNumber(double& value)
{
    return readToken(value, zyltext::readReal);
}

int VZylReader::readString(View& text, bool& escaped)
{
    escaped = false;
    if (!take('"'))
        return -1;
    const Mark mark(*this);
    for (;;) {
        const int c = get();
        if (c < 0)
            return -1;
        if (c == '"')
            break;
        if (c == '\\') {
            escaped = true;
            if (get() < 0)
                return -1;
        }
    }
    text = mark.text();
    --text.size;
    return 1;
}

VZylReader::View VZylReader::readLine(std::size_t most)
{
    if (peek() < 0) // so that there is something to mark
        return {};
    const Mark mark(*this);
    while (mark.text().size < most) {
        const int c = get();
        if (c < 0 || c == '\n')
            break;
    }
    return mark.text();
}

int VZylReader::readBlock(QByteArray& text)
{
    if (!skipThrough('{'))
        return -1;
    unget();
    const BlockScope scope(*this);
    const Mark mark(*this);
    Entry entry = {};
    const bool whole = readValueBlock(entry, mark);
    m_block.base = mark.begin();
    text.append(textOf(entry), qsizetype(entry.size));
    return whole ? '}' : -1;
}

int VZylReader::readExpression(QByteArray& text)
{
    const Mark mark(*this);
    const bool whole = skipThrough(';');
    if (whole)
        unget();
    const View view = mark.text();
    text.append(view.data, qsizetype(view.size));
    return whole ? ';' : -1;
}

// Blocks

void VZylReader::openBlock()
{
    m_blocks.push_back(std::move(m_block));
    m_block = Block();
    m_block.first = m_block.last = quint32(m_entries.size());
    m_block.braces = m_braces.size();
    m_block.copies = m_copies.size();
    m_block.arrays = m_arrays.size();
}

void VZylReader::closeBlock()
{
    m_entries.resize(m_block.first);
    m_braces.resize(m_block.braces);
    m_copies.resize(m_block.copies);
    m_arrays.resize(m_block.arrays);
    m_block = std::move(m_blocks.back());
    m_blocks.pop_back();
}

quint32 VZylReader::tagOf(const char* key, std::size_t size)
{
    if (size == 0)
        return 0;
    return quint32(quint8(key[0])) | quint32(quint8(key[size / 2])) << 8 |
           quint32(quint8(key[size - 1])) << 16 | quint32(quint8(size)) << 24;
}

int VZylReader::readStatements()
{
    m_entries.resize(m_block.first);
    m_arrays.resize(m_block.arrays);
    const Mark mark(*this);
    quint32 limit = 4096;
    bool closed = false;
    while (!closed) {
        while (skipComments() > 0)
            continue;
        if (take('}')) {
            closed = true;
            break;
        }
        View key;
        if (readIdentifier(key) < 1)
            break;
        Entry entry = {};
        entry.key = quint32(key.data - mark.begin());
        entry.keySize = quint32(key.size);
        entry.tag = tagOf(key.data, key.size);
        entry.brace = noBrace;
        while (skipComments() > 0)
            continue;
        const int c = peek();
        entry.text = quint32(m_window.at - mark.begin());
        if (c == '{') {
            readValueBlock(entry, mark);
        } else if (c != ';') {
            if (skipThrough(';'))
                unget();
            entry.size = quint32(m_window.at - mark.begin()) - entry.text;
        }
        addEntry(entry, mark, limit);
        closed = finishStatement();
    }
    m_block.base = mark.begin();
    if (m_window.isDevice)
        m_block.keep = m_source.buffer;
    return closed ? std::max(1, int(count())) : -1;
}

void VZylReader::addEntry(const Entry& entry, const Mark& mark, quint32& limit)
{
    m_entries.push_back(entry);
    m_block.last = quint32(m_entries.size());
    if (count() >= limit) {
        dropRepeated(mark.begin());
        limit = std::max(limit, 2 * count());
    }
}

/// Forgets statements that a later one with the same key hides. Only worth it in a block of many,
/// where it keeps the table in proportion to the text.
void VZylReader::dropRepeated(const char* base)
{
    const auto text = [base](const Entry& entry) {
        return std::string_view(base + entry.key, entry.keySize);
    };
    const auto first = m_entries.begin() + m_block.first;
    std::stable_sort(first, m_entries.end(), [&text](const Entry& a, const Entry& b) {
        return a.tag != b.tag ? a.tag < b.tag : text(a) < text(b);
    });
    auto kept = first;
    for (auto it = first; it != m_entries.end(); ++it)
        if (it + 1 == m_entries.end() || it->tag != it[1].tag || text(*it) != text(it[1]))
            *kept++ = *it;
    m_entries.erase(kept, m_entries.end());
    m_block.last = quint32(m_entries.size());
}

/// Reads on through the semicolon and returns whether the block ended instead. What stands before
/// the semicolon is lost: a block without one of its own takes the next statement with it.
bool VZylReader::finishStatement()
{
    if (m_window.at < m_window.end && *m_window.at == ';') {
        ++m_window.at;
        return false;
    }
    const char* lost = nullptr;
    for (int depth = 0;;) {
        while (skipComments() > 0)
            continue;
        const int c = get();
        if (c < 0)
            return false;
        if (c == '}' && depth-- == 0)
            return true;
        if (c == ';' && depth == 0)
            return false;
        if (c == '{')
            ++depth;
        if (!lost && diagnostics()) {
            lost = m_window.at - 1;
            const char* const end = std::min(m_window.end, lost + 40);
            report(VFormatDiagnostics::SkippedKey,
                   QString::fromLatin1(lost, std::find(lost, end, ';') - lost), lost);
        }
    }
}

bool VZylReader::readValueBlock(Entry& entry, const Mark& mark)
{
    return m_window.base ? jumpBlock(entry, mark) : scanBlock(entry, mark);
}

bool VZylReader::openBrace(quint32& open, std::ptrdiff_t offset)
{
    if (m_braces.size() >= noBrace)
        return false;
    m_braces.push_back(
        {quint32(offset), open, 0}); // `end` links to the outer one until it is known
    open = quint32(m_braces.size() - 1);
    return true;
}

/// Returns whether that was the outermost one.
bool VZylReader::closeBrace(quint32& open, std::ptrdiff_t offset)
{
    Brace& brace = m_braces[open];
    const quint32 outer = brace.end;
    const bool isLast = open + 1 == m_braces.size();
    if (outer != noBrace && isLast && offset - std::ptrdiff_t(brace.begin) < shortBlock) {
        m_braces.pop_back();
    } else {
        brace.end = quint32(offset);
        brace.next = quint32(m_braces.size());
    }
    open = outer;
    return outer == noBrace;
}

/// Finds the end of the block that starts here, notes the blocks inside, and takes comments out.
bool VZylReader::scanBlock(Entry& entry, const Mark& mark)
{
    const std::ptrdiff_t start = m_window.at - mark.begin();
    std::ptrdiff_t uncopied = start;
    QByteArray copy;
    const auto offset = [&](const char* p) { return copy.size() + (p - mark.begin()) - uncopied; };
    quint32 open = noBrace;
    bool whole = false;
    entry.brace = quint32(m_braces.size());
    while (!whole) {
        const char* p = findStructure(m_window.at, m_window.end);
        while (p < m_window.end && *p == '{' && open != noBrace) {
            // Tuples of numbers, of which there are many, are passed without a note.
            const char* const close = findStructure(p + 1, m_window.end);
            if (close == m_window.end || *close != '}' || close - p >= shortBlock - 1)
                break;
            p = findStructure(close + 1, m_window.end);
        }
        m_window.at = p;
        if (p == m_window.end) {
            if (more())
                continue;
            break;
        }
        ++m_window.at;
        if (*p == '{') {
            if (!openBrace(open, offset(p)))
                break;
        } else if (*p == '}') {
            whole = closeBrace(open, offset(p) + 1);
        } else {
            const std::ptrdiff_t comment = p - mark.begin();
            const int c = peek();
            if (c != '/' && c != '*')
                continue;
            copy.append(mark.begin() + uncopied, comment - uncopied);
            unget();
            if (skipComments() == '\n')
                unget(); // ends the line here too
            uncopied = m_window.at - mark.begin();
            // Lines inside go on counting.
            const auto lines = std::count(mark.begin() + comment, m_window.at, '\n');
            copy.append(lines, '\n');
        }
    }
    const std::ptrdiff_t size = offset(m_window.at);
    while (open != noBrace)
        closeBrace(open, size);
    entry.size = quint32(size);
    entry.text = quint32(start);
    entry.copied = uncopied != start;
    if (entry.copied) {
        copy.append(mark.begin() + uncopied, m_window.at - mark.begin() - uncopied);
        entry.text = quint32(m_copies.size());
        m_copies.push_back({copy, diagnostics() ? lineOf(mark.begin() + start) : 0});
    }
    return whole;
}

/// As `scanBlock`, inside of a block that has been looked through before.
bool VZylReader::jumpBlock(Entry& entry, const Mark& mark)
{
    const char* const start = m_window.at;
    entry.text = quint32(start - mark.begin());
    entry.brace = noBrace;
    const quint32 offset = quint32(start - m_window.base);
    while (m_window.brace < m_window.lastBrace && m_braces[m_window.brace].begin < offset)
        ++m_window.brace;
    bool whole = true;
    if (m_window.brace < m_window.lastBrace && m_braces[m_window.brace].begin == offset) {
        const Brace& brace = m_braces[m_window.brace];
        m_window.at += std::min<std::ptrdiff_t>(brace.end - brace.begin, m_window.end - start);
        entry.brace = m_window.brace;
        m_window.brace = brace.next;
        whole = m_window.at[-1] == '}';
    } else {
        ++m_window.at;
        whole = skipBlock() >= 0;
    }
    entry.size = quint32(m_window.at - start);
    return whole;
}

int VZylReader::find(const char* key)
{
    if (!key)
        return -1;
    const std::size_t size = std::strlen(key);
    const quint32 tag = tagOf(key, size);
    for (quint32 i = m_block.last; i-- > m_block.first;) {
        Entry& entry = m_entries[i];
        if (entry.tag == tag && entry.keySize == size &&
            std::memcmp(m_block.base + entry.key, key, size) == 0) {
            entry.asked = true;
            return int(i);
        }
    }
    return -1;
}

VZylReader::View VZylReader::key(int index) const
{
    const Entry& entry = m_entries[std::size_t(index)];
    return {m_block.base + entry.key, entry.keySize};
}

const char* VZylReader::textOf(const Entry& entry) const
{
    return entry.copied ? m_copies[entry.text].text.constData() : m_block.base + entry.text;
}

VZylReader::View VZylReader::value(int index) const
{
    const Entry& entry = m_entries[std::size_t(index)];
    return {textOf(entry), entry.size};
}

QMemArray<char>* VZylReader::array(int index)
{
    for (auto it = m_arrays.rbegin(); it != m_arrays.rend(); ++it)
        if (it->first == quint32(index))
            return it->second.get();
    const View text = value(index);
    auto array = std::make_unique<QMemArray<char>>();
    array->duplicate(text.data, unsigned(text.size));
    m_arrays.emplace_back(quint32(index), std::move(array));
    return m_arrays.back().second.get();
}

void VZylReader::enter(int index)
{
    const Entry& entry = m_entries[std::size_t(index)];
    const char* const text = textOf(entry);
    enter(View{text, entry.size});
    if (entry.brace != noBrace) {
        const Brace& brace = m_braces[entry.brace];
        m_window.base = text - brace.begin;
        m_window.brace = entry.brace + 1;
        m_window.lastBrace = brace.next;
    }
}

void VZylReader::enter(View text)
{
    m_windows.push_back(m_window);
    m_window = Window();
    m_window.begin = m_window.at = text.data;
    m_window.end = text.data + text.size;
}

void VZylReader::leave()
{
    m_window = m_windows.back();
    m_windows.pop_back();
}

// Diagnostics

VFormatDiagnostics* VZylReader::diagnostics() const
{
    return m_io ? m_io->diagnostics() : nullptr;
}

void VZylReader::report(VFormatDiagnostics::Kind kind, const QString& what, const char* place)
{
    if (VFormatDiagnostics* sink = diagnostics()) {
        VFormatDiagnostics::Place where;
        where.line = lineOf(place);
        sink->report(kind, what, where);
    }
}

void VZylReader::reportUnused()
{
    if (!diagnostics())
        return;
    for (quint32 i = m_block.first; i < m_block.last; ++i)
        if (!m_entries[i].asked) {
            const View word = key(int(i));
            report(VFormatDiagnostics::SkippedKey,
                   QString::fromLatin1(word.data, qsizetype(word.size)), word.data);
        }
}

/// 0 when the place is in memory that nobody knows the beginning of.
qint64 VZylReader::lineOf(const char* place)
{
    const Window& window = m_windows.empty() ? m_window : m_windows.front();
    const char* from = nullptr;
    qint64 line = 0;
    if (place >= window.begin && place <= window.end) {
        from = window.begin;
        line = m_source.line;
    }
    for (auto it = m_copies.rbegin(); !from && it != m_copies.rend(); ++it)
        if (place >= it->text.constData() && place <= it->text.constData() + it->text.size()) {
            from = it->text.constData();
            line = it->line;
        }
    if (!from)
        return 0;
    // Most reports come in the order of the text.
    if (from != m_countedFrom || place < m_countedTo) {
        m_countedFrom = m_countedTo = from;
        m_countedLines = 0;
    }
    m_countedLines += std::count(m_countedTo, place, '\n');
    m_countedTo = place;
    return line + m_countedLines;
}

#include "kernel/vzylstream.h"

#include "kernel/vformatio.h"
#include "kernel/vzylreader_p.h"
#include "kernel/vzylwriter_p.h"

#include <qdatastream.h>
#include <qtextstream.h>

#include <algorithm>

namespace
{
bool isUtf8(const char* text, std::size_t size)
{
    const auto* p = reinterpret_cast<const uchar*>(text);
    const auto* const end = p + size;
    while (p < end) {
        if (*p < 0x80) {
            ++p;
            continue;
        }
        const int more = *p >= 0xC2 && *p < 0xE0   ? 1
                         : (*p & 0xF0) == 0xE0     ? 2
                         : *p >= 0xF0 && *p < 0xF5 ? 3
                                                   : 0;
        if (more == 0 || end - p <= more)
            return false;
        // Neither overlong forms nor surrogates nor what is beyond U+10FFFF.
        if ((*p == 0xE0 && p[1] < 0xA0) || (*p == 0xED && p[1] > 0x9F) ||
            (*p == 0xF0 && p[1] < 0x90) || (*p == 0xF4 && p[1] > 0x8F))
            return false;
        for (int i = 1; i <= more; ++i)
            if ((p[i] & 0xC0) != 0x80)
                return false;
        p += more + 1;
    }
    return true;
}

/// What a character stands for behind a backslash.
ushort unescaped(ushort c)
{
    switch (c) {
    case 'a':
        return 7;
    case 'f':
        return 12;
    case 'n':
        return 10;
    case 'r':
        return 13;
    case 't':
        return 9;
    case 'v':
        return 11;
    default:
        return c > 255 ? 0 : c;
    }
}

QString unescape(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar c = text[i];
        if (c == QLatin1Char('\\') && i + 1 < text.size()) {
            c = text[++i];
            if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
                ++i;
            c = QChar(unescaped(c.unicode()));
        }
        result += c;
    }
    return result;
}
} // namespace

VZylStream::VZylStream(VFormatIO* io)
    : m_io(io), m_prefixes(true), m_reader(std::make_unique<VZylReader>(io)),
      m_writer(std::make_unique<VZylWriter>(io))
{
    m_prefixes.append("V");
    if (m_io) {
        m_io->setContainer("prefix", &m_prefixes);
        m_io->setContainer("zylio", this);
    }
}

VZylStream::~VZylStream()
{
    m_writer->flush();
    m_reader->sync();
    if (m_io) {
        m_io->setContainer("prefix", nullptr);
        m_io->setContainer("zylio", nullptr);
    }
}

VZylStream* VZylStream::get(const VFormatIO& io)
{
    return static_cast<VZylStream*>(io.container("zylio"));
}

QTextStream* VZylStream::textStream() const
{
    m_writer->flush();
    return m_writer->textStream();
}

void VZylStream::setTextStream(QTextStream* stream)
{
    m_writer->flush();
    if (m_writer->textStream())
        m_writer->textStream()->flush();
    m_writer->setTextStream(stream);
}

void VZylStream::setDevice(QIODevice* device)
{
    m_writer->flush();
    if (m_io)
        m_io->setIODevice(device);
    if (m_dataStream)
        m_dataStream->setDevice(device);
    if (QTextStream* text = m_writer->textStream()) {
        text->flush();
        text->setDevice(device);
    }
    m_reader->setDevice(device);
}

void VZylStream::sync()
{
    m_reader->sync();
}

bool VZylStream::hasFailed() const
{
    return m_writer->hasFailed();
}

// Raw reading

int VZylStream::getch()
{
    m_reader->prepare();
    return m_reader->get();
}

void VZylStream::ungetch()
{
    m_reader->unget();
}

int VZylStream::nextChar()
{
    m_reader->prepare();
    return m_reader->next();
}

QByteArray VZylStream::readLine(int most)
{
    m_reader->prepare();
    const VZylReader::View line = m_reader->readLine(std::size_t(std::max(most, 0)));
    return QByteArray(line.data, qsizetype(line.size));
}

int VZylStream::skip_comments()
{
    m_reader->prepare();
    return m_reader->skipComments();
}

int VZylStream::skip_block()
{
    m_reader->prepare();
    return m_reader->skipBlock();
}

int VZylStream::read_block(QMemArray<char>& text)
{
    m_reader->prepare();
    QByteArray block;
    const int result = m_reader->readBlock(block);
    text.duplicate(block.constData(), unsigned(block.size()));
    return result;
}

int VZylStream::read_expression(QMemArray<char>& text)
{
    m_reader->prepare();
    QByteArray expression;
    const int result = m_reader->readExpression(expression);
    text.duplicate(expression.constData(), unsigned(expression.size()));
    return result;
}

int VZylStream::read_identifier(QCString& word)
{
    m_reader->prepare();
    VZylReader::View view;
    const int result = m_reader->readIdentifier(view);
    word = QCString(view.data ? view.data : "", unsigned(view.size) + 1);
    return result;
}

// Strings

int VZylStream::read(QString& text)
{
    m_reader->prepare();
    VZylReader::View view;
    bool escaped;
    if (m_reader->readString(view, escaped) < 0)
        return -1;
    const auto size = qsizetype(view.size);
    text = isUtf8(view.data, view.size) ? QString::fromUtf8(view.data, size)
                                        : QString::fromLatin1(view.data, size);
    if (escaped)
        text = unescape(text);
    return 1;
}

int VZylStream::read(QCString& text)
{
    m_reader->prepare();
    VZylReader::View view;
    bool escaped;
    if (m_reader->readString(view, escaped) < 0)
        return -1;
    QCString result(view.data, unsigned(view.size) + 1);
    if (escaped) {
        char* to = result.data();
        for (const char* from = to; *from; ++from) {
            if (*from == '\\' && from[1])
                *to++ = char(unescaped(quint8(*++from)));
            else
                *to++ = *from;
        }
        result.truncate(unsigned(to - result.data()));
    }
    text = result;
    return 1;
}

int VZylStream::read(QStringList& list)
{
    list.clear();
    m_reader->prepare();
    if (!m_reader->take('{'))
        return 0;
    QString text;
    while (read(text) > 0) {
        text = text.simplified();
        if (!text.isEmpty())
            list.append(text);
        if (!m_reader->take(','))
            break;
    }
    return m_reader->take('}') ? int(list.size()) : -1;
}

int VZylStream::read(QStrList& list)
{
    list.clear();
    m_reader->prepare();
    if (!m_reader->take('{'))
        return -1;
    QCString text;
    while (read(text) > 0) {
        list.append(text.data());
        if (!m_reader->take(','))
            break;
    }
    return m_reader->take('}') ? int(list.count()) : -1;
}

// Blocks

VZylBlock::VZylBlock(VZylStream& stream) : m_stream(stream), m_outer(stream.m_dictionary)
{
    stream.m_reader->openBlock();
    stream.m_dictionary = nullptr;
}

VZylBlock::~VZylBlock()
{
    m_stream.m_reader->reportUnused();
    m_stream.m_reader->closeBlock();
    m_stream.m_dictionary = m_outer;
}

int VZylBlock::read()
{
    m_stream.m_reader->prepare();
    return m_stream.m_reader->readStatements();
}

bool VZylBlock::isEmpty() const
{
    return m_stream.m_reader->isEmpty();
}

int VZylStream::read(QDict<QMemArray<char>>& dictionary)
{
    dictionary.clear();
    m_reader->prepare();
    const VZylReader::BlockScope scope(*m_reader);
    const int result = m_reader->readStatements();
    // The last of equal keys counts; backwards, no value is made in vain.
    for (int index = m_reader->last(); index >= m_reader->first(); --index) {
        const VZylReader::View word = m_reader->key(index);
        const QString key = QString::fromLatin1(word.data, qsizetype(word.size));
        if (dictionary.find(key))
            continue;
        if (dictionary.count() > 64 * dictionary.size())
            dictionary.resize(64 * dictionary.size());
        const VZylReader::View text = m_reader->value(index);
        auto value = std::make_unique<QMemArray<char>>();
        value->duplicate(text.data, unsigned(text.size));
        dictionary.insert(key, value.release());
    }
    return result;
}

QMemArray<char>* VZylStream::find(const char* key)
{
    if (m_dictionary)
        return key ? m_dictionary->find(QString::fromLatin1(key)) : nullptr;
    const int index = m_reader->find(key);
    return index >= 0 ? m_reader->array(index) : nullptr;
}

bool VZylStream::contains(const char* key)
{
    return m_dictionary ? find(key) != nullptr : m_reader->find(key) >= 0;
}

bool VZylStream::enter(const char* key)
{
    if (m_dictionary) {
        const QMemArray<char>* const text = find(key);
        if (text)
            m_reader->enter(VZylReader::View{text->data(), text->size()});
        return text;
    }
    const int index = m_reader->find(key);
    if (index >= 0)
        m_reader->enter(index);
    return index >= 0;
}

void VZylStream::leave()
{
    m_reader->leave();
}

void VZylStream::report(VFormatDiagnostics::Kind kind, const QString& what)
{
    m_reader->report(kind, what, m_reader->place());
}

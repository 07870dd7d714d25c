#include "security/asnvalue.h"

#include "math/bigdecimal.h"
#include "security/asnoid.h"
#include "security/derlength_p.h"
#include "tools/vdatetime.h"
#include "tools/vexception.h"

#include <qbitarray.h>
#include <qdatastream.h>
#include <qiodevice.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace asn
{
namespace
{
constexpr unsigned mostBytes = std::numeric_limits<unsigned>::max();
constexpr unsigned streamStep = 1u << 30; // a data stream counts in int

[[noreturn]] void fail(const char* message, unsigned number)
{
    throw VException(QLatin1String(message) + QString::number(number));
}

void writeBytes(QDataStream& stream, const char* bytes, unsigned length)
{
    for (unsigned part; length > 0; bytes += part, length -= part) {
        part = std::min(length, streamStep);
        stream.writeRawData(bytes, int(part));
    }
}

/// Reads bytes, with nothing allocated beyond what the device has: one that can't tell is read in
/// growing steps.
bool readBytes(QDataStream& stream, math::MSBArray& content, unsigned length)
{
    const QIODevice* device = stream.device();
    if (!device)
        return false;
    const bool isBounded = !device->isSequential();
    if (isBounded && device->bytesAvailable() < qint64(length))
        return false;
    unsigned step = isBounded ? streamStep : 64 * 1024;
    for (unsigned done = 0; done < length;) {
        const unsigned part = std::min(length - done, step);
        if (!content.resize(done + part) ||
            stream.readRawData(content.data() + done, int(part)) != int(part))
            return false;
        done += part;
        step = std::min(step * 2, streamStep);
    }
    return true;
}

void skipAll(QDataStream& stream)
{
    while (stream.device() && stream.skipRawData(int(streamStep)) > 0)
        ;
    stream.setStatus(QDataStream::ReadPastEnd);
}

/// What tells the two time types apart.
struct TimeForm {
    int yearDigits;
    const char* lengthError;
    const char* offsetError;
};
constexpr TimeForm utcTime{2, "DER getUTCTime length error", "Parse UTC time, invalid offset"};
constexpr TimeForm generalizedTime{4, "DER getGeneralizedTime length error",
                                   "Parse Generalized time, invalid offset"};

VDateTime parseTime(const QCString& text, const TimeForm& form)
{
    if (text.length() < 11 || text.length() > 17)
        throw VException(form.lengthError);
    unsigned place = 0;
    const auto number = [&](unsigned digits) {
        place += digits;
        return text.mid(place - digits, digits).toInt();
    };
    int year = number(unsigned(form.yearDigits));
    if (form.yearDigits == 2)
        year += year <= 50 ? 2000 : 1900;
    const int month = number(2);
    const int day = number(2);
    const int hour = number(2);
    const int minute = number(2);
    int left = int(text.length()) - form.yearDigits - 8;
    int second = 0;
    if (left == 3 || left == 7) {
        second = number(2);
        left -= 2;
    }
    if (left != 1 && left != 5)
        throw VException(form.offsetError);
    const VDateTime time(VDate(year, month, day), VTime(hour, minute, second, 0));
    if (left == 1)
        return time;
    const char sign = text[int(place++)];
    const int hours = number(2);
    const int offset = hours * 3600 + number(2) * 60;
    return sign == '+' ? time.addSecs(offset) : sign == '-' ? time.addSecs(-offset) : time;
}
} // namespace

void DerValue::init(bool strict, const char* bytes, unsigned length)
{
    if (!bytes || length == 0) {
        *this = DerValue();
        return;
    }
    const uchar* const begin = reinterpret_cast<const uchar*>(bytes);
    const uchar* const end = begin + length;
    const uchar* in = begin + 1;
    quint32 declared = 0;
    bool isWhole = true;
    if (in < end) {
        if (*in == 0x80)
            throw VException("Indefinite length encoding not supported");
        if (*in > 0x84)
            throw VException(
                QString::asprintf("DerValue::init(): lengthTag=%d, too big.", *in & 0x7f));
        isWhole = derlength::read(in, end, declared);
        if (!isWhole)
            in = end;
    }
    const auto left = unsigned(end - in);
    if (strict && (!isWhole || (declared != 0 && declared != left)))
        throw VException("extra data given to DerValue constructor");
    tag = *begin;
    data = math::MSBArray(reinterpret_cast<const char*>(in), std::min(declared, left));
    shareList();
}

/// Lets the values of a list, which may soon be asked for, share octets that are just made.
void DerValue::shareList()
{
    constexpr quint8 constructed = 0x20;
    if (tag & constructed)
        data.makeShareable();
}

unsigned DerValue::encodedSize() const
{
    return 1 + derlength::size(data.size()) + data.size();
}

uchar* DerValue::write(uchar* out) const
{
    *out++ = tag;
    out = derlength::write(out, data.size());
    if (!data.isEmpty())
        std::memcpy(out, data.octets(), data.size());
    return out + data.size();
}

void DerValue::encode(QDataStream& stream) const
{
    stream << tag;
    encode(stream, data);
}

void DerValue::decode(QDataStream& stream)
{
    tag = 0;
    stream >> tag;
    decode(stream, data);
    shareList();
}

void DerValue::encode(QDataStream& stream, const math::MSBArray& content)
{
    uchar header[derlength::maxSize];
    const auto size = int(derlength::write(header, content.size()) - header);
    stream.writeRawData(reinterpret_cast<const char*>(header), size);
    writeBytes(stream, reinterpret_cast<const char*>(content.octets()), content.size());
}

void DerValue::decode(QDataStream& stream, math::MSBArray& content)
{
    content = math::MSBArray();
    uchar header[derlength::maxSize] = {};
    char* const first = reinterpret_cast<char*>(header);
    unsigned count = unsigned(std::max(stream.readRawData(first, 1), 0));
    if (count && header[0] > 0x80 && header[0] <= 0x84)
        count += unsigned(std::max(stream.readRawData(first + 1, header[0] & 0x7f), 0));
    const uchar* in = header;
    quint32 length = 0;
    if (derlength::read(in, header + count, length) && readBytes(stream, content, length))
        return;
    content = math::MSBArray();
    skipAll(stream);
}

QMemArray<char> DerValue::toByteArray() const
{
    QMemArray<char> bytes;
    if (data.size() < mostBytes - derlength::maxSize && bytes.resize(encodedSize()))
        write(reinterpret_cast<uchar*>(bytes.data()));
    return bytes;
}

void DerValue::require(Tag expected, const char* message) const
{
    if (tag != expected)
        fail(message, tag);
}

QCString DerValue::text() const
{
    const char* octets = data.data();
    return octets ? QCString(octets, data.size() + 1) : QCString("");
}

QCString DerValue::checkedText(Tag expected, const char* message) const
{
    require(expected, message);
    return text();
}

bool DerValue::getBoolean() const
{
    require(Boolean, "DerValue.getBoolean, not a Boolean ");
    if (data.size() != 1)
        fail("DerValue.getBoolean, invalid length ", data.size());
    return data.octets()[0] != 0;
}

math::BigInteger DerValue::getInteger(bool implicit) const
{
    if (!implicit)
        require(Integer, "DerValue.getInteger, not an Integer ");
    return data.toInteger();
}

QBitArray DerValue::getBitString(bool implicit) const
{
    if (!implicit)
        require(BitString, "DerValue.getBitString, not a bit string ");
    if (data.size() < 2)
        return QBitArray();
    return QBitArray::fromBits(data.data() + 1, qsizetype(data.size() - 1) * 8);
}

QMemArray<char> DerValue::getOctetString() const
{
    require(OctetString, "DerValue.getOctetString, not an Octet String: ");
    return QMemArray<char>().duplicate(data.data(), data.size());
}

ObjectIdentifier DerValue::getOID() const
{
    require(Oid, "DerValue.getOID, not an OID ");
    return ObjectIdentifier(data);
}

math::BigDecimal DerValue::getReal() const
{
    require(Real, "DerValue.getReal, incorrect tag: ");
    math::BigDecimal value;
    data.getReal(value);
    return value;
}

math::BigInteger DerValue::getEnumerated() const
{
    require(Enumerated, "DerValue.getEnumerated, incorrect tag: ");
    return data.toInteger();
}

QCString DerValue::getPrintableString() const
{
    return checkedText(PrintableString, "DerValue.getPrintableString, not a string ");
}

QCString DerValue::getT61String() const
{
    return checkedText(T61String, "DerValue.getT61String, not T61 ");
}

QCString DerValue::getIA5String() const
{
    return checkedText(IA5String, "DerValue.getIA5String, not IA5 ");
}

QCString DerValue::getGeneralString() const
{
    return checkedText(GeneralString, "DerValue.getGeneralString, not GeneralString ");
}

QString DerValue::getBMPString() const
{
    require(BMPString, "DerValue.getBMPString, not BMP ");
    return bmpText();
}

QString DerValue::bmpText() const
{
    const uchar* octets = data.octets();
    QString result(qsizetype(data.size() / 2), Qt::Uninitialized);
    for (QChar& character : result) {
        character = QChar(ushort(octets[0] << 8 | octets[1]));
        octets += 2;
    }
    return result;
}

QString DerValue::getUTF8String() const
{
    require(UTF8String, "DerValue.getUTF8String, not UTF-8 ");
    return utf8Text();
}

QString DerValue::utf8Text() const
{
    return QString::fromUtf8(text().data());
}

QString DerValue::getAsString() const
{
    switch (tag) {
    case UTF8String:
        return utf8Text();
    case BMPString:
        return bmpText();
    case PrintableString:
    case T61String:
    case IA5String:
    case GeneralString:
        return QString::fromLatin1(text().data());
    default:
        return QString::fromLatin1("");
    }
}

VDateTime DerValue::getUTCTime() const
{
    return parseTime(checkedText(UTCTime, "DerValue.getUTCTime, not an UTC Time "), utcTime);
}

VDateTime DerValue::getGeneralizedTime() const
{
    // That the tag is UTCTime's is relied on: dates of the other tag are refused throughout.
    return parseTime(checkedText(UTCTime, "DerValue.getGeneralizedTime, not an Generalized Time "),
                     generalizedTime);
}

QValueList<DerValue> DerValue::getList() const
{
    QValueList<DerValue> list;
    math::MSBArray content = data;
    content.makeShareable();
    const uchar* const begin = content.octets();
    const uchar* const end = begin + content.size();
    for (const uchar* in = begin; in < end;) {
        const quint8 itemTag = *in++;
        quint32 length = 0;
        if (!derlength::read(in, end, length) || length > quint64(end - in))
            break;
        list.append(DerValue(itemTag, content.part(unsigned(in - begin), length)));
        in += length;
    }
    return list;
}

QValueList<DerValue> DerValue::getSequence() const
{
    require(Sequence, "DerValue.getSequence, incorrect tag: ");
    return getList();
}

QValueList<DerValue> DerValue::getSet(bool implicit) const
{
    if (!implicit)
        require(Set, "DerValue.getSet, incorrect tag: ");
    return getList();
}

/// Sets content of its own, so that values that share the old one keep it. The bytes may be the old
/// content's.
void DerValue::setContent(Tag newTag, const char* bytes, unsigned length)
{
    data = math::MSBArray(bytes, length);
    tag = newTag;
}

void DerValue::setNumber(Tag newTag, const math::BigInteger& value)
{
    if (value.isZero())
        setContent(newTag, "", 1);
    else
        *this = DerValue(newTag, math::MSBArray(value));
}

void DerValue::setBoolean(bool value)
{
    setContent(Boolean, value ? "\xff" : "", 1);
}

void DerValue::setInteger(const math::BigInteger& value)
{
    setNumber(Integer, value);
}

void DerValue::setBitString(const QBitArray& bits)
{
    const auto length = unsigned(bits.size() + 7) / 8;
    math::MSBArray content;
    if (content.resize(1 + length)) {
        content.data()[0] = 0;
        std::copy_n(bits.bits(), length, content.data() + 1);
    }
    *this = DerValue(BitString, content);
}

void DerValue::setOctetString(const QMemArray<char>& bytes)
{
    setContent(OctetString, bytes.data(), bytes.size());
}

void DerValue::setNull()
{
    setContent(Null, nullptr, 0);
}

void DerValue::setOID(const ObjectIdentifier& oid)
{
    setContent(Oid, oid.data(), oid.size());
}

void DerValue::setReal(const math::BigDecimal& value)
{
    math::MSBArray content;
    content.setReal(value);
    *this = DerValue(Real, content);
}

void DerValue::setEnumerated(const math::BigInteger& value)
{
    setNumber(Enumerated, value);
}

void DerValue::setPrintableString(const QCString& text)
{
    setContent(PrintableString, text.data(), text.length());
}

void DerValue::setT61String(const QCString& text)
{
    setContent(T61String, text.data(), text.length());
}

void DerValue::setIA5String(const QCString& text)
{
    setContent(IA5String, text.data(), text.length());
}

void DerValue::setGeneralString(const QCString& text)
{
    setContent(GeneralString, text.data(), text.length());
}

void DerValue::setBMPString(const QString& text)
{
    QByteArray octets(text.size() * 2, Qt::Uninitialized);
    char* out = octets.data();
    for (const QChar character : text) {
        *out++ = char(character.row());
        *out++ = char(character.cell());
    }
    setContent(BMPString, octets.constData(), unsigned(octets.size()));
}

void DerValue::setUTF8String(const QString& text)
{
    const QByteArray octets = text.toUtf8();
    setContent(UTF8String, octets.constData(), unsigned(octets.size()));
}

void DerValue::setUTCTime(const VDateTime& time)
{
    const QByteArray octets = time.toString(QStringLiteral("yyMMddhhmmss")).toLatin1() + 'Z';
    setContent(UTCTime, octets.constData(), unsigned(octets.size()));
}

void DerValue::setGeneralizedTime(const VDateTime& time)
{
    const QByteArray octets = time.toString(QStringLiteral("yyyyMMddhhmmss")).toLatin1() + 'Z';
    setContent(GeneralizedTime, octets.constData(), unsigned(octets.size()));
}

void DerValue::setList(const QValueList<DerValue>& list)
{
    quint64 length = 0;
    for (const DerValue& value : list)
        length += value.encodedSize();
    math::MSBArray content;
    if (length <= mostBytes && content.resize(unsigned(length))) {
        auto* out = reinterpret_cast<uchar*>(content.data());
        for (const DerValue& value : list)
            out = value.write(out);
        content.makeShareable();
    }
    data = content;
}

void DerValue::setSequence(const QValueList<DerValue>& list)
{
    tag = Sequence;
    setList(list);
}

void DerValue::setSet(const QValueList<DerValue>& list)
{
    tag = Set;
    setList(list);
}

QString DerValue::toString() const
{
    const QString string = getAsString();
    if (!string.isEmpty())
        return QLatin1Char('"') + string + QLatin1Char('"');
    if (tag == Null)
        return QStringLiteral("[DerValue, null]");
    if (tag == Oid)
        return QLatin1String("OID.") + QLatin1String(ObjectIdentifier(data).toString().data());
    // Readers of logs know the text without its closing bracket.
    return QString::asprintf("[DerValue, tag = %d, length = %d", tag, int(data.size()));
}
} // namespace asn

#pragma once

#include "math/msbarray.h"
#include "toolkit/qcstring.h"
#include "toolkit/qvaluelist.h"

class VDateTime;

QT_BEGIN_NAMESPACE
class QBitArray;
QT_END_NAMESPACE

namespace asn
{
class ObjectIdentifier;

/// One DER value: its identifier octet and its content octets. Tags of more than one octet aren't
/// supported.
///
/// Copies share `data`, as arrays do, but a setter gives its value octets of its own. Values got
/// from a list view the octets of the list until they are written to. A getter throws VException
/// with its own text and the tag number when the tag is another one; the stream functions never
/// throw.
class ZYL_EXPORT DerValue
{
public:
    enum Tag : quint8 {
        Boolean = 1,
        Integer = 2,
        BitString = 3,
        OctetString = 4,
        Null = 5,
        Oid = 6,
        Real = 9,
        Enumerated = 10,
        UTF8String = 12,
        PrintableString = 19,
        T61String = 20,
        IA5String = 22,
        UTCTime = 23,
        GeneralizedTime = 24,
        GeneralString = 27,
        BMPString = 30,
        Sequence = 48,
        Set = 49
    };

    quint8 tag = 0;
    math::MSBArray data;

    DerValue() = default;
    DerValue(quint8 valueTag, const math::MSBArray& content) : tag(valueTag), data(content) {}
    explicit DerValue(const QCString& text) { setPrintableString(text); }
    explicit DerValue(const QString& text) { setUTF8String(text); }
    /// Reads the first value of the bytes, and no more than there is.
    explicit DerValue(const QMemArray<char>& bytes) { init(false, bytes.data(), bytes.size()); }
    /// Reads a value that takes up all the bytes, and throws otherwise.
    DerValue(const char* bytes, unsigned length) { init(true, bytes, length); }

    /// Reads one value. Throws on an indefinite length, one of more than four octets, and, if
    /// `strict`, when the content isn't exactly what remains; without `strict` the content ends
    /// with the bytes. A length of 0 passes whatever follows.
    void init(bool strict, const char* bytes, unsigned length);

    void encode(QDataStream& stream) const;
    /// A length of more than four octets counts as 0. Where the stream ends before the content
    /// does, the content is empty and the stream at its end.
    void decode(QDataStream& stream);
    /// The same of length and content alone.
    static void encode(QDataStream& stream, const math::MSBArray& content);
    static void decode(QDataStream& stream, math::MSBArray& content);
    QMemArray<char> toByteArray() const;

    // With `implicit` the tag isn't looked at.
    bool getBoolean() const;
    math::BigInteger getInteger(bool implicit = false) const;
    /// Eight bits an octet, the lowest bit of an octet first; the count of unused bits is ignored.
    /// Bit 0 of DER is the highest bit of the first octet, and so bit 7 here.
    QBitArray getBitString(bool implicit = false) const;
    QMemArray<char> getOctetString() const;
    ObjectIdentifier getOID() const;
    math::BigDecimal getReal() const;
    math::BigInteger getEnumerated() const;
    QCString getPrintableString() const;
    QCString getT61String() const;
    QCString getIA5String() const;
    QCString getGeneralString() const;
    QString getBMPString() const;
    QString getUTF8String() const;
    /// The text of any of the string types, empty for other tags.
    QString getAsString() const;
    /// Local digits with an offset: "+" adds it and "-" subtracts it. Years to 50 are after 2000.
    VDateTime getUTCTime() const;
    /// Asks for the tag of UTCTime, so that it refuses what `setGeneralizedTime` writes.
    VDateTime getGeneralizedTime() const;
    /// The values in the content, of any tag. Ends before a value that is cut short.
    QValueList<DerValue> getList() const;
    QValueList<DerValue> getSequence() const;
    QValueList<DerValue> getSet(bool implicit = false) const;

    void setBoolean(bool value);
    void setInteger(const math::BigInteger& value);
    /// See `getBitString` for the order of the bits.
    void setBitString(const QBitArray& bits);
    void setOctetString(const QMemArray<char>& bytes);
    void setNull();
    void setOID(const ObjectIdentifier& oid);
    void setReal(const math::BigDecimal& value);
    void setEnumerated(const math::BigInteger& value);
    void setPrintableString(const QCString& text);
    void setT61String(const QCString& text);
    void setIA5String(const QCString& text);
    void setGeneralString(const QCString& text);
    void setBMPString(const QString& text);
    void setUTF8String(const QString& text);
    void setUTCTime(const VDateTime& time);
    void setGeneralizedTime(const VDateTime& time);
    /// Leaves the tag as it is.
    void setList(const QValueList<DerValue>& list);
    void setSequence(const QValueList<DerValue>& list);
    void setSet(const QValueList<DerValue>& list);

    /// For people: a text in quotes, or a few words on the value.
    QString toString() const;

    friend bool operator==(const DerValue& a, const DerValue& b)
    {
        return a.tag == b.tag && a.data == b.data;
    }
    friend bool operator!=(const DerValue& a, const DerValue& b) { return !(a == b); }

private:
    void require(Tag expected, const char* message) const;
    void setContent(Tag newTag, const char* bytes, unsigned length);
    void setNumber(Tag newTag, const math::BigInteger& value);
    QCString text() const;
    QCString checkedText(Tag expected, const char* message) const;
    QString utf8Text() const;
    QString bmpText() const;
    void shareList();
    unsigned encodedSize() const;
    uchar* write(uchar* out) const;
};
} // namespace asn

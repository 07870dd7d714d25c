// Builds a nested DER value, encodes it, reads it back and prints its tree.

#include <zyl/all/security.h>
#include <zyl/all/tools.h>

#include <cstdio>

using asn::DerValue;

namespace
{
void print(const DerValue& value, int depth)
{
    constexpr int depthLimit = 64;
    const bool isList = value.tag == DerValue::Sequence || value.tag == DerValue::Set;
    std::printf("%*s%s\n", 2 * depth, "", isList ? "list" : qPrintable(value.toString()));
    if (isList && depth < depthLimit)
        for (const DerValue& item : value.getList())
            print(item, depth + 1);
}
} // namespace

int main()
{
    DerValue serial;
    serial.setInteger(math::BigInteger("123456789012345678901234567890"));
    DerValue usage;
    usage.setOID(asn::ObjectIdentifier("1.2.840.113549.1.1.1"));
    DerValue maker{QString::fromUtf8("Gräfe & Söhne")};

    QValueList<DerValue> fields;
    fields.append(serial);
    fields.append(usage);
    fields.append(maker);
    DerValue item;
    item.setSequence(fields);

    const QMemArray<char> bytes = item.toByteArray();
    std::printf("%u bytes\n", bytes.size());
    try {
        print(DerValue(bytes.data(), bytes.size()), 0);
        serial.getBoolean();
    } catch (const VException& exception) {
        std::printf("refused: %s\n", qPrintable(exception.message()));
        return 0;
    }
    return 1;
}

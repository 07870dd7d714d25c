#include "tools/vuuid.h"

#include "tools/hexdigit_p.h"

#include <qstring.h>

namespace
{
// A blank stands for a digit; the digits of the text are those of the fields, the high ones first.
constexpr char form[] = "{        -    -    -    -            }";
constexpr int formLength = sizeof form - 1;
} // namespace

VUuid::VUuid(const QString& text)
{
    if (text.size() != formLength)
        return;
    quint8 bytes[16] = {};
    int digits = 0;
    for (int i = 0; i < formLength; ++i) {
        const char16_t unit = text[i].unicode();
        if (form[i] != ' ') {
            if (unit != char16_t(form[i]))
                return;
            continue;
        }
        const int digit = hexDigit(unit);
        if (digit < 0)
            return;
        quint8& byte = bytes[digits++ / 2];
        byte = quint8(byte << 4 | digit);
    }
    data1 = quint32(bytes[0]) << 24 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 8 | bytes[3];
    data2 = quint16(bytes[4] << 8 | bytes[5]);
    data3 = quint16(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i)
        data4[i] = bytes[8 + i];
}

QString VUuid::toString() const
{
    return QString::asprintf("{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", data1, data2,
                             data3, data4[0], data4[1], data4[2], data4[3], data4[4], data4[5],
                             data4[6], data4[7]);
}

// Dates, times, timestamps, colour names and identifiers from text, and text from a hostile format.

#include "support.h"
#include "tools/vcolor.h"
#include "tools/vtimestamp.h"
#include "tools/vuuid.h"

#include <qstring.h>

namespace
{
using fuzz::require;

void readMoments(const QString& text)
{
    for (const Zyl::DateFormat format : {Zyl::TextDate, Zyl::ISODate, Zyl::LocalDate}) {
        const VDate date = VDate::fromString(text, format);
        VTime::fromString(text, format);
        const VDateTime moment = VDateTime::fromString(text, format);
        moment.toString(format);
        moment.addMonths(-1).toString(text);
        if (date.isValid() && date.year() <= 9999)
            require(VDate::fromString(date.toString(Zyl::ISODate), Zyl::ISODate) == date);
        if (moment.isValid() && format != Zyl::LocalDate) {
            const QString iso = moment.toString(Zyl::ISODate);
            require(VDateTime::fromString(iso, Zyl::ISODate).toString(Zyl::ISODate) == iso);
        }
    }
    const VTimestamp timestamp = VTimestamp::fromString(text);
    // Years before the calendar are stored, but not read again.
    if (timestamp.isValid() && timestamp.year() >= 1753)
        require(VTimestamp::fromString(timestamp.toString()) == timestamp);
    timestamp.getTime();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    const QString text = QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(size));
    readMoments(text);

    VColor color(text);
    if (color.isValid())
        require(color.alpha() == 255);
    require(color.light(int(size)).dark(int(size) * 7).alpha() == color.alpha() ||
            color.pixel() == 0);

    const VUuid identifier(text);
    if (!identifier.isNull())
        require(identifier.toString() == text.toUpper());
    return 0;
}

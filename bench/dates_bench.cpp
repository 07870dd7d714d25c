#include "ratio.h"
#include "tools/vdatetime.h"

#include <qdatetime.h>
#include <qstring.h>

namespace
{
// A prime stride walks the days of six centuries without a pattern that a branch predictor could
// learn.
constexpr int dayCount = 4096;

quint32 dayNumber(int i)
{
    return 2361222 + quint32(i) * 7919 % 236786;
}

struct Samples {
    std::vector<VDate> ours;
    std::vector<QDate> theirs;
    std::vector<QString> texts;

    Samples()
    {
        for (int i = 0; i < dayCount; ++i) {
            ours.push_back(VDate::fromJulianDay(dayNumber(i)));
            theirs.push_back(QDate::fromJulianDay(dayNumber(i)));
            texts.push_back(theirs.back().toString(Qt::ISODate));
        }
    }
};

/// Compares `ours` and `theirs` over all samples, each given the index of one.
template <class Ours, class Theirs>
void compareEach(const char* name, Ours ours, Theirs theirs)
{
    const auto all = [](auto& call) {
        return [&call] {
            for (int i = 0; i < dayCount; ++i)
                bench::keep(call(i));
        };
    };
    bench::compare(name, 1.0, all(ours), all(theirs));
}
} // namespace

int main()
{
    const Samples samples;
    const auto& ours = samples.ours;
    const auto& theirs = samples.theirs;
    compareEach(
        "VDate year, month, day from Julian",
        [&](int i) { return ours[i].year() + ours[i].month() + ours[i].day(); },
        [&](int i) {
            int year, month, day;
            theirs[i].getDate(&year, &month, &day);
            return year + month + day;
        });
    compareEach(
        "VDate::gregorianToJulian",
        [&](int i) { return VDate::gregorianToJulian(1753 + i % 700, 1 + i % 12, 1 + i % 28); },
        [&](int i) { return QDate(1753 + i % 700, 1 + i % 12, 1 + i % 28).toJulianDay(); });
    compareEach(
        "VDate::addDays", [&](int i) { return ours[i].addDays(i).julianDay(); },
        [&](int i) { return theirs[i].addDays(i).toJulianDay(); });
    compareEach(
        "VDate::addMonths", [&](int i) { return ours[i].addMonths(i % 500).julianDay(); },
        [&](int i) { return theirs[i].addMonths(i % 500).toJulianDay(); });
    compareEach(
        "VDate ISO text out", [&](int i) { return ours[i].toString(Zyl::ISODate).size(); },
        [&](int i) { return theirs[i].toString(Qt::ISODate).size(); });
    compareEach(
        "VDate ISO text in",
        [&](int i) { return VDate::fromString(samples.texts[i], Zyl::ISODate).julianDay(); },
        [&](int i) { return QDate::fromString(samples.texts[i], Qt::ISODate).toJulianDay(); });
    const VTime time(14, 5, 9);
    const QTime theirTime(14, 5, 9);
    compareEach(
        "VDateTime ISO text out",
        [&](int i) { return VDateTime(ours[i], time).toString(Zyl::ISODate).size(); },
        [&](int i) {
            return QDateTime(theirs[i], theirTime, Qt::UTC).toString(Qt::ISODate).size();
        });
    return 0;
}

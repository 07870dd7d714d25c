// Counts on the calendar, and writes moments in several forms.

#include <zyl/all/tools.h>

#include <cstdio>

int main()
{
    const VDate commissioned(2024, 2, 29);
    std::printf("commissioned %s, day %d of the year\n",
                qPrintable(commissioned.toString(Zyl::TextDate)), commissioned.dayOfYear());
    for (int years = 1; years <= 4; ++years) {
        // Months are cut to the days that the month has, so a service stays at the end of February.
        const VDate service = commissioned.addMonths(12 * years);
        std::printf("service %d  %s  in %d days\n", years,
                    qPrintable(service.toString(Zyl::ISODate)), commissioned.daysTo(service));
    }
    const VDateTime shift(VDate(2026, 12, 31), VTime(22, 0, 0, 0));
    const VDateTime end = shift.addSecs(8 * 3600);
    std::printf("a shift from %s to %s\n", qPrintable(shift.toString(Zyl::ISODate)),
                qPrintable(end.toString(Zyl::ISODate)));
    return end.date() == VDate(2027, 1, 1) ? 0 : 1;
}

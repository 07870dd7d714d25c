#include "tools/vcolor.h"

#include "tools/hexdigit_p.h"

#include <algorithm>
#include <cmath>

#include <qdatastream.h>
#include <qlogging.h>
#include <qstring.h>

namespace
{
/// One channel from its group of one to four digits.
int channel(const QChar* group, qsizetype length)
{
    const auto digit = [group](int i) { return std::max(0, hexDigit(group[i].unicode())); };
    return 16 * digit(0) + digit(length == 1 ? 0 : 1);
}

int roundedQuotient(int numerator, int denominator)
{
    return (2 * numerator + denominator) / (2 * denominator);
}

void store(int* target, int value)
{
    if (target)
        *target = value;
}
} // namespace

VColor::VColor(const QString& name)
{
    setNamedColor(name);
}

void VColor::setNamedColor(const QString& name)
{
    if (name.isEmpty()) {
        m_pixel = 0;
        return;
    }
    const qsizetype digits = name.size() - 1;
    if (name[0] != u'#' || digits == 0 || digits % 3 != 0 || digits > 12)
        return;
    const qsizetype length = digits / 3;
    const QChar* group = name.constData() + 1;
    *this = VColor(channel(group, length), channel(group + length, length),
                   channel(group + 2 * length, length));
}

void VColor::setHsv(int hue, int saturation, int value)
{
    const auto isByte = [](int number) { return number >= 0 && number <= 255; };
    if (hue < -1 || !isByte(saturation) || !isByte(value)) {
        qWarning("VColor::setHsv: HSV parameters out of range");
        return;
    }
    if (saturation == 0 || hue == -1) {
        *this = VColor(value, value, value);
        return;
    }
    hue %= 360;
    const int f = hue % 60;
    const int p = ((255 - saturation) * value * 2 + 255) / 510;
    const int q = ((15300 - saturation * f) * value * 2 + 15300) / 30600;
    const int t = ((15300 - saturation * (60 - f)) * value * 2 + 15300) / 30600;
    switch (hue / 60) {
    case 0:
        *this = VColor(value, t, p);
        break;
    case 1:
        *this = VColor(q, value, p);
        break;
    case 2:
        *this = VColor(p, value, t);
        break;
    case 3:
        *this = VColor(p, q, value);
        break;
    case 4:
        *this = VColor(t, p, value);
        break;
    default:
        *this = VColor(value, p, q);
    }
}

void VColor::hsv(int* hue, int* saturation, int* value) const
{
    const int r = red(), g = green(), b = blue();
    const int largest = std::max({r, g, b});
    const int delta = largest - std::min({r, g, b});
    store(value, largest);
    if (delta == 0) {
        store(hue, -1);
        store(saturation, 0);
        return;
    }
    store(saturation, roundedQuotient(255 * delta, largest));
    int numerator;
    if (r == largest)
        numerator = 60 * (g - b) + (g < b ? 360 * delta : 0);
    else if (g == largest)
        numerator = 60 * (b - r) + 120 * delta;
    else
        numerator = 60 * (r - g) + 240 * delta;
    store(hue, roundedQuotient(numerator, delta) % 360);
}

VColor VColor::light(int factor) const
{
    if (factor < 1)
        return *this;
    if (factor < 100)
        return dark(10000 / factor);
    int hue, saturation, value;
    hsv(&hue, &saturation, &value);
    const qint64 wanted = qint64(factor) * value / 100;
    if (wanted > 255)
        saturation = int(std::max<qint64>(0, saturation - (wanted - 255)));
    VColor result = *this;
    result.setHsv(hue, saturation, int(std::min<qint64>(wanted, 255)));
    return result;
}

VColor VColor::dark(int factor) const
{
    if (factor < 1)
        return *this;
    if (factor < 100)
        return light(10000 / factor);
    int hue, saturation, value;
    hsv(&hue, &saturation, &value);
    VColor result = *this;
    result.setHsv(hue, saturation, value * 100 / factor);
    return result;
}

void VColor::rgbToHsv(float red, float green, float blue, float& hue, float& saturation,
                      float& value)
{
    const float largest = std::max({red, green, blue});
    const float delta = largest - std::min({red, green, blue});
    value = largest;
    saturation = largest > 0 ? delta / largest : 0;
    if (!(delta > 0)) {
        hue = -1;
        return;
    }
    if (red == largest)
        hue = 60 * (green - blue) / delta;
    else if (green == largest)
        hue = 60 * (blue - red) / delta + 120;
    else
        hue = 60 * (red - green) / delta + 240;
    if (hue < 0)
        hue += 360;
    // A tiny negative angle rounds up to the full circle.
    if (hue >= 360)
        hue = 0;
}

void VColor::hsvToRgb(float hue, float saturation, float value, float& red, float& green,
                      float& blue)
{
    if (saturation == 0 || hue == -1 || !std::isfinite(hue)) {
        red = green = blue = value;
        return;
    }
    // The height of each channel over the hue is a trapezium: full, falling, low, rising.
    const auto height = [&](float offset) {
        const float turned = std::fmod(std::fmod(hue, 360.0f) + 360 + offset * 60, 360.0f) / 60;
        const float fall = std::clamp(std::min(turned, 4 - turned), 0.0f, 1.0f);
        return value - value * saturation * fall;
    };
    red = height(5);
    green = height(3);
    blue = height(1);
}

QDataStream& operator<<(QDataStream& stream, VColor color)
{
    return stream << quint32(color.pixel());
}

QDataStream& operator>>(QDataStream& stream, VColor& color)
{
    quint32 pixel;
    stream >> pixel;
    color = VColor(pixel);
    return stream;
}

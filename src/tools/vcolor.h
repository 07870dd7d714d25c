#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

class QDataStream;
class QString;

/// A colour as one word, packed 0xAARRGGBB. The word 0 is the invalid colour.
class ZYL_EXPORT VColor
{
public:
    constexpr VColor() = default;
    constexpr explicit VColor(quint32 pixel) : m_pixel(pixel) {}

    /// Channels of 0 to 255; only the low eight bits of each count.
    constexpr VColor(int red, int green, int blue, int alpha = 255)
        : m_pixel((quint32(alpha) & 255) << 24 | (quint32(red) & 255) << 16 |
                  (quint32(green) & 255) << 8 | (quint32(blue) & 255))
    {
    }

    /// Invalid unless `setNamedColor` understands the name.
    explicit VColor(const QString& name);

    constexpr quint32 pixel() const { return m_pixel; }
    constexpr bool isValid() const { return m_pixel != 0; }
    constexpr int red() const { return int(m_pixel >> 16 & 255); }
    constexpr int green() const { return int(m_pixel >> 8 & 255); }
    constexpr int blue() const { return int(m_pixel & 255); }
    constexpr int alpha() const { return int(m_pixel >> 24); }

    /// Reads "#rgb", "#rrggbb", "#rrrgggbbb" and "#rrrrggggbbbb" with alpha 255; of the longer
    /// forms the two leading digits of each channel count, and a digit that is not hexadecimal
    /// counts as 0. An empty name gives the invalid colour, and any other name leaves the colour as
    /// it was.
    void setNamedColor(const QString& name);

    /// Sets an opaque colour from a hue in degrees, -1 for grey, and saturation and value of 0 to
    /// 255. Warns and changes nothing when one of them is out of range; hues of 360 and more go
    /// round.
    void setHsv(int hue, int saturation, int value);

    /// The reverse of `setHsv`, rounded; a grey has hue -1. Null pointers are passed over.
    void hsv(int* hue, int* saturation, int* value) const;

    /// This colour with `factor` percent of its value; what exceeds 255 is taken off the
    /// saturation. Opaque, but a factor below 1 gives the colour itself.
    [[nodiscard]] VColor light(int factor = 150) const;

    /// This colour with its value divided by `factor` percent.
    [[nodiscard]] VColor dark(int factor = 200) const;

    /// Converts channels, saturation and value of 0 to 1; the hue is in degrees from 0 to below
    /// 360, and -1 for a grey.
    static void rgbToHsv(float red, float green, float blue, float& hue, float& saturation,
                         float& value);

    /// Hues go round at 360 degrees; a hue of -1 or one that is not finite gives a grey.
    static void hsvToRgb(float hue, float saturation, float value, float& red, float& green,
                         float& blue);

private:
    quint32 m_pixel = 0;
};

constexpr bool operator==(VColor a, VColor b)
{
    return a.pixel() == b.pixel();
}

constexpr bool operator!=(VColor a, VColor b)
{
    return a.pixel() != b.pixel();
}

/// The stream form is the word.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, VColor color);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VColor& color);

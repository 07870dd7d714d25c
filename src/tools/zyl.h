#pragma once

#include "tools/vcolor.h"

/// The enums and named colours that the whole library shares. It has no instances of its own:
/// classes such as the events derive from it to have the names at hand.
class ZYL_EXPORT Zyl
{
public:
    enum DateFormat { TextDate, ISODate, LocalDate };
    enum Orientation { Horizontal, Vertical };

    static constexpr VColor black{0xff000000};
    static constexpr VColor white{0xffffffff};
    static constexpr VColor darkGray{0xff808080};
    static constexpr VColor gray{0xffa0a0a4};
    static constexpr VColor lightGray{0xffc0c0c0};
    static constexpr VColor red{0xffff0000};
    static constexpr VColor green{0xff00ff00};
    static constexpr VColor blue{0xff0000ff};
    static constexpr VColor cyan{0xff00ffff};
    static constexpr VColor magenta{0xffff00ff};
    static constexpr VColor yellow{0xffffff00};
    static constexpr VColor darkRed{0xff800000};
    static constexpr VColor darkGreen{0xff008000};
    static constexpr VColor darkBlue{0xff000080};
    static constexpr VColor darkCyan{0xff008080};
    static constexpr VColor darkMagenta{0xff800080};
    static constexpr VColor darkYellow{0xff808000};

    /// The named colours in the order above.
    static constexpr VColor color[17] = {
        black,   white,  darkGray, gray,      lightGray, red,      green,       blue,      cyan,
        magenta, yellow, darkRed,  darkGreen, darkBlue,  darkCyan, darkMagenta, darkYellow};

protected:
    Zyl() = default;
    Zyl(const Zyl&) = default;
    Zyl& operator=(const Zyl&) = default;
    ~Zyl() = default;
};

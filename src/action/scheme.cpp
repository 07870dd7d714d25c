#include "action/scheme.h"

#include "action/actionstream_p.h"
#include "action/truncated_p.h"

namespace action
{
Scheme::~Scheme() = default;

VFormatIO& Scheme::read(VFormatIO& io)
{
    return io;
}

VFormatIO& Scheme::write(VFormatIO& io) const
{
    return io;
}

struct ColorScheme::Meta {
    static constexpr auto fieldTable =
        std::tuple(zylfields::filled("colors", 0x80, &ColorScheme::m_values),
                   zylfields::filled("selector", 0x81, &ColorScheme::m_selector));
};

void ColorScheme::set(const VMemArray<VColor>& colors, const geometry::Vector2fArray& selector)
{
    // Arrays of its own: the map points into the colours, and a caller may change theirs.
    VMemArray<VColor> ownColors = colors.copy();
    m_selector = geometry::Vector2fArray(selector.copy());
    m_values = ownColors;
    m_map.clear();
    m_map.resize(m_selector.size() + 1);
    for (const geometry::Vector2f& pair : m_selector) {
        const int index = truncated(pair.y);
        if (index > 0 && unsigned(index) < m_values.size())
            m_map.insert(truncated(pair.x), m_values.data() + index);
    }
}

VFormatIO& ColorScheme::read(VFormatIO& io)
{
    zylfields::read(io, *this, Meta::fieldTable);
    set(m_values, m_selector);
    return io;
}

VFormatIO& ColorScheme::write(VFormatIO& io) const
{
    return zylfields::write(io, *this, Meta::fieldTable);
}

TimeScheme::TimeScheme()
{
    m_stages.setAutoDelete(true);
}
} // namespace action

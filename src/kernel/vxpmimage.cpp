#include "kernel/vdevicereader_p.h"
#include "kernel/vimagehandlers_p.h"
#include "kernel/vx11colors_p.h"
#include "tools/vcolor.h"

#include <qiodevice.h>
#include <qlogging.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace
{
constexpr int charactersLimit = 15;

/// Gives the strings of an XPM one after the other, from the C source of a file or from an array.
class LineSource
{
public:
    explicit LineSource(DeviceReader* in) : m_in(in) {}
    explicit LineSource(const char* const* lines) : m_lines(lines) {}

    /// The next string, valid until the next call; false at the end.
    bool next(std::string_view& line)
    {
        if (m_lines) {
            if (!*m_lines)
                return false;
            line = *m_lines++;
            return true;
        }
        int c = 0;
        do {
            c = m_in->get();
        } while (c >= 0 && c != '"');
        // Most strings lie whole in the window; only one that goes on past it is copied.
        m_text.clear();
        while (m_in->fill()) {
            const auto* begin = reinterpret_cast<const char*>(m_in->window());
            const auto size = std::size_t(m_in->windowSize());
            const auto* end = static_cast<const char*>(std::memchr(begin, '"', size));
            const std::size_t part = end ? std::size_t(end - begin) : size;
            m_in->advance(qint64(end ? part + 1 : part));
            if (end && m_text.empty()) {
                line = std::string_view(begin, part);
                return true;
            }
            m_text.append(begin, part);
            if (end) {
                line = m_text;
                return true;
            }
        }
        return false;
    }

    /// An upper bound of the bytes that are left.
    qint64 remaining() const
    {
        return m_in ? m_in->remaining() : std::numeric_limits<qint64>::max();
    }

private:
    DeviceReader* m_in = nullptr;
    const char* const* m_lines = nullptr;
    std::string m_text;
};

/// From the characters of a pixel to its index or colour. One and two characters are looked up
/// directly.
class PixelMap
{
public:
    explicit PixelMap(int characters) : m_characters(std::size_t(characters))
    {
        if (characters <= 2)
            m_direct.assign(characters == 1 ? 256 : 65536, 0);
    }

    void insert(std::string_view name, quint32 value)
    {
        if (m_direct.empty())
            m_hashed[std::string(name)] = value;
        else
            m_direct[key(name.data())] = value;
    }

    /// Pixels that no colour line names have the value of the first.
    void setFallback(quint32 value)
    {
        m_fallback = value;
        std::fill(m_direct.begin(), m_direct.end(), value);
    }

    quint32 find(const char* pixel)
    {
        if (!m_direct.empty())
            return m_direct[key(pixel)];
        // Neighbours are often alike, which spares the look-up.
        const std::string_view name(pixel, m_characters);
        if (name != m_lastName) {
            m_lastName.assign(name);
            const auto found = m_hashed.find(m_lastName);
            m_last = found == m_hashed.end() ? m_fallback : found->second;
        }
        return m_last;
    }

private:
    std::size_t key(const char* pixel) const
    {
        const auto first = static_cast<uchar>(pixel[0]);
        return m_characters == 1 ? first : std::size_t(first) << 8 | static_cast<uchar>(pixel[1]);
    }

    std::size_t m_characters;
    std::vector<quint32> m_direct;
    std::unordered_map<std::string, quint32> m_hashed;
    std::string m_lastName;
    quint32 m_last = 0;
    quint32 m_fallback = 0;
};

/// Lower case, white space runs as one blank, a blank in front.
std::string prepared(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || (c >= 9 && c <= 13); };
    std::string result;
    bool blank = true;
    for (const char c : text) {
        if (isBlank(c)) {
            blank = true;
            continue;
        }
        if (blank)
            result += ' ';
        blank = false;
        result += c >= 'A' && c <= 'Z' ? char(c + 32) : c;
    }
    return result;
}

/// The colour text of a prepared line: what stands behind the best key, up to the next key. Empty
/// when there is none.
std::string_view colorText(std::string_view line)
{
    constexpr std::string_view keys[] = {" c ", " g ", " g4 ", " m ", " s "};
    for (const std::string_view key : {keys[0], keys[1], keys[2], keys[3]}) {
        const std::size_t at = line.find(key);
        if (at == std::string_view::npos)
            continue;
        // The blank behind the key may be the one in front of the next.
        const std::string_view rest = line.substr(at + key.size() - 1);
        std::size_t end = rest.size();
        for (const std::string_view next : keys)
            end = std::min(end, rest.find(next));
        return rest.substr(std::min<std::size_t>(1, end), end - std::min<std::size_t>(1, end));
    }
    return {};
}

quint32 parsedColor(std::string_view text)
{
    if (!text.empty() && text[0] == '#') {
        VColor color;
        color.setNamedColor(QString::fromLatin1(text.data(), qsizetype(text.size())));
        return color.pixel();
    }
    std::string name(text);
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    quint32 rgb = 0;
    return x11Color(name, rgb) ? 0xFF000000u | rgb : 0;
}

/// Reads the colour lines: into the table of an 8-bit picture, or as words.
bool readColors(LineSource& lines, VImage& image, PixelMap& map, int colors, int characters)
{
    std::string_view line;
    std::vector<std::pair<std::string, quint32>> rows;
    for (int i = 0; i < colors; ++i) {
        if (!lines.next(line) || line.size() < std::size_t(characters)) {
            qWarning("VImage: XPM color specification missing");
            return false;
        }
        const std::string name(line.substr(0, std::size_t(characters)));
        const std::string text = prepared(line.substr(std::size_t(characters)));
        const std::string_view colorName = colorText(text);
        if (colorName.empty()) {
            qWarning("VImage: XPM color specification is missing: %s", text.c_str());
            return false;
        }
        const bool transparent = colorName == "none";
        if (transparent)
            image.setAlphaBuffer(true);
        const quint32 color = transparent ? 0 : parsedColor(colorName);
        if (image.depth() == 8)
            image.setColor(i, color);
        rows.emplace_back(name, image.depth() == 8 ? quint32(i) : color);
    }
    map.setFallback(rows.front().second);
    for (const auto& row : rows)
        map.insert(row.first, row.second);
    return true;
}

bool readXpm(LineSource& lines, VImage& result)
{
    std::string_view line;
    int width = 0;
    int height = 0;
    int colors = 0;
    int characters = 0;
    if (!lines.next(line) ||
        std::sscanf(std::string(line.substr(0, 128)).c_str(), "%9d %9d %9d %9d", &width, &height,
                    &colors, &characters) < 4)
        return false;
    if (width < 1 || height < 1 || colors < 1 || characters < 1 || characters > charactersLimit)
        return false;
    // A file can't hold less text than its pixels and colours take.
    const qint64 left = lines.remaining();
    if (colors > left / characters || qint64(width) * characters > left / height)
        return false;
    const int depth = colors <= 256 ? 8 : 32;
    VImage image;
    if (!VImage::checkAllocation(width, height, depth) ||
        !image.create(width, height, depth, depth == 8 ? colors : 0))
        return false;
    PixelMap map(characters);
    if (!readColors(lines, image, map, colors, characters))
        return false;
    const std::size_t length = std::size_t(width) * std::size_t(characters);
    for (int y = 0; y < height; ++y) {
        if (!lines.next(line) || line.size() < length) {
            qWarning("VImage: XPM pixels missing on image line %d", y);
            return false;
        }
        const char* pixel = line.data();
        uchar* bytes = image.scanLine(y);
        auto* words = reinterpret_cast<quint32*>(bytes);
        for (int x = 0; x < width; ++x, pixel += characters) {
            if (depth == 8)
                bytes[x] = uchar(map.find(pixel));
            else
                words[x] = map.find(pixel);
        }
    }
    result = image;
    return true;
}

constexpr char alphabet[] = ".#abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

/// The characters of a colour's index, most significant first, six bits each.
void appendName(QByteArray& text, unsigned index, int characters)
{
    // The two indices change places, whose names would otherwise look like the words that open and
    // close comments.
    if (characters >= 2 && (index == 0 || index == 2837))
        index = 2837 - index;
    char name[4];
    for (int i = characters - 1; i >= 0; --i, index >>= 6)
        name[i] = alphabet[index & 63];
    text.append(name, characters);
}

bool writeXpm(QIODevice* device, const VImage& source, const QByteArray& name)
{
    const VImage image = source.depth() == 32 ? source : source.convertDepth(32);
    if (image.isNull())
        return false;
    const quint32 mask = image.hasAlphaBuffer() ? 0xFFFFFFFFu : 0x00FFFFFFu;
    constexpr std::size_t colorLimit = std::size_t(1) << 24;
    std::unordered_map<quint32, unsigned> indices;
    std::vector<quint32> colors;
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const quint32*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const quint32 color = line[x] & mask;
            if (x > 0 && color == (line[x - 1] & mask))
                continue;
            if (indices.emplace(color, unsigned(colors.size())).second)
                colors.push_back(color);
            if (colors.size() > colorLimit)
                return false;
        }
    }
    int characters = 1;
    while (std::size_t(1) << (6 * characters) < colors.size())
        ++characters;

    const auto flush = [device](QByteArray& text) {
        const bool written = device->write(text) == text.size();
        text.clear();
        return written;
    };
    QByteArray text = "/* XPM */\nstatic char *" + name + "[]={\n\"" +
                      QByteArray::number(image.width()) + ' ' + QByteArray::number(image.height()) +
                      ' ' + QByteArray::number(qulonglong(colors.size())) + ' ' +
                      QByteArray::number(characters) + '"';
    for (std::size_t i = 0; i < colors.size(); ++i) {
        text += ",\n\"";
        appendName(text, unsigned(i), characters);
        char color[16] = "None";
        if (mask != 0xFFFFFFFFu || colors[i] >> 24 != 0)
            std::snprintf(color, sizeof color, "#%06x", colors[i] & 0xFFFFFF);
        text.append(" c ").append(color).append('"');
        if (text.size() > 65536 && !flush(text))
            return false;
    }
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const quint32*>(image.scanLine(y));
        text += ",\n\"";
        quint32 last = ~line[0];
        unsigned index = 0;
        for (int x = 0; x < image.width(); ++x) {
            if (line[x] != last) {
                last = line[x];
                index = indices.find(last & mask)->second;
            }
            appendName(text, index, characters);
        }
        text += '"';
        if (text.size() > 65536 && !flush(text))
            return false;
    }
    text += "};\n";
    return flush(text);
}
} // namespace

bool readXpmArray(const char* const* lines, VImage& image)
{
    if (!lines)
        return false;
    LineSource source(lines);
    return readXpm(source, image);
}

bool readXpm(DeviceReader& in, VImage& image)
{
    LineSource source(&in);
    return readXpm(source, image);
}

bool writeXpm(VImageIO& io)
{
    return writeXpm(io.ioDevice(), io.image(), arrayName(io));
}

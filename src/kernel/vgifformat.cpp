#include "kernel/vgifformat.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr unsigned opaque = 0xFF000000u;

int shortAt(const unsigned char* bytes)
{
    return bytes[0] | bytes[1] << 8;
}
} // namespace

VGIFFormat::VGIFFormat() = default;

VGIFFormat::~VGIFFormat() = default;

int VGIFFormat::decode(VImage& image, VImageConsumer& consumer, const unsigned char* bytes,
                       int length)
{
    m_image = &image;
    m_consumer = &consumer;
    int taken = 0;
    while (taken < length && m_part != Part::End) {
        const int count = std::min(length - taken, m_expected - m_count);
        std::memcpy(m_bytes.data() + m_count, bytes + taken, std::size_t(count));
        taken += count;
        m_count += count;
        if (m_count == m_expected && !handlePart()) {
            flushChanges();
            return -1;
        }
    }
    flushChanges();
    return taken;
}

void VGIFFormat::expect(Part part, int count)
{
    m_part = part;
    m_expected = count;
    m_count = 0;
}

bool VGIFFormat::handlePart()
{
    switch (m_part) {
    case Part::Screen:
        return handleScreen();
    case Part::GlobalColors:
        readColors(m_globalColors);
        expect(Part::Introducer, 1);
        return true;
    case Part::Introducer:
        return handleIntroducer();
    case Part::Label:
        m_label = m_bytes[0];
        m_application = Application::None;
        expect(Part::ExtensionSize, 1);
        return true;
    case Part::ExtensionSize:
        if (m_bytes[0])
            expect(Part::Extension, m_bytes[0]);
        else
            expect(Part::Introducer, 1);
        return true;
    case Part::Extension:
        handleExtension();
        expect(Part::ExtensionSize, 1);
        return true;
    case Part::Frame:
        handleFrame();
        return true;
    case Part::LocalColors:
        readColors(m_localColors);
        expect(Part::CodeSize, 1);
        return true;
    case Part::CodeSize:
        return startCodes();
    case Part::DataSize:
        if (m_bytes[0]) {
            expect(Part::Data, m_bytes[0]);
        } else {
            finishFrame();
            expect(Part::Introducer, 1);
        }
        return true;
    case Part::Data:
        if (!decodeCodes())
            return false;
        expect(Part::DataSize, 1);
        return true;
    case Part::End:
        break;
    }
    return false;
}

bool VGIFFormat::handleScreen()
{
    const int width = shortAt(&m_bytes[6]);
    const int height = shortAt(&m_bytes[8]);
    if (width == 0 || height == 0 || !VImage::checkAllocation(width, height, 32) ||
        !m_image->create(width, height, 32))
        return false;
    m_image->setAlphaBuffer(true);
    std::memset(m_image->bits(), 0, std::size_t(m_image->numBytes()));
    m_consumer->setSize(width, height);
    m_hasGlobalColors = m_bytes[10] & 0x80;
    if (m_hasGlobalColors)
        expect(Part::GlobalColors, 3 * (2 << (m_bytes[10] & 7)));
    else
        expect(Part::Introducer, 1);
    return true;
}

void VGIFFormat::readColors(Colors& colors)
{
    // A code may name an index beyond a short table.
    colors.fill(opaque);
    for (int i = 0; 3 * i < m_expected; ++i) {
        const unsigned char* color = &m_bytes[std::size_t(3 * i)];
        colors[std::size_t(i)] =
            opaque | unsigned(color[0]) << 16 | unsigned(color[1]) << 8 | color[2];
    }
}

bool VGIFFormat::handleIntroducer()
{
    switch (m_bytes[0]) {
    case ',':
        expect(Part::Frame, 9);
        return true;
    case '!':
        expect(Part::Label, 1);
        return true;
    case ';':
        flushChanges();
        m_part = Part::End;
        m_consumer->end();
        return true;
    case 0: // Some writers end a block twice.
        expect(Part::Introducer, 1);
        return true;
    default:
        return false;
    }
}

void VGIFFormat::handleExtension()
{
    constexpr int graphicControl = 0xF9;
    constexpr int application = 0xFF;
    if (m_label == graphicControl && m_count >= 4) {
        m_hasControl = true;
        m_disposal = m_bytes[0] >> 2 & 7;
        m_period = shortAt(&m_bytes[1]) * 10;
        m_transparent = m_bytes[0] & 1 ? m_bytes[3] : -1;
    } else if (m_label == application && m_application == Application::None) {
        const auto isNamed = [this](const char* name) {
            return m_count == 11 && std::memcmp(m_bytes.data(), name, 11) == 0;
        };
        m_application = isNamed("NETSCAPE2.0") || isNamed("ANIMEXTS1.0") ? Application::Looping
                                                                         : Application::Unknown;
    } else if (m_application == Application::Looping && m_count >= 3 && m_bytes[0] == 1) {
        m_consumer->setLooping(shortAt(&m_bytes[1]));
    }
}

void VGIFFormat::handleFrame()
{
    dispose();
    if (m_hasControl)
        m_consumer->setFramePeriod(m_period);
    m_area = QRect(shortAt(&m_bytes[0]), shortAt(&m_bytes[2]), shortAt(&m_bytes[4]),
                   shortAt(&m_bytes[6]));
    m_walk = Walk();
    // A frame without columns has no rows to walk over either.
    m_walk.width = m_area.width();
    m_walk.height = m_area.width() > 0 ? m_area.height() : 0;
    m_walk.isInterlaced = m_bytes[8] & 0x40;
    m_visibleWidth = std::clamp(m_image->width() - m_area.x(), 0, m_area.width());
    m_frameDisposal = m_disposal;
    m_usesLocalColors = m_bytes[8] & 0x80;
    if (m_usesLocalColors)
        expect(Part::LocalColors, 3 * (2 << (m_bytes[8] & 7)));
    else
        expect(Part::CodeSize, 1);
}

void VGIFFormat::finishFrame()
{
    flushChanges();
    m_hasControl = false;
    m_disposal = 0;
    m_transparent = -1;
    m_consumer->frameDone();
}

/// Undoes the frame that stands. Only rows that were drawn are visited, so that a series of frames
/// without data doesn't cost the whole screen for each.
void VGIFFormat::dispose()
{
    if (m_drawn > 0 && (m_frameDisposal == RestoreBackground || m_frameDisposal == RestoreImage)) {
        Walk walk = m_walk;
        walk.x = walk.y = walk.pass = 0;
        const unsigned* covered = m_covered.data();
        for (; m_drawn > 0; m_drawn -= walk.width, walk.nextRow()) {
            unsigned* row = rowAt(walk);
            if (!row)
                continue;
            if (m_frameDisposal == RestoreImage) {
                std::copy_n(covered, m_visibleWidth, row);
                covered += m_visibleWidth;
            } else {
                std::fill_n(row, std::min<qint64>(m_visibleWidth, m_drawn), 0u);
            }
        }
        m_dirty |= m_area & QRect(0, 0, m_image->width(), m_image->height());
    }
    m_covered.clear();
    m_drawn = 0;
}

void VGIFFormat::Walk::next()
{
    if (++x == width)
        nextRow();
}

void VGIFFormat::Walk::nextRow()
{
    static constexpr int starts[] = {0, 4, 2, 1};
    static constexpr int steps[] = {8, 8, 4, 2};
    x = 0;
    if (!isInterlaced) {
        ++y;
        return;
    }
    y += steps[pass];
    while (y >= height && pass < 3)
        y = starts[++pass];
}

/// The start of the frame's row on the screen, null for one that has no part there.
unsigned* VGIFFormat::rowAt(const Walk& walk) const
{
    const int y = m_area.y() + walk.y;
    return m_visibleWidth > 0 && y < m_image->height()
               ? reinterpret_cast<unsigned*>(m_image->jumpTable()[y]) + m_area.x()
               : nullptr;
}

void VGIFFormat::enterRow()
{
    m_row = rowAt(m_walk);
    if (m_row)
        m_dirty |= QRect(m_area.x(), m_area.y() + m_walk.y, m_visibleWidth, 1);
}

void VGIFFormat::draw(unsigned char index)
{
    if (m_walk.x == 0) {
        enterRow();
        if (m_row && m_frameDisposal == RestoreImage)
            m_covered.insert(m_covered.end(), m_row, m_row + m_visibleWidth);
    }
    if (m_row && m_walk.x < m_visibleWidth && index != m_transparent)
        m_row[m_walk.x] = (m_usesLocalColors ? m_localColors : m_globalColors)[index];
    ++m_drawn;
    m_walk.next();
    m_isPastCodes = m_walk.isAtEnd();
}

bool VGIFFormat::startCodes()
{
    m_rootSize = m_bytes[0];
    if (m_rootSize < 1 || m_rootSize > 8 || !(m_usesLocalColors || m_hasGlobalColors))
        return false;
    for (int i = 0; i < 1 << m_rootSize; ++i)
        m_suffix[std::size_t(i)] = (unsigned char)i;
    m_bits = 0;
    m_bitCount = 0;
    m_isPastCodes = m_walk.isAtEnd();
    clearCodes();
    expect(Part::DataSize, 1);
    return true;
}

void VGIFFormat::clearCodes()
{
    m_codeSize = m_rootSize + 1;
    m_nextCode = (1 << m_rootSize) + 2;
    m_oldCode = -1;
}

bool VGIFFormat::decodeCodes()
{
    if (!m_isPastCodes)
        enterRow();
    for (int i = 0; i < m_count && !m_isPastCodes; ++i) {
        m_bits |= unsigned(m_bytes[std::size_t(i)]) << m_bitCount;
        m_bitCount += 8;
        while (m_bitCount >= m_codeSize && !m_isPastCodes) {
            const int code = int(m_bits & ((1u << m_codeSize) - 1));
            m_bits >>= m_codeSize;
            m_bitCount -= m_codeSize;
            if (!decodeCode(code))
                return false;
        }
    }
    return true;
}

bool VGIFFormat::decodeCode(int code)
{
    const int clearCode = 1 << m_rootSize;
    if (code == clearCode) {
        clearCodes();
        return true;
    }
    if (code == clearCode + 1) {
        m_isPastCodes = true;
        return true;
    }
    if (m_oldCode < 0 ? code > clearCode : code > m_nextCode || code >= CodeLimit)
        return false;
    std::size_t depth = 0;
    int at = code;
    if (code == m_nextCode) {
        // The string that this very code completes: the last one and its own first byte.
        m_stack[depth++] = m_firstByte;
        at = m_oldCode;
    }
    // A prefix is always less than its code, which ends the chain.
    for (; at > clearCode; at = m_prefix[std::size_t(at)])
        m_stack[depth++] = m_suffix[std::size_t(at)];
    m_firstByte = (unsigned char)at;
    m_stack[depth++] = m_firstByte;
    if (m_oldCode >= 0 && m_nextCode < CodeLimit) {
        m_prefix[std::size_t(m_nextCode)] = (unsigned short)m_oldCode;
        m_suffix[std::size_t(m_nextCode)] = m_firstByte;
        ++m_nextCode;
    }
    // With two colours and codes from 2 bits the first code is already followed by wider ones.
    if (m_nextCode == 1 << m_codeSize && m_codeSize < 12)
        ++m_codeSize;
    m_oldCode = code;
    while (depth > 0 && !m_isPastCodes)
        draw(m_stack[--depth]);
    return true;
}

void VGIFFormat::flushChanges()
{
    if (!m_dirty.isEmpty())
        m_consumer->changed(m_dirty);
    m_dirty = QRect();
}

VImageFormat* VGIFFormatType::decoderFor(const unsigned char* bytes, int length)
{
    const bool isKnown = length >= 6 && (std::memcmp(bytes, "GIF87a", 6) == 0 ||
                                         std::memcmp(bytes, "GIF89a", 6) == 0);
    return isKnown ? new VGIFFormat : nullptr;
}

const char* VGIFFormatType::formatName() const
{
    return "GIF";
}

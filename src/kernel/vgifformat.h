#pragma once

#include "kernel/vimagedecoder.h"

#include <qrect.h>

#include <vector>

/// GIF 87a and 89a. The image has 32 bits with alpha; what no frame covers is transparent, and so
/// is what a frame that gives way to the background leaves.
class ZYL_EXPORT VGIFFormat : public VImageFormat
{
public:
    VGIFFormat();
    ~VGIFFormat() override;

    int decode(VImage& image, VImageConsumer& consumer, const unsigned char* bytes,
               int length) override;

private:
    enum class Part {
        Screen,
        GlobalColors,
        Introducer,
        Label,
        ExtensionSize,
        Extension,
        Frame,
        LocalColors,
        CodeSize,
        DataSize,
        Data,
        End
    };
    enum class Application { None, Unknown, Looping };
    enum Disposal { NoDisposal = 1, RestoreBackground = 2, RestoreImage = 3 };
    static constexpr int CodeLimit = 4096;

    using Colors = std::array<unsigned, 256>;

    /// Walks over a frame's pixels in the order in which they are stored.
    struct Walk {
        int width = 0;
        int height = 0;
        bool isInterlaced = false;
        int x = 0;
        int y = 0;
        int pass = 0;

        bool isAtEnd() const { return y >= height; }
        void next();
        void nextRow();
    };

    void expect(Part part, int count);
    bool handlePart();
    bool handleScreen();
    bool handleIntroducer();
    void handleExtension();
    void handleFrame();
    bool startCodes();
    bool decodeCodes();
    bool decodeCode(int code);
    void clearCodes();
    void draw(unsigned char index);
    void dispose();
    void finishFrame();
    void readColors(Colors& colors);
    unsigned* rowAt(const Walk& walk) const;
    void enterRow();
    void flushChanges();

    VImage* m_image = nullptr; // while a piece is decoded
    VImageConsumer* m_consumer = nullptr;

    Part m_part = Part::Screen;
    std::array<unsigned char, 768> m_bytes{};
    int m_count = 0;
    int m_expected = 13;

    Colors m_globalColors{};
    Colors m_localColors{};
    bool m_hasGlobalColors = false;
    bool m_usesLocalColors = false;
    int m_label = 0;
    Application m_application = Application::None;

    bool m_hasControl = false;
    int m_disposal = 0;
    int m_period = 0;
    int m_transparent = -1;

    QRect m_area;  // of the frame, which may reach out of the screen
    QRect m_dirty; // not yet told of
    Walk m_walk;
    unsigned* m_row = nullptr; // of the next pixel, while codes are decoded
    int m_visibleWidth = 0;    // of the frame that stands
    int m_frameDisposal = 0;
    qint64 m_drawn = 0;
    std::vector<unsigned> m_covered; // what stood in the visible part of the rows drawn, in order

    int m_rootSize = 0;
    int m_codeSize = 0;
    int m_nextCode = 0;
    int m_oldCode = -1;
    unsigned char m_firstByte = 0;
    bool m_isPastCodes = false;
    unsigned m_bits = 0;
    int m_bitCount = 0;
    std::array<unsigned short, CodeLimit> m_prefix{};
    std::array<unsigned char, CodeLimit> m_suffix{};
    std::array<unsigned char, CodeLimit + 1> m_stack{};
};

class ZYL_EXPORT VGIFFormatType : public VImageFormatType
{
public:
    VImageFormat* decoderFor(const unsigned char* bytes, int length) override;
    const char* formatName() const override;
};

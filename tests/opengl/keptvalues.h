#pragma once

#include "opengl/nodefiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

/// What an object keeps in files, in both forms.
struct Kept {
    const char* label;
    ZYLObject* (*make)();
    const char* text;  ///< as the writer has it
    const char* bytes; ///< likewise, in hexadecimal
};

inline void PrintTo(const Kept& kept, std::ostream* out)
{
    *out << kept.label;
}

inline std::string nameOfKept(const testing::TestParamInfo<Kept>& kept)
{
    std::string name = kept.param.label;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

/// Reads and writes both forms.
inline void expectKept(const Kept& kept)
{
    const std::string bytes = QByteArray::fromHex(kept.bytes).toHex().toStdString();
    const std::unique_ptr<ZYLObject> fromText(kept.make()), fromBytes(kept.make());
    readText(*fromText, kept.text);
    EXPECT_EQ(textOf(*fromText), kept.text);
    EXPECT_EQ(bytesOf(*fromText), bytes);
    EXPECT_EQ(readBytes(*fromBytes, bytes + "99"), "99") << "an unknown tag is left alone";
    EXPECT_EQ(textOf(*fromBytes), kept.text);
}

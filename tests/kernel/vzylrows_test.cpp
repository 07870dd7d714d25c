#include "kernel/vzylrows.h"

#include "kernel/streamrequest.h"

namespace
{
std::string lines(const VZylRows& rows)
{
    std::string text;
    for (unsigned row = 0; row < rows.size(); ++row) {
        text += row > 0 ? " |" : "";
        for (unsigned i = 0; i < rows.length(row); ++i)
            text += ' ' + std::to_string(rows.data(row)[i]);
    }
    return text;
}
} // namespace

TEST(VZylRows, AreReadWhateverTheirLengths)
{
    const struct {
        const char* text;
        int result;
        const char* rows;
    } cases[] = {
        {"{}", 0, ""},
        {"{ { 1 } }", 1, " 1"},
        {"{{1,2},{},{0x10, -4 ,5}}", 3, " 1 2 | | 16 -4 5"},
        {"{ { 1, 2 }, { 3, 4 }, { 5, 6 }, { 7 } }", 4, " 1 2 | 3 4 | 5 6 | 7"},
        {"{ { 1, 2 }, { 3, 4 }, { 5, 6, 7 }, { 8, 9 } }", 4, " 1 2 | 3 4 | 5 6 7 | 8 9"},
        {"{ { 1, 2 }, { 3, 4 }, { 5 x } }", -1, " 1 2 | 3 4"},
        {"{ { 1, 2 }, 3 }", -1, " 1 2"},
        {"{ { 1, 2 }, { 3, 4 ", -1, " 1 2"},
        {"1", -1, ""},
    };
    for (const auto& c : cases) {
        TextSource source(c.text);
        VZylRows rows;
        EXPECT_EQ(source.stream.read(rows), c.result) << c.text;
        EXPECT_EQ(lines(rows), c.rows) << c.text;
    }
}

TEST(VZylRows, ManyEqualRowsComeWhole)
{
    QByteArray text = "{";
    for (int i = 0; i < 5000; ++i)
        text += "{ " + QByteArray::number(i) + ", -1, " + QByteArray::number(-i) + " },\n";
    TextSource source(text + "{ 7 } }");
    VZylRows rows;
    ASSERT_EQ(source.stream.read(rows), 5001);
    for (unsigned i = 0; i < 5000; ++i) {
        ASSERT_EQ(rows.length(i), 3u);
        ASSERT_EQ(rows.data(i)[0], int(i));
        ASSERT_EQ(rows.data(i)[2], -int(i));
    }
    EXPECT_EQ(rows.data(5000)[0], 7);

    TextTarget target;
    target.stream.write(rows);
    TextSource again(QByteArray::fromStdString(target.take()));
    VZylRows copy;
    ASSERT_EQ(again.stream.read(copy), 5001);
    EXPECT_EQ(copy.numbers, rows.numbers);
    EXPECT_EQ(copy.ends, rows.ends);
}

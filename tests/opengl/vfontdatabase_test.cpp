#include "opengl/vfontdatabase.h"

#include "opengl/fontpath.h"
#include "opengl/vfontface.h"
#include "support/testdata.h"
#include "support/text.h"
#include "support/warnings.h"

namespace
{
const QString blocksFile = testData("opengl/blocks.ttf");

/// Folders with the font under names of all kinds.
class FontFolders : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        const QDir root(folder.path());
        for (const char* const name : {"plain", "catalogue", "empty"})
            ASSERT_TRUE(root.mkdir(text(name)));
        ASSERT_TRUE(QFile::copy(blocksFile, at("plain/b.ttf")));
        ASSERT_TRUE(QFile::copy(testData("opengl/make_font.py"), at("plain/broken.ttf")));
        ASSERT_TRUE(QFile::copy(blocksFile, at("plain/b.txt")));
        ASSERT_TRUE(QFile::link(at("plain"), at("catalogue/first")));
    }
    QString at(const char* name) const { return folder.filePath(text(name)); }

    QTemporaryDir folder;
};
} // namespace

TEST_F(FontFolders, OfTheFontPathAreReadWithItsMarksAndCatalogues)
{
    const struct {
        QStringList path;
        QStringList folders;
        std::size_t fonts;
    } cases[] = {
        {{at("plain")}, {at("plain")}, 1},
        {{at("plain") + text(":unscaled"), at("plain")}, {at("plain")}, 1},
        {{text("catalogue:") + at("catalogue")}, {at("catalogue/first")}, 1},
        {{text("built-ins"), text("tcp/font:7100"), at("missing"), at("empty")}, {at("empty")}, 0},
        {{}, {}, 0},
    };
    for (const auto& one : cases) {
        const FontPath path(one.path);
        EXPECT_EQ(VFontDatabase::instance()->folders(), one.folders)
            << one.path.join(u' ').toStdString();
        EXPECT_EQ(VFontDatabase::instance()->fonts().size(), one.fonts);
    }
}

TEST_F(FontFolders, GiveAFontByItsFamilyInAnyCase)
{
    const FontPath path({at("plain")});
    VFontDatabase& database = *VFontDatabase::instance();
    VFontDatabase::Font font;
    ASSERT_TRUE(database.find(text("bLOCKS"), QString(), font));
    EXPECT_EQ(font.file, at("plain/b.ttf"));
    EXPECT_EQ(database.families(), QStringList(text("Blocks")));
    // Another font is better than none.
    ASSERT_TRUE(database.find(text("Nowhere"), text("Bold"), font));
    EXPECT_EQ(font.file, at("plain/b.ttf"));
    EXPECT_EQ(database.findFace(text("Blocks"), QString()), database.standardFace());
}

TEST(VFontDatabase, TellsOnceThatThereIsNoFont)
{
    const FontPath none;
    WarningCatcher warnings;
    VFontDatabase::Font font;
    EXPECT_FALSE(VFontDatabase::instance()->find(text("Blocks"), QString(), font));
    EXPECT_TRUE(warnings.isEmpty());
    EXPECT_FALSE(VFontDatabase::instance()->standardFace());
    EXPECT_FALSE(VFontDatabase::instance()->standardFace());
    EXPECT_EQ(warnings.text(), text("VFontDatabase::standardFace: No font found"));
}

TEST(VFontDatabase, SharesOpenFaces)
{
    VFontDatabase& database = *VFontDatabase::instance();
    const auto face = database.face(blocksFile);
    ASSERT_TRUE(face);
    EXPECT_EQ(database.face(blocksFile), face);
    EXPECT_FALSE(database.face(blocksFile, 1));
}

TEST(VFontDatabase, FindsWhatFontconfigKnows)
{
    VFontDatabase& database = *VFontDatabase::instance();
    ASSERT_TRUE(database.families().contains(text("DejaVu Sans")));
    VFontDatabase::Font plain, bold;
    ASSERT_TRUE(database.find(text("DejaVu Sans"), QString(), plain));
    ASSERT_TRUE(database.find(text("dejavu sans"), text("Bold"), bold));
    EXPECT_EQ(plain.family, text("DejaVu Sans"));
    EXPECT_EQ(plain.style, text("Book"));
    EXPECT_EQ(bold.style, text("Bold"));
    EXPECT_TRUE(database.standardFace());
}

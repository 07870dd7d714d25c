#include "opengl/vfontface.h"

#include "opengl/gltextglyph.h"
#include "support/testdata.h"

#include <qfile.h>

#include <memory>

using geometry::Vector2f;
using geometry::Vector3f;

namespace
{
std::shared_ptr<VFontFace> blocks()
{
    return VFontFace::open(testData("opengl/blocks.ttf"));
}

QByteArray blocksData()
{
    QFile file(testData("opengl/blocks.ttf"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

double triangleArea(const GL_Glyph::Shape& shape)
{
    double sum = 0;
    for (std::size_t i = 0; i < shape.triangles.size(); i += 3) {
        const Vector2f a = shape.points[shape.triangles[i]];
        const Vector2f b = shape.points[shape.triangles[i + 1]] - a;
        const Vector2f c = shape.points[shape.triangles[i + 2]] - a;
        const double area = 0.5 * (b.x * c.y - b.y * c.x);
        EXPECT_GE(area, 0) << "triangle " << i / 3;
        sum += area;
    }
    return sum;
}

/// By the divergence theorem: right only if the triangles are closed and face outward.
double volume(const GL_Glyph::Solid& solid)
{
    double sum = 0;
    for (std::size_t i = 0; i < solid.triangles.size(); i += 3) {
        Vector3f p[3];
        for (std::size_t k = 0; k < 3; ++k)
            p[k] = solid.vertices[solid.triangles[i + k]].point;
        sum += dot(p[0], cross(p[1], p[2])) / 6;
    }
    return sum;
}
} // namespace

TEST(VFontFace, TellsItsMeasuresInEms)
{
    const auto face = blocks();
    ASSERT_TRUE(face);
    EXPECT_EQ(face->family().toStdString(), "Blocks");
    EXPECT_EQ(face->style().toStdString(), "Regular");
    EXPECT_EQ(face->count(), 1);
    EXPECT_FLOAT_EQ(face->ascent(), 0.8f);
    EXPECT_FLOAT_EQ(face->descent(), -0.2f);
    EXPECT_FLOAT_EQ(face->lineHeight(), 1.1f);
    EXPECT_FLOAT_EQ(face->glyph(5).advance(), 0.3f);
    EXPECT_FLOAT_EQ(face->kerning(2, 5), -0.05f);
    EXPECT_EQ(face->kerning(5, 2), 0);
    EXPECT_EQ(face->glyphIndex(U'A'), 2u);
    EXPECT_EQ(face->glyphIndex(0x1F600), 6u);
    EXPECT_EQ(face->glyphIndex(U'B'), 0u);
    EXPECT_TRUE(face->glyph(1).isBlank());
    EXPECT_TRUE(face->glyph(2).bounds() == geometry::Box2f(0.1f, 0, 0.5f, 0.4f));
}

TEST(VFontFace, HasBlanksForGlyphsBeyondItsLast)
{
    EXPECT_TRUE(blocks()->glyph(1000000).isBlank());
}

TEST(VFontFace, IsNullForWhatIsNoFont)
{
    EXPECT_FALSE(VFontFace::open(testData("opengl/make_font.py")));
    EXPECT_FALSE(VFontFace::open(testData("opengl/missing.ttf")));
    EXPECT_FALSE(VFontFace::open(testData("opengl")));
    EXPECT_FALSE(VFontFace::open(QStringLiteral("/dev/zero")));
    EXPECT_FALSE(VFontFace::open(testData("opengl/blocks.ttf"), 1));
    EXPECT_FALSE(VFontFace::open(testData("opengl/blocks.ttf"), -1));
    EXPECT_FALSE(VFontFace::fromData(QByteArray()));
}

TEST(VFontFace, SurvivesFontsCutShort)
{
    const QByteArray data = blocksData();
    for (qsizetype size = 0; size < data.size(); size += 7)
        if (const auto face = VFontFace::fromData(data.left(size)))
            for (unsigned index = 0; index < 8; ++index)
                triangleArea(face->glyph(index).shape(4));
}

// Shapes

struct GlyphArea {
    unsigned glyph;
    int steps;
    double area;
    bool isOriented;
};

TEST(GLGlyph, CoversTheInsideOfItsOutlinesOnce)
{
    // A parabola's segment has two thirds of the triangle of its control points, and n lines of
    // equal steps leave out one part in n * n of it.
    const double straight = 0.16, curved = 2 * 2.0 / 3 * 0.08;
    const GlyphArea cases[] = {
        {0, 4, 0.1, true},  // a triangle
        {1, 4, 0, false},   // a blank
        {2, 4, 0.16, true}, // a square
        {3, 4, 0.32, true}, // with a hole
        {4, 1, straight + curved * (1 - 1.0 / 4), true},
        {4, 4, straight + curved * (1 - 1.0 / 16), true},
        {4, 1000, straight + curved * (1 - 1.0 / 1024), true}, // as many as there may be
        {4, -5, straight + curved * (1 - 1.0 / 4), true},
        {7, 4, 0.11, false}, // the crossing counts once
    };
    const auto face = blocks();
    for (const GlyphArea& one : cases) {
        const GL_Glyph::Shape& shape = face->glyph(one.glyph).shape(one.steps);
        EXPECT_NEAR(triangleArea(shape), one.area, 1e-6) << one.glyph << ' ' << one.steps;
        EXPECT_EQ(shape.isOriented, one.isOriented) << one.glyph;
    }
}

TEST(GLGlyph, TakesOutlinesThatRunEitherWay)
{
    for (const bool isReversed : {false, true}) {
        geometry::GeneralPath2f path;
        path.setWindingRule(geometry::NonZeroRule);
        const float corners[][2] = {{0, 0}, {1, 0}, {1, 2}};
        path.moveTo(corners[0]);
        path.lineTo(corners[1]);
        path.lineTo(corners[2]);
        path.closePath();
        if (isReversed)
            path.reverse();
        const GL_Glyph glyph(path, 1);
        EXPECT_NEAR(triangleArea(glyph.shape(1)), 1, 1e-6);
        EXPECT_NEAR(volume(glyph.solid(1)), 1, 1e-6);
    }
}

TEST(GLGlyph, ATurnedIslandIsNotOriented)
{
    geometry::GeneralPath2f path;
    path.setWindingRule(geometry::NonZeroRule);
    const float corners[][2] = {{0, 0}, {2, 0}, {2, 2}, {5, 0}, {5, 1}, {6, 0}};
    for (int i = 0; i < 6; ++i)
        i % 3 == 0 ? path.moveTo(corners[i]) : path.lineTo(corners[i]);
    EXPECT_FALSE(GL_Glyph(path, 1).shape(1).isOriented);
}

TEST(GLGlyph, SolidsAreClosedAndFaceOutward)
{
    const auto face = blocks();
    EXPECT_NEAR(volume(face->glyph(2).solid(4)), 0.16, 1e-6);
    EXPECT_NEAR(volume(face->glyph(3).solid(4)), 0.32, 1e-6);
    EXPECT_NEAR(volume(face->glyph(4).solid(2)), 0.24, 1e-6);
    EXPECT_TRUE(face->glyph(1).solid(4).triangles.empty());
}

TEST(GLGlyph, WallsAreSmoothAlongCurvesAlone)
{
    const auto face = blocks();
    for (const auto& vertex : face->glyph(2).solid(4).vertices) {
        const Vector3f n = vertex.normal;
        EXPECT_EQ(std::abs(n.x) + std::abs(n.y) + std::abs(n.z), 1) << n.x << ' ' << n.y;
    }
    // At the tip of the half disk the two curves meet in an upright tangent.
    bool found = false;
    for (const auto& vertex : face->glyph(4).solid(16).vertices) {
        if (vertex.normal.z != 0 || vertex.point.x != 0.4f || vertex.point.y != 0.4f)
            continue;
        found = true;
        EXPECT_NEAR(vertex.normal.x, 1, 1e-5);
        EXPECT_NEAR(vertex.normal.y, 0, 1e-5);
    }
    EXPECT_TRUE(found);
}

// Pictures

TEST(VFontFace, DrawsPicturesOfWholePixels)
{
    const auto face = blocks();
    VFontFace::Picture picture;
    ASSERT_TRUE(face->picture(2, 10, 100, picture)); // from (1, 0) to (5, 4)
    EXPECT_EQ(picture.width, 4);
    EXPECT_EQ(picture.height, 4);
    EXPECT_EQ(picture.left, 1);
    EXPECT_EQ(picture.top, 4);
    EXPECT_EQ(picture.coverage, std::vector<unsigned char>(16, 255));
    ASSERT_TRUE(face->picture(3, 5, 100, picture)); // three pixels with a hole in the middle
    const std::vector<unsigned char> ring = {255, 255, 255, 255, 0, 255, 255, 255, 255};
    EXPECT_EQ(picture.coverage, ring);
    EXPECT_FALSE(face->picture(1, 10, 100, picture)) << "a blank";
    EXPECT_FALSE(face->picture(6, 101, 100, picture)) << "too large";
}

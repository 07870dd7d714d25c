#include "geometry/zylgeneralpath.h"
#include "geometry/zylline.h"
#include "geometry/zylpathdecomposer.h"
#include "geometry/zylrectangle.h"
#include "geometry/zylvectorarray.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <qbytearray.h>
#include <qdatastream.h>
#include <qiodevice.h>

#include <memory>
#include <sstream>

using namespace geometry;

namespace
{
/// A path from a text such as "M0,0 L4,0 Q4,4,0,4 Z"; `Bn:` is a curve of degree n.
GeneralPath2f parse(const std::string& text)
{
    GeneralPath2f path;
    std::istringstream in(text);
    for (std::string word; in >> word;) {
        std::vector<float> c;
        std::istringstream numbers(word.substr(1));
        for (std::string number; std::getline(numbers, number, ',');)
            c.push_back(std::stof(number));
        switch (word[0]) {
        case 'M':
            path.moveTo(c.data());
            break;
        case 'L':
            path.lineTo(c.data());
            break;
        case 'Q':
            path.quadTo(c.data(), c.data() + 2);
            break;
        case 'C':
            path.cubicTo(c.data(), c.data() + 2, c.data() + 4);
            break;
        case 'B':
            path.curveTo(c.data(), int(c.size()) / 2);
            break;
        default:
            path.closePath();
        }
    }
    return path;
}

/// The text of a path, read through its iterator.
std::string textOf(const GeneralPath& path, unsigned dimension = 2)
{
    std::ostringstream out;
    GeneralPathIterator i(path);
    for (; !i.isDone(); i.next()) {
        std::vector<float> c(1024);
        const int type = i.currentSegment(c.data(), dimension);
        EXPECT_EQ(type, i.currentType());
        out << (out.tellp() > 0 ? " " : "") << (type == -1 ? 'Z' : "MLQCB"[std::min(type, 4)]);
        const unsigned count = unsigned(GeneralPath::pointCount(type)) * dimension;
        for (unsigned k = 0; k < count; ++k)
            out << (k ? "," : "") << c[k];
    }
    EXPECT_EQ(i.currentType(), -1);
    return out.str();
}

QByteArray streamed(const GeneralPath& path)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << path;
    return bytes;
}

bool read(const QByteArray& bytes, GeneralPath& path)
{
    QDataStream stream(bytes);
    stream >> path;
    return stream.status() == QDataStream::Ok;
}
} // namespace

struct Built {
    const char *told, *kept;
};
class PathBuilding : public testing::TestWithParam<Built>
{
};
TEST_P(PathBuilding, KeepsOnlyWhatCounts)
{
    EXPECT_EQ(textOf(parse(GetParam().told)), GetParam().kept);
}
INSTANTIATE_TEST_SUITE_P(
    Repeats, PathBuilding,
    testing::Values(Built{"M1,1 M2,2 L3,3", "M2,2 L3,3"}, Built{"M1,1 L2,2 L2,2", "M1,1 L2,2"},
                    Built{"M1,1 L1,1 L1,1", "M1,1 L1,1"}, // a line after a move stays
                    Built{"M1,1 Q0,0,2,2 L2,2", "M1,1 Q0,0,2,2 L2,2"},
                    Built{"M1,1 L2,2 L0,0 L-0,0", "M1,1 L2,2 L0,0 L-0,0"}, // other bytes
                    Built{"M1,1 L2,2 Z Z L2,2", "M1,1 L2,2 Z L2,2"},
                    Built{"B1,1,2,2,3,3,4,4,5,5", "B1,1,2,2,3,3,4,4,5,5"}, Built{"", ""}));

struct Appended {
    const char *path, *other;
    bool connect;
    const char* result;
};
class PathAppending : public testing::TestWithParam<Appended>
{
};
TEST_P(PathAppending, JoinsAtTheFirstMoveOnly)
{
    GeneralPath2f path = parse(GetParam().path);
    const GeneralPath2f other = parse(GetParam().other);
    path.append(static_cast<const Shape2f&>(other), GetParam().connect);
    EXPECT_EQ(textOf(path), GetParam().result);
}
INSTANTIATE_TEST_SUITE_P(
    Connections, PathAppending,
    testing::Values(Appended{"M0,0 L1,1", "M2,2 L3,3 M4,4", true, "M0,0 L1,1 L2,2 L3,3 M4,4"},
                    Appended{"M0,0 L1,1", "M1,1 L3,3", true, "M0,0 L1,1 L3,3"},
                    Appended{"M0,0 L1,1", "M1,1 L3,3", false, "M0,0 L1,1 M1,1 L3,3"},
                    Appended{"", "M2,2 L3,3", true, "M2,2 L3,3"},
                    Appended{"M0,0 L1,1 Z", "M2,2 L3,3", true, "M0,0 L1,1 Z M2,2 L3,3"},
                    Appended{"M5,5", "M0,0 Q1,1,2,2 Z", true, "M5,5 L0,0 Q1,1,2,2 Z"}));

TEST(GeneralPath, FillsCoordinatesThatAShapeLacks)
{
    GeneralPath3f solid;
    solid.append(Line2f(1, 2, 3, 4), false);
    EXPECT_EQ(textOf(solid, 3), "M1,2,0 L3,4,0");
    GeneralPath2f flat;
    flat.append(Line3f(1, 2, 3, 4, 5, 6), false);
    EXPECT_EQ(textOf(flat), "M1,2 L4,5");
    EXPECT_EQ(textOf(flat, 3), "M1,2,0 L4,5,0") << "left as the caller had it";
}

TEST(GeneralPath, AppendsItselfOnce)
{
    GeneralPath2f path = parse("M0,0 L1,1");
    path.append(static_cast<const Shape2f&>(path), false);
    EXPECT_EQ(textOf(path), "M0,0 L1,1 M0,0 L1,1");
    const auto* first = reinterpret_cast<const float*>(path.vertices.data());
    path.cubicTo(first, first + 2, first); // its own points, which move as it grows
    EXPECT_EQ(textOf(path), "M0,0 L1,1 M0,0 L1,1 C0,0,1,1,0,0");
}

TEST(GeneralPath, ChangesLeaveACopyAlone)
{
    GeneralPath2f path = parse("M0,0 L1,1");
    const GeneralPath2f copy = path;
    path.closePath();
    path.reverse();
    path.setWindingRule(NonZeroRule);
    EXPECT_EQ(textOf(copy), "M0,0 L1,1");
    EXPECT_EQ(copy.vertices.flags(), 0x20002u);
    EXPECT_EQ(path.vertices.flags(), 0x20006u);
}

class PathReversal : public testing::TestWithParam<Built>
{
};
TEST_P(PathReversal, TurnsSubpathsRound)
{
    GeneralPath2f path = parse(GetParam().told);
    path.reverse();
    EXPECT_EQ(textOf(path), GetParam().kept);
}
INSTANTIATE_TEST_SUITE_P(Paths, PathReversal,
                         testing::Values(Built{"M0,0 L1,1 Q2,2,3,3", "M3,3 Q2,2,1,1 L0,0"},
                                         Built{"M0,0 L1,1 L2,2 Z", "M2,2 L1,1 L0,0 Z"},
                                         Built{"M0,0 L1,1 Z M5,5 C6,6,7,7,8,8",
                                               "M8,8 C7,7,6,6,5,5 M1,1 L0,0 Z"},
                                         Built{"L1,1 L2,2", "L2,2 L1,1"}));

TEST(GeneralPath, BoundsDivideWeightedPoints)
{
    GeneralPath3f path;
    const float points[] = {2, 4, 2, -3, 6, 3};
    path.moveTo(points);
    path.lineTo(points + 3);
    EXPECT_EQ(path.bounds(), Box3f(-3, 4, 2, 2, 6, 3));
    Box2f flat;
    path.GeneralPath::bounds(flat);
    EXPECT_EQ(flat, Box2f(-3, 4, 2, 6));
    path.vertices.setFlags(path.vertices.flags() | GVector::homogeneous);
    path.GeneralPath::bounds(flat);
    EXPECT_EQ(flat, Box2f(-1, 2, 1, 2));
    EXPECT_EQ(path.bounds(), Box3f(-1, 2, 0, 1, 2, 0));
    EXPECT_TRUE(GeneralPath3f().bounds().isEmpty());
}

TEST(GeneralPath, RefusesDegreesThatNoByteHolds)
{
    GeneralPath2f path;
    const std::vector<float> points(600);
    for (const int degree : {0, -1, 255}) {
        WarningCatcher warnings;
        path.curveTo(points.data(), degree);
        EXPECT_EQ(warnings.text(),
                  QStringLiteral("GeneralPath::curveTo: Degree %1 out of range").arg(degree));
    }
    EXPECT_TRUE(path.types.isEmpty());
    path.curveTo(points.data(), 254);
    EXPECT_EQ(GeneralPathIterator(path).currentType(), 254);
}

TEST(GeneralPath, TypesWithoutPointsAreNoPath)
{
    GeneralPath2f path = parse("M0,0 L4,0 L4,4 L0,4 Z");
    ASSERT_TRUE(path.contains(Vector2f(1, 1)));
    path.vertices.resize(3);
    EXPECT_FALSE(path.contains(Vector2f(1, 0.5f)));
    EXPECT_FALSE(path.contains(Box2f(1, 1, 2, 2)));
    EXPECT_FALSE(path.intersects(Box2f(1, 1, 1.5f, 1.5f)));
    WarningCatcher warnings;
    GeneralPathIterator i(path);
    i.next();
    i.next();
    i.next();
    float coords[2] = {7, 7};
    EXPECT_EQ(i.currentSegment(coords, 2), -1);
    EXPECT_EQ(coords[0], 7);
    EXPECT_EQ(warnings.text(), QStringLiteral("VGArray::at: Absolute index 3 out of range"));
    PathDecomposer::decompose(
        path, [](const auto&, const char*, const void*, void*) {}, nullptr);
    EXPECT_EQ(warnings.text(), QStringLiteral("VGArray::at: Absolute index 3 out of range"));
}

TEST(GeneralPath, ContainsNothingWithACoordinateThatIsNoNumber)
{
    for (const float odd : {NAN, INFINITY}) {
        GeneralPath2f path = parse("M0,0 L4,0 L4,4 L0,4");
        const float p[] = {odd, 2};
        path.lineTo(p);
        EXPECT_FALSE(path.contains(Vector2f(1, 1)));
        EXPECT_FALSE(path.contains(Box2f(1, 1, 2, 2)));
        EXPECT_FALSE(parse("M0,0 L4,0 L4,4 L0,4").contains(Vector2f(1, odd)));
    }
}

TEST(PathDecomposer, ClosesWithALineWhereThereIsAWayToGo)
{
    struct Calls {
        const GeneralPath* path;
        std::string text;
    };
    const auto collect = [](const VectorBuffer& points, const char* type, const void* vertex,
                            void* data) {
        Calls& calls = *static_cast<Calls*>(data);
        std::ostringstream out;
        out << int(static_cast<unsigned char>(*type)) << '@'
            << (static_cast<const char*>(vertex) - calls.path->vertices.data()) / 8 << ':';
        for (unsigned i = 0; i < points.count(); ++i) {
            const auto* p = reinterpret_cast<const float*>(points.at(i));
            out << ' ' << p[0] << ',' << p[1];
        }
        calls.text += out.str() + "; ";
    };
    const GeneralPath2f path = parse("L1,0 M2,0 L3,0 L3,3 Z L2,1 M5,5 L6,6 L5,5 Z");
    Calls calls{&path, {}};
    PathDecomposer::decompose(path, collect, &calls);
    EXPECT_EQ(calls.text, "1@0: 0,0 1,0; 1@2: 2,0 3,0; 1@3: 3,0 3,3; 255@4: 3,3 2,0; "
                          "1@4: 2,0 2,1; 1@6: 5,5 6,6; 1@7: 6,6 5,5; ");
}

TEST(GeneralPath, StreamsVerticesThenTypes)
{
    GeneralPath2f path = parse("M1,0 L0,2 Z");
    path.setWindingRule(NonZeroRule);
    const QByteArray bytes = streamed(path);
    EXPECT_EQ(quint8(bytes[0]), 0x70);
    EXPECT_EQ(quint8(bytes[1]), 0x04) << "the vertices are an octet string";
    EXPECT_EQ(bytes.right(5).toHex(), QByteArray("04030001ff"));
    GeneralPath3f again;
    ASSERT_TRUE(read(bytes, again));
    EXPECT_EQ(textOf(again), "M1,0 L0,2 Z");
    EXPECT_EQ(again.vertices.flags(), 0x20006u);
}

TEST(GeneralPath, LeavesThePathAloneOverABadForm)
{
    const QByteArray good = streamed(parse("M1,0 L0,2 Z"));
    GeneralPath2f path = parse("M5,5 L6,6");
    QByteArray tooManyTypes = good;
    tooManyTypes[tooManyTypes.size() - 1] = 1;
    QByteArray otherTag = good;
    otherTag[0] = 0x71;
    GeneralPath2f flat;
    flat.vertices.setDimension(1);
    for (const QByteArray& bytes : {tooManyTypes, otherTag, streamed(flat)})
        EXPECT_FALSE(read(bytes, path));
    for (qsizetype size = 0; size < good.size(); ++size)
        EXPECT_FALSE(read(good.left(size), path)) << "cut at " << size;
    EXPECT_EQ(textOf(path), "M5,5 L6,6");
}

// The inside tests of paths against those of QPainterPath on the same path.

#include "geometry/zylbox.h"
#include "geometry/zylgeneralpath.h"

#include "ratio.h"

#include <qpainterpath.h>

#include <cmath>
#include <random>

using namespace geometry;

namespace
{
struct BothPaths {
    GeneralPath2f ours;
    QPainterPath theirs;

    void move(const Vector2f& p)
    {
        ours.moveTo(&p.x);
        theirs.moveTo(p.x, p.y);
    }
    void line(const Vector2f& p)
    {
        ours.lineTo(&p.x);
        theirs.lineTo(p.x, p.y);
    }
    void cubic(const Vector2f& c1, const Vector2f& c2, const Vector2f& p)
    {
        ours.cubicTo(&c1.x, &c2.x, &p.x);
        theirs.cubicTo(c1.x, c1.y, c2.x, c2.y, p.x, p.y);
    }
    void close()
    {
        ours.closePath();
        theirs.closeSubpath();
    }
};

Vector2f onCircle(double turn, double radius)
{
    const double a = turn * 6.283185307179586;
    return Vector2f(float(std::cos(a) * radius), float(std::sin(a) * radius));
}

/// A wavy outline about the origin, of a radius between 6 and 10.
void addOutline(BothPaths& both, int segments, bool curved)
{
    const auto radius = [&](double i) { return 8 + 2 * std::sin(i * 1.7) * std::cos(i * 0.31); };
    both.move(onCircle(0, radius(0)));
    for (int i = 1; i < segments; ++i) {
        const Vector2f p = onCircle(double(i) / segments, radius(i));
        if (curved)
            both.cubic(onCircle((i - 0.7) / segments, radius(i - 0.7) + 0.5),
                       onCircle((i - 0.3) / segments, radius(i - 0.3) - 0.5), p);
        else
            both.line(p);
    }
    both.close();
}

/// Edges from anywhere to anywhere.
void addTangle(BothPaths& both, int segments)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> place(-10, 10);
    both.move(Vector2f(place(random), place(random)));
    for (int i = 1; i < segments; ++i)
        both.line(Vector2f(place(random), place(random)));
    both.close();
}

void compareAll(const std::string& name, const BothPaths& both, int segments)
{
    std::vector<Vector2f> places;
    std::mt19937 random(11);
    std::uniform_real_distribution<float> place(-11, 11);
    for (int i = 0; i < 64; ++i)
        places.emplace_back(place(random), place(random));
    const std::string size = name + "/" + std::to_string(segments);
    const bool warm = both.theirs.contains(QPointF(0, 0)); // lets it find its bounds
    bench::keep(warm);
    std::size_t i = 0, k = 0;
    bench::compare(
        "contains/" + size, 0.5, [&] { bench::keep(both.ours.contains(places[i++ % 64])); },
        [&] {
            const Vector2f& p = places[k++ % 64];
            bench::keep(both.theirs.contains(QPointF(p.x, p.y)));
        });
    i = k = 0;
    bench::compare(
        "intersects/" + size, 0.5,
        [&] {
            const Vector2f& p = places[i++ % 64];
            bench::keep(both.ours.intersects(Box2f(p, p + Vector2f(1.5f, 1))));
        },
        [&] {
            const Vector2f& p = places[k++ % 64];
            bench::keep(both.theirs.intersects(QRectF(p.x, p.y, 1.5, 1)));
        });
}
} // namespace

int main()
{
    for (const int segments : {10, 100, 10000}) {
        BothPaths outline, curves, tangle;
        addOutline(outline, segments, false);
        addOutline(curves, segments, true);
        addTangle(tangle, segments);
        compareAll("outline", outline, segments);
        compareAll("curves", curves, segments);
        compareAll("tangle", tangle, segments);
    }
    return 0;
}

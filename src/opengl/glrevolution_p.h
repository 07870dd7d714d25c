#pragma once

#include <qglobal.h>

/// Draws a filled surface of revolution about the z axis: the vertices, normals and texture
/// coordinates of GLU's quadrics, by a table of sines and vertex arrays, in less time.
///
/// The surface is a grid of rows, each a circle of `columns` + 1 points, clockwise seen from above.
/// It faces outward where its rows go up, and up where they go inward.
class GL_Revolution
{
public:
    struct Row {
        double radius;
        double z;
        double normalRadius; // the normal's part away from the axis
        double normalZ;
        double t; // the texture's second coordinate; of `Plane`, the radius in the texture
    };
    enum Texture { None, Around, Plane };
    /// Which corners of a cell its diagonal joins, which shows where a cell isn't even, and in flat
    /// shading. `Whole` cells show no diagonal where polygons are drawn as lines.
    enum Cells { Rising, Falling, Whole };

    /// `inside` turns the surface over. Angles are degrees from the y axis on, towards growing x.
    GL_Revolution(int columns, Texture texture, bool inside, double startAngle = 0,
                  double sweepAngle = 360);

    /// Draws the rows that `rowAt` tells, by their indices in any order.
    template <class F>
    void draw(int rows, F rowAt, Cells cells = Rising)
    {
        for (int i = 0; i < rows; ++i) {
            const Row row = rowAt(m_inside ? rows - 1 - i : i);
            add(row);
            if (isFull()) {
                flush(cells);
                add(row);
            }
        }
        flush(cells);
    }
    // Counts as they are drawn, whatever a file says.
    static int around(int count) { return qBound(3, count, 1000); }
    static int along(int count, int least) { return qBound(least, count, 1000); }

private:
    void add(const Row& row);
    bool isFull() const;
    void flush(Cells cells);
    void drawTriangles(Cells cells) const;
    void drawStrips() const;

    int m_columns;
    Texture m_texture;
    bool m_inside;
    int m_rows = 0; // so far
};

#pragma once

#include <qglobal.h>

#include <queue>
#include <unordered_map>
#include <vector>

namespace geometry
{
/// A vertex that crossing outlines make: the mean of the ends of both edges, by weights.
struct ContourCrossing {
    int source[4]; // vertices of a smaller index
    float weight[4];
};

/// Cuts the inside of closed outlines into triangles by moving a line over them.
///
/// The points lie on a grid of 2^29 steps, on which every question of side has an exact answer. A
/// sweep keeps the edges that the line meets in order. Between two of them that have the inside
/// between them it keeps a chain of vertices: the border of what is not cut yet, all of whose inner
/// vertices bend away from the line. So each vertex that the line comes to sees one end of a chain,
/// all of it, or the vertex that was met last, and is joined by triangles.
///
/// A vertex on an edge, and edges one upon the other, are taken apart as the line meets them. Where
/// edges cross, the crossing is put on the grid and both edges are bent to it; that may make them
/// cross others, so that the sweep is repeated over all pieces until one of them finds nothing.
/// Each takes O(n log n) for n pieces.
class ContourSweep
{
public:
    struct Point {
        quint64 key; // x in the upper half, y in the lower: the order in which the line meets them
        int vertex;
    };

    static constexpr int gridBits = 29;
    static constexpr quint64 gridKey(qint64 x, qint64 y) { return quint64(x) << 32 | quint64(y); }
    static qint64 x(quint64 key) { return qint64(key >> 32); }
    static qint64 y(quint64 key) { return qint64(key & 0xffffffff); }

    void clear();
    /// Adds a point; its number is the vertex's.
    void addPoint(qint64 x, qint64 y) { m_input.push_back({gridKey(x, y), int(m_input.size())}); }
    void addEdge(int from, int to) { m_edges.push_back({from, to, 1, -1}); }

    /// False where there are too many crossings, or crossings that the grid is too coarse for.
    bool run(bool oddRule);

    const std::vector<int>& triangles() const { return m_triangles; }
    std::vector<int>& triangles() { return m_triangles; }
    const std::vector<ContourCrossing>& crossings() const { return m_crossings; }
    /// Where the crossings are on the grid.
    const std::vector<std::pair<double, double>>& crossingPoints() const
    {
        return m_crossingPoints;
    }

private:
    struct Edge {
        int left, right; // nodes
        int winding;     // what the crossing from below to above adds
        int nextOut;     // of the edges that start at a node
    };
    struct Node {
        quint64 key;
        int vertex;
        int out = -1;    // the first edge that starts here
        int in = -1;     // a slot that holds an edge that ends here, if any is known
        int inCount = 0; // how many end here
    };
    struct Chain {
        int first = -1, last = -1; // links, from the lower end to the upper
        int helper = -1;           // the link of the vertex met last
    };
    struct Link {
        int node;
        int previous, next;
    };
    /// An edge that the line meets, with what lies above it.
    struct Slot {
        qint32 x, y, dx, dy;
        int right; // node
        int edge;
        int winding; // of the region above
        int below, above;
        int parent;
        int kid[2];
        quint32 priority;
        Chain chain;
    };
    struct LaterSplit {
        int edge, node;
    };
    enum class Verdict { Done, Again, Failed };

    bool isInside(int winding) const { return m_oddRule ? winding & 1 : winding != 0; }
    bool isNothing(int winding) const { return m_oddRule ? !(winding & 1) : winding == 0; }
    qint64 side(const Slot& slot, quint64 key) const;
    qint64 turn(int a, int b, int c) const;

    void makeNodes();
    Verdict pass();
    void collect(bool bordersOnly);
    void coarsen();

    void event(int node);
    void takeOuts(int node);
    int find(int node, bool& isOn) const;
    void split(int slot, int node);
    void put(int slot, int edge, int winding);
    void check(int below, int above, int node);
    void cross(int below, int above, int node);
    int nodeAt(quint64 key, const Slot& a, const Slot& b, double ta, double tb);

    int newSlot();
    void insertAbove(int below, int slot);
    void remove(int slot);
    void rotate(int slot);
    int& kidOf(int parent, int slot);

    int newLink(int node, int previous, int next);
    void emit(int a, int b, int c);
    void extendUpper(Chain& chain, int node);
    void extendLower(Chain& chain, int node);
    void close(const Chain& chain, int node);
    Chain cut(Chain& chain, int node);

    std::vector<Point> m_input, m_sortSpace;
    std::vector<Edge> m_edges;
    std::vector<Node> m_nodes;
    std::vector<Slot> m_slots;
    std::vector<int> m_freeSlots;
    std::vector<Link> m_links;
    std::vector<int> m_outs;
    std::vector<signed char> m_border; // by edge: 1 with the inside above, -1 below, 0 none
    std::vector<LaterSplit> m_laterSplits;
    std::vector<int> m_triangles;
    std::vector<ContourCrossing> m_crossings;
    std::vector<std::pair<double, double>> m_crossingPoints;
    std::priority_queue<std::pair<quint64, int>, std::vector<std::pair<quint64, int>>,
                        std::greater<>>
        m_newEvents;
    std::unordered_map<quint64, int> m_newNodes;
    std::size_t m_sortedNodes = 0; // the nodes before are in order
    int m_root = -1;
    int m_lowest = -1;
    quint32 m_random = 1;
    int m_shift = 0; // how much coarser than at first the grid is
    bool m_oddRule = true;
    bool m_isDirty = false;  // crossings were found
    bool m_isCutting = true; // triangles are made
    bool m_failed = false;
};
} // namespace geometry

#include "geometry/zylcontoursweep_p.h"

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
constexpr std::size_t mostCrossings = 1u << 20;
constexpr int passesOnOneGrid = 4;
constexpr int coarserBits = 2;
constexpr int leastBits = 11; // a grid coarser than this one shows

/// Sorts by the key, byte pairs from the last to the first: long outlines are sorted in the time of
/// a few copies.
void sortPoints(std::vector<ContourSweep::Point>& points, std::vector<ContourSweep::Point>& space)
{
    const auto isBefore = [](const auto& a, const auto& b) {
        return a.key != b.key ? a.key < b.key : a.vertex < b.vertex;
    };
    constexpr std::size_t few = 512;
    if (points.size() < few) {
        std::sort(points.begin(), points.end(), isBefore);
        return;
    }
    constexpr int bits = 10;
    constexpr quint64 mask = (1u << bits) - 1;
    space.resize(points.size());
    for (int half = 0; half < 2; ++half) {
        for (int digit = 0; digit < 3; ++digit) {
            const int shift = half * 32 + digit * bits;
            std::size_t starts[1u << bits] = {};
            for (const auto& point : points)
                ++starts[point.key >> shift & mask];
            std::size_t sum = 0;
            for (std::size_t& start : starts)
                sum += std::exchange(start, sum);
            for (const auto& point : points)
                space[starts[point.key >> shift & mask]++] = point;
            points.swap(space);
        }
    }
}
} // namespace

void ContourSweep::clear()
{
    m_input.clear();
    m_edges.clear();
    m_triangles.clear();
    m_crossings.clear();
    m_crossingPoints.clear();
}

/// Positive for a point above the edge, 0 on its line.
qint64 ContourSweep::side(const Slot& slot, quint64 key) const
{
    return slot.dx * (y(key) - slot.y) - slot.dy * (x(key) - slot.x);
}

/// Positive for a turn to the left.
qint64 ContourSweep::turn(int a, int b, int c) const
{
    const quint64 ka = m_nodes[std::size_t(a)].key, kb = m_nodes[std::size_t(b)].key,
                  kc = m_nodes[std::size_t(c)].key;
    return (x(kb) - x(ka)) * (y(kc) - y(ka)) - (y(kb) - y(ka)) * (x(kc) - x(ka));
}

bool ContourSweep::run(bool oddRule)
{
    m_oddRule = oddRule;
    m_shift = 0;
    m_failed = false;
    for (int count = 0;; ++count) {
        if (count > 0 && count % passesOnOneGrid == 0) {
            if (gridBits - m_shift - coarserBits < leastBits)
                break;
            coarsen();
        }
        const Verdict verdict = pass();
        if (verdict == Verdict::Done)
            return true;
        if (verdict == Verdict::Failed)
            break;
    }
    m_triangles.clear();
    return false;
}

/// Makes one node of the points of one place, in the order of the sweep, and lets the edges know.
void ContourSweep::makeNodes()
{
    sortPoints(m_input, m_sortSpace);
    m_nodes.clear();
    std::vector<int>& nodeOf = m_outs; // free between two passes
    nodeOf.assign(m_input.size(), 0);
    // Edges name points by their place before the sorting, which is the number of their vertex at
    // first, and afterwards stands in the input as well.
    for (const Point& point : m_input) {
        if (m_nodes.empty() || m_nodes.back().key != point.key) {
            m_nodes.push_back({point.key, point.vertex});
        }
        nodeOf[std::size_t(point.vertex)] = int(m_nodes.size()) - 1;
    }
    std::size_t kept = 0;
    for (const Edge& edge : m_edges) {
        Edge moved = {nodeOf[std::size_t(edge.left)], nodeOf[std::size_t(edge.right)], edge.winding,
                      -1};
        if (moved.left == moved.right)
            continue;
        if (moved.left > moved.right) {
            std::swap(moved.left, moved.right);
            moved.winding = -moved.winding;
        }
        Node& left = m_nodes[std::size_t(moved.left)];
        moved.nextOut = std::exchange(left.out, int(kept));
        ++m_nodes[std::size_t(moved.right)].inCount;
        m_edges[kept++] = moved;
    }
    m_edges.resize(kept);
    m_sortedNodes = m_nodes.size();
}

ContourSweep::Verdict ContourSweep::pass()
{
    makeNodes();
    m_slots.clear();
    m_freeSlots.clear();
    m_links.clear();
    m_triangles.clear();
    m_laterSplits.clear();
    m_newNodes.clear();
    m_border.assign(m_edges.size(), 0);
    m_root = m_lowest = -1;
    m_isDirty = false;
    m_isCutting = true;

    for (std::size_t next = 0; !m_failed;) {
        const bool hasNew = !m_newEvents.empty();
        if (next == m_sortedNodes && !hasNew)
            break;
        if (hasNew && (next == m_sortedNodes || m_newEvents.top().first < m_nodes[next].key)) {
            const int node = m_newEvents.top().second;
            m_newEvents.pop();
            event(node);
        } else {
            event(int(next++));
        }
    }
    m_newEvents = {};
    if (m_failed)
        return Verdict::Failed;
    if (m_root >= 0)
        m_isDirty = true; // an edge whose end was passed out of order
    if (!m_isDirty && m_isCutting)
        return Verdict::Done;
    collect(!m_isDirty);
    return Verdict::Again;
}

/// Makes the pieces of this sweep the input of the next.
void ContourSweep::collect(bool bordersOnly)
{
    std::sort(m_laterSplits.begin(), m_laterSplits.end(), [this](const auto& a, const auto& b) {
        return a.edge != b.edge
                   ? a.edge < b.edge
                   : m_nodes[std::size_t(a.node)].key > m_nodes[std::size_t(b.node)].key;
    });
    for (const LaterSplit& later : m_laterSplits) {
        Edge& edge = m_edges[std::size_t(later.edge)];
        const auto keyOf = [this](int node) { return m_nodes[std::size_t(node)].key; };
        if (keyOf(edge.left) < keyOf(later.node) && keyOf(later.node) < keyOf(edge.right)) {
            const Edge rest = {later.node, edge.right, edge.winding, -1};
            edge.right = later.node;
            m_edges.push_back(rest);
        }
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_edges.size(); ++i) {
        Edge edge = m_edges[i];
        if (isNothing(edge.winding) || (bordersOnly && m_border[i] == 0))
            continue;
        if (bordersOnly)
            edge.winding = m_border[i]; // what lay between the borders counts no more
        edge.left = m_nodes[std::size_t(edge.left)].vertex;
        edge.right = m_nodes[std::size_t(edge.right)].vertex;
        m_edges[kept++] = edge;
    }
    m_edges.resize(kept);
    for (std::size_t i = m_sortedNodes; i < m_nodes.size(); ++i)
        m_input.push_back({m_nodes[i].key, m_nodes[i].vertex});
}

void ContourSweep::coarsen()
{
    m_shift += coarserBits;
    constexpr qint64 half = 1 << (coarserBits - 1);
    for (Point& point : m_input)
        point.key =
            gridKey((x(point.key) + half) >> coarserBits, (y(point.key) + half) >> coarserBits);
}

void ContourSweep::event(int node)
{
    const quint64 key = m_nodes[std::size_t(node)].key;
    if (m_nodes[std::size_t(node)].out < 0 && m_nodes[std::size_t(node)].inCount == 0)
        return;

    // The edges that end here stand side by side, from `low` to `high`.
    int below = -1, above = -1, low = -1, high = -1;
    const int known = m_nodes[std::size_t(node)].in;
    if (known >= 0 && m_slots[std::size_t(known)].right == node) {
        low = high = known;
    } else {
        bool isOn = false;
        below = find(node, isOn);
        if (isOn)
            low = high = below;
        else
            above = below >= 0 ? m_slots[std::size_t(below)].above : m_lowest;
    }
    if (low >= 0) {
        // Slots that the line has left behind are there after crossings only.
        const auto isAhead = [&](int slot) {
            return key < m_nodes[std::size_t(m_slots[std::size_t(slot)].right)].key;
        };
        const auto endsHere = [&](int slot) {
            return slot >= 0 && (m_slots[std::size_t(slot)].right == node ||
                                 (isAhead(slot) && side(m_slots[std::size_t(slot)], key) == 0));
        };
        while (endsHere(m_slots[std::size_t(low)].below))
            low = m_slots[std::size_t(low)].below;
        while (endsHere(m_slots[std::size_t(high)].above))
            high = m_slots[std::size_t(high)].above;
        below = m_slots[std::size_t(low)].below;
        above = m_slots[std::size_t(high)].above;
        int found = 0;
        for (int slot = low; slot != above; slot = m_slots[std::size_t(slot)].above, ++found)
            if (isAhead(slot))
                split(slot, node);
        if (found != m_nodes[std::size_t(node)].inCount)
            m_isDirty = true;
    } else if (m_nodes[std::size_t(node)].inCount != 0) {
        m_isDirty = true;
    }
    if (m_isDirty)
        m_isCutting = false;
    takeOuts(node);

    const int windingBelow = below >= 0 ? m_slots[std::size_t(below)].winding : 0;
    Chain upper;
    if (m_isCutting) {
        const bool isInsideBelow = isInside(windingBelow);
        if (low >= 0) {
            if (isInsideBelow)
                extendUpper(m_slots[std::size_t(below)].chain, node);
            for (int slot = low; slot != high; slot = m_slots[std::size_t(slot)].above)
                if (isInside(m_slots[std::size_t(slot)].winding))
                    close(m_slots[std::size_t(slot)].chain, node);
            if (isInside(m_slots[std::size_t(high)].winding)) {
                upper = m_slots[std::size_t(high)].chain;
                extendLower(upper, node);
            }
        } else if (isInsideBelow && !m_outs.empty()) {
            upper = cut(m_slots[std::size_t(below)].chain, node);
        }
    }

    // Slots of edges that end take those that start; one for one is the rule.
    int winding = windingBelow, slot = low, last = below;
    for (const int edge : m_outs) {
        const bool wasInside = isInside(winding);
        winding += m_edges[std::size_t(edge)].winding;
        const int border = int(isInside(winding)) - int(wasInside);
        m_border[std::size_t(edge)] = static_cast<signed char>(border);
        if (border == 0)
            m_isCutting = false;
        if (slot < 0 || slot == above) {
            slot = newSlot();
            put(slot, edge, winding);
            insertAbove(last, slot);
            last = slot;
            slot = above;
        } else {
            put(slot, edge, winding);
            last = slot;
            slot = m_slots[std::size_t(slot)].above;
        }
        if (m_isCutting && isInside(winding)) {
            Chain& chain = m_slots[std::size_t(last)].chain;
            if (edge == m_outs.back()) {
                chain = upper;
            } else {
                const int link = newLink(node, -1, -1);
                chain = {link, link, link};
            }
        }
    }
    if (low >= 0) {
        while (slot >= 0 && slot != above) {
            const int next = m_slots[std::size_t(slot)].above;
            remove(slot);
            slot = next;
        }
    }
    if (m_isCutting && m_outs.empty() && upper.first >= 0) {
        // Both chains end at the node.
        Chain& lower = m_slots[std::size_t(below)].chain;
        const int second = m_links[std::size_t(upper.first)].next;
        lower.helper = lower.last;
        m_links[std::size_t(lower.last)].next = second;
        if (second >= 0) {
            m_links[std::size_t(second)].previous = lower.last;
            lower.last = upper.last;
        }
    }

    if (m_outs.empty()) {
        check(below, above, node);
    } else {
        check(below, below >= 0 ? m_slots[std::size_t(below)].above : m_lowest, node);
        check(last, m_slots[std::size_t(last)].above, node);
    }
}

/// Gathers the edges that start at a node from the lowest to the highest; those that run one upon
/// the other become pieces that don't.
void ContourSweep::takeOuts(int node)
{
    m_outs.clear();
    for (int edge = m_nodes[std::size_t(node)].out; edge >= 0;
         edge = m_edges[std::size_t(edge)].nextOut)
        m_outs.push_back(edge);
    if (m_outs.size() < 2)
        return;
    const quint64 key = m_nodes[std::size_t(node)].key;
    const auto slope = [&](int a, int b) {
        const quint64 ka = m_nodes[std::size_t(m_edges[std::size_t(a)].right)].key;
        const quint64 kb = m_nodes[std::size_t(m_edges[std::size_t(b)].right)].key;
        return (x(ka) - x(key)) * (y(kb) - y(key)) - (y(ka) - y(key)) * (x(kb) - x(key));
    };
    const auto isBelow = [&](int a, int b) {
        const qint64 order = slope(a, b);
        if (order != 0)
            return order > 0;
        const quint64 ka = m_nodes[std::size_t(m_edges[std::size_t(a)].right)].key;
        const quint64 kb = m_nodes[std::size_t(m_edges[std::size_t(b)].right)].key;
        return ka != kb ? ka < kb : a < b;
    };
    if (m_outs.size() == 2) {
        if (isBelow(m_outs[1], m_outs[0]))
            std::swap(m_outs[0], m_outs[1]);
    } else {
        std::sort(m_outs.begin(), m_outs.end(), isBelow);
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_outs.size();) {
        const std::size_t first = i;
        while (++i < m_outs.size() && slope(m_outs[first], m_outs[i]) == 0) {
        }
        // From the longest to the shortest, since a piece has the windings of all that go on.
        int winding = 0;
        for (std::size_t k = i; k-- > first;) {
            Edge& edge = m_edges[std::size_t(m_outs[k])];
            const int before = k > first ? m_edges[std::size_t(m_outs[k - 1])].right : node;
            winding += std::exchange(edge.winding, 0);
            if (before != edge.right && !isNothing(winding)) {
                edge.winding = winding;
                edge.left = before;
                if (before == node)
                    m_outs[kept++] = m_outs[k];
                else
                    edge.nextOut = std::exchange(m_nodes[std::size_t(before)].out, m_outs[k]);
            } else {
                --m_nodes[std::size_t(edge.right)].inCount;
            }
        }
    }
    m_outs.resize(kept);
}

/// The highest slot below a node, or one that the node lies on.
int ContourSweep::find(int node, bool& isOn) const
{
    const quint64 key = m_nodes[std::size_t(node)].key;
    int found = -1;
    for (int slot = m_root; slot >= 0;) {
        const qint64 where = side(m_slots[std::size_t(slot)], key);
        if (where == 0) {
            isOn = true;
            return slot;
        }
        if (where > 0)
            found = slot;
        slot = m_slots[std::size_t(slot)].kid[where > 0];
    }
    return found;
}

/// Lets the edge of a slot end at a node, and the rest of it start there.
void ContourSweep::split(int slot, int node)
{
    Slot& s = m_slots[std::size_t(slot)];
    Node& n = m_nodes[std::size_t(node)];
    Edge& edge = m_edges[std::size_t(s.edge)];
    const Edge rest = {node, edge.right, edge.winding, n.out};
    n.out = int(m_edges.size());
    ++n.inCount;
    n.in = slot;
    edge.right = s.right = node;
    s.dx = qint32(x(n.key) - s.x);
    s.dy = qint32(y(n.key) - s.y);
    m_edges.push_back(rest);
    m_border.push_back(0);
}

void ContourSweep::put(int slot, int edge, int winding)
{
    Slot& s = m_slots[std::size_t(slot)];
    const Edge& e = m_edges[std::size_t(edge)];
    const quint64 left = m_nodes[std::size_t(e.left)].key;
    Node& right = m_nodes[std::size_t(e.right)];
    s.x = qint32(x(left));
    s.y = qint32(y(left));
    s.dx = qint32(x(right.key)) - s.x;
    s.dy = qint32(y(right.key)) - s.y;
    s.right = e.right;
    s.edge = edge;
    s.winding = winding;
    right.in = slot;
}

/// Looks for a crossing of two edges that have come side by side.
void ContourSweep::check(int below, int above, int node)
{
    if (below < 0 || above < 0)
        return;
    const Slot& a = m_slots[std::size_t(below)];
    const Slot& b = m_slots[std::size_t(above)];
    if (a.right == b.right)
        return;
    const quint64 endA = m_nodes[std::size_t(a.right)].key;
    const quint64 endB = m_nodes[std::size_t(b.right)].key;
    if (endA < endB ? side(b, endA) > 0 : side(a, endB) < 0)
        cross(below, above, node);
}

void ContourSweep::cross(int below, int above, int node)
{
    m_isDirty = true;
    m_isCutting = false;
    const Slot a = m_slots[std::size_t(below)], b = m_slots[std::size_t(above)];
    const quint64 endA = m_nodes[std::size_t(a.right)].key;
    const quint64 endB = m_nodes[std::size_t(b.right)].key;
    const double a0 = double(side(b, gridKey(a.x, a.y))), a1 = double(side(b, endA));
    const double b0 = double(side(a, gridKey(b.x, b.y))), b1 = double(side(a, endB));
    if (!(a0 <= 0 && a1 >= 0 && b0 >= 0 && b1 <= 0 && a1 - a0 > 0 && b0 - b1 > 0))
        return; // bent before: the next sweep sees them as they are
    const double ta = a0 / (a0 - a1), tb = b0 / (b0 - b1);
    const qint64 px = a.x + std::llround(a.dx * ta), py = a.y + std::llround(a.dy * ta);
    const quint64 key = gridKey(px, py), now = m_nodes[std::size_t(node)].key;
    if (key <= now) {
        // Passed by already: left to the next sweep.
        const int leftA = m_edges[std::size_t(a.edge)].left;
        const int leftB = m_edges[std::size_t(b.edge)].left;
        const int left =
            m_nodes[std::size_t(leftA)].key < m_nodes[std::size_t(leftB)].key ? leftB : leftA;
        const int at = key <= m_nodes[std::size_t(left)].key ? left : nodeAt(key, a, b, ta, tb);
        if (at >= 0) {
            m_laterSplits.push_back({a.edge, at});
            m_laterSplits.push_back({b.edge, at});
        }
        return;
    }
    if (key >= std::min(endA, endB)) {
        if (endA < endB)
            split(above, a.right);
        else
            split(below, b.right);
        return;
    }
    const int at = nodeAt(key, a, b, ta, tb);
    if (at < 0)
        return;
    split(below, at);
    split(above, at);
}

/// The node at a place ahead of the line; made where there is none. -1 if there are too many.
int ContourSweep::nodeAt(quint64 key, const Slot& a, const Slot& b, double ta, double tb)
{
    const auto end = m_nodes.begin() + std::ptrdiff_t(m_sortedNodes);
    const auto there = std::lower_bound(m_nodes.begin(), end, key,
                                        [](const Node& node, quint64 k) { return node.key < k; });
    if (there != end && there->key == key) {
        // Nodes that nothing starts or ends at are passed over; this one is in use from now on.
        return int(there - m_nodes.begin());
    }
    const auto [entry, isNew] = m_newNodes.try_emplace(key, int(m_nodes.size()));
    if (!isNew)
        return entry->second;
    if (m_crossings.size() >= mostCrossings) {
        m_failed = true;
        return -1;
    }
    const auto vertexOf = [this](int n) { return m_nodes[std::size_t(n)].vertex; };
    const Edge& ea = m_edges[std::size_t(a.edge)];
    const Edge& eb = m_edges[std::size_t(b.edge)];
    m_crossings.push_back(
        {{vertexOf(ea.left), vertexOf(ea.right), vertexOf(eb.left), vertexOf(eb.right)},
         {float((1 - ta) / 2), float(ta / 2), float((1 - tb) / 2), float(tb / 2)}});
    const double step = double(1 << m_shift);
    m_crossingPoints.emplace_back(double(x(key)) * step, double(y(key)) * step);
    // The points are as many as the vertices, each its own number.
    m_nodes.push_back({key, int(m_input.size() + (m_nodes.size() - m_sortedNodes))});
    m_newEvents.emplace(key, entry->second);
    return entry->second;
}

int ContourSweep::newSlot()
{
    int slot;
    if (m_freeSlots.empty()) {
        slot = int(m_slots.size());
        m_slots.emplace_back();
    } else {
        slot = m_freeSlots.back();
        m_freeSlots.pop_back();
    }
    m_random ^= m_random << 13;
    m_random ^= m_random >> 17;
    m_random ^= m_random << 5;
    m_slots[std::size_t(slot)].priority = m_random;
    return slot;
}

int& ContourSweep::kidOf(int parent, int slot)
{
    if (parent < 0)
        return m_root;
    int* const kids = m_slots[std::size_t(parent)].kid;
    return kids[kids[1] == slot];
}

/// Lifts a slot over its parent.
void ContourSweep::rotate(int slot)
{
    Slot& s = m_slots[std::size_t(slot)];
    const int parent = s.parent;
    Slot& p = m_slots[std::size_t(parent)];
    const int right = p.kid[1] == slot;
    kidOf(p.parent, parent) = slot;
    s.parent = p.parent;
    const int moved = s.kid[!right];
    p.kid[right] = moved;
    if (moved >= 0)
        m_slots[std::size_t(moved)].parent = parent;
    s.kid[!right] = parent;
    p.parent = slot;
}

/// Puts a slot right above another, or lowest.
void ContourSweep::insertAbove(int below, int slot)
{
    Slot& s = m_slots[std::size_t(slot)];
    const int above = below >= 0 ? m_slots[std::size_t(below)].above : m_lowest;
    s.below = below;
    s.above = above;
    s.kid[0] = s.kid[1] = s.parent = -1;
    if (below >= 0)
        m_slots[std::size_t(below)].above = slot;
    else
        m_lowest = slot;
    if (above >= 0)
        m_slots[std::size_t(above)].below = slot;
    if (below >= 0 && m_slots[std::size_t(below)].kid[1] < 0) {
        m_slots[std::size_t(below)].kid[1] = slot;
        s.parent = below;
    } else if (above >= 0) {
        m_slots[std::size_t(above)].kid[0] = slot;
        s.parent = above;
    } else {
        m_root = slot;
    }
    while (s.parent >= 0 && m_slots[std::size_t(s.parent)].priority < s.priority)
        rotate(slot);
}

void ContourSweep::remove(int slot)
{
    Slot& s = m_slots[std::size_t(slot)];
    while (s.kid[0] >= 0 && s.kid[1] >= 0)
        rotate(s.kid[m_slots[std::size_t(s.kid[1])].priority >
                     m_slots[std::size_t(s.kid[0])].priority]);
    const int kid = s.kid[s.kid[1] >= 0];
    kidOf(s.parent, slot) = kid;
    if (kid >= 0)
        m_slots[std::size_t(kid)].parent = s.parent;
    if (s.below >= 0)
        m_slots[std::size_t(s.below)].above = s.above;
    else
        m_lowest = s.above;
    if (s.above >= 0)
        m_slots[std::size_t(s.above)].below = s.below;
    s.right = -1;
    m_freeSlots.push_back(slot);
}

int ContourSweep::newLink(int node, int previous, int next)
{
    m_links.push_back({node, previous, next});
    return int(m_links.size()) - 1;
}

void ContourSweep::emit(int a, int b, int c)
{
    for (const int node : {a, b, c})
        m_triangles.push_back(m_nodes[std::size_t(node)].vertex);
}

/// Joins a node to the upper end of a chain, with all that it sees from there.
void ContourSweep::extendUpper(Chain& chain, int node)
{
    for (;;) {
        const Link& last = m_links[std::size_t(chain.last)];
        if (last.previous < 0)
            break;
        const int before = m_links[std::size_t(last.previous)].node;
        if (turn(before, last.node, node) >= 0)
            break;
        emit(before, node, last.node);
        chain.last = last.previous;
    }
    const int link = newLink(node, chain.last, -1);
    m_links[std::size_t(chain.last)].next = link;
    chain.last = chain.helper = link;
}

void ContourSweep::extendLower(Chain& chain, int node)
{
    for (;;) {
        const Link& first = m_links[std::size_t(chain.first)];
        if (first.next < 0)
            break;
        const int after = m_links[std::size_t(first.next)].node;
        if (turn(first.node, after, node) >= 0)
            break;
        emit(first.node, node, after);
        chain.first = first.next;
    }
    const int link = newLink(node, -1, chain.first);
    m_links[std::size_t(chain.first)].previous = link;
    chain.first = chain.helper = link;
}

/// Joins a node to all of a chain.
void ContourSweep::close(const Chain& chain, int node)
{
    for (int link = chain.first; link != chain.last;) {
        const int next = m_links[std::size_t(link)].next;
        const int a = m_links[std::size_t(link)].node, b = m_links[std::size_t(next)].node;
        if (turn(a, b, node) < 0)
            emit(a, node, b);
        link = next;
    }
}

/// Joins a node inside to the vertex that was met last, and gives the chain above it.
ContourSweep::Chain ContourSweep::cut(Chain& chain, int node)
{
    const int met = m_links[std::size_t(chain.helper)].node;
    const int after = m_links[std::size_t(chain.helper)].next;
    Chain upper;
    upper.first = newLink(met, -1, after);
    if (after >= 0)
        m_links[std::size_t(after)].previous = upper.first;
    upper.last = after >= 0 ? chain.last : upper.first;
    m_links[std::size_t(chain.helper)].next = -1;
    chain.last = chain.helper;
    extendUpper(chain, node);
    extendLower(upper, node);
    return upper;
}
} // namespace geometry

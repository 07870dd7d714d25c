// What an animated scene pays for its actions: events to many nodes, schedules of many
// curves, and a skin of many vertices.

#include "action/keyframe.h"
#include "action/skincluster.h"
#include "action/transformactions.h"
#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "kernel/zylobject.h"
#include "ratio.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

using namespace action;

namespace
{
constexpr int count = 10000;

/// A node of many vertices, which copies those it is sent.
struct Surface : ZYLObject {
    bool event(VEvent* event) override
    {
        auto& action = *static_cast<VActionEvent*>(event);
        if (action.code() == VActionEvent::GetVertices)
            *action.value<geometry::Vector3fArray>() =
                geometry::Vector3fArray(vertices.data(), int(vertices.size()));
        else if (action.code() == VActionEvent::SetVertices)
            std::copy_n(action.value<geometry::Vector3fArray>()->data(), vertices.size(),
                        vertices.data());
        else
            return false;
        action.accept();
        return true;
    }
    std::vector<geometry::Vector3f> vertices;
};

/// A joint that turns each time it is asked for its place.
struct Turning : ZYLObject {
    bool event(VEvent* event) override
    {
        auto& action = *static_cast<VActionEvent*>(event);
        matrix.zrotate(0.001f);
        *action.value<geometry::Matrix4f>() = matrix;
        action.accept();
        return true;
    }
    geometry::Matrix4f matrix;
};

/// Takes a matrix as a node of a scene does.
struct Node : ZYLObject {
    bool event(VEvent* event) override
    {
        if (event->type() != VActionEvent::TransformBefore)
            return false;
        auto& action = *static_cast<VActionEvent*>(event);
        matrix = *action.value<geometry::Matrix4f>() * matrix;
        action.accept();
        return true;
    }
    geometry::Matrix4f matrix;
};

double milliseconds(double seconds)
{
    return seconds * 1e3;
}

/// The median of several measurements.
template <class F>
double measured(F call)
{
    std::vector<double> times;
    for (int i = 0; i < 9; ++i)
        times.push_back(bench::seconds(call));
    return milliseconds(bench::median(times));
}

void benchMove()
{
    std::vector<std::unique_ptr<Node>> nodes;
    MoveAction move;
    for (int i = 0; i < count; ++i) {
        nodes.push_back(std::make_unique<Node>());
        move.connect(0, nodes.back().get(), -1);
    }
    double value = 0;
    bench::figure("action_move_10000", measured([&] {
                      value = value < 1 ? value + 0.001 : 0;
                      bench::keep(move.evaluate(0, value));
                  }),
                  1);
}

void benchKeyframes()
{
    constexpr int keys = 8;
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<std::unique_ptr<Keyframe>> keyframes;
    for (int i = 0; i < count; ++i) {
        auto* const schedule = new Schedule;
        for (int channel = 0; channel < Schedule::channels; ++channel) {
            AnimationCurve curve(keys);
            for (int k = 0; k < keys; ++k)
                curve[unsigned(k)] = geometry::Vector2d(k, 1.5 + std::sin(double(i + channel + k)));
            schedule->insert(unsigned(channel), new AnimationCurve(curve));
        }
        nodes.push_back(std::make_unique<Node>());
        keyframes.push_back(std::make_unique<Keyframe>());
        keyframes.back()->setSchedule(schedule);
        keyframes.back()->connect(0, nodes.back().get(), -1);
    }
    double time = 1;
    bench::figure("action_keyframes_10000", measured([&] {
                      time = time < 5.9 ? time + 0.04 : 1;
                      for (const auto& keyframe : keyframes)
                          bench::keep(keyframe->evaluate(0, time));
                  }),
                  10);
}

/// Vertices of four influences each, among 32 joints.
void benchSkin()
{
    constexpr int vertices = 100000, joints = 32, most = 4;
    Surface surface;
    Turning chain[joints];
    SkinCluster cluster;
    for (Turning& joint : chain) {
        joint.matrix.translate(float(&joint - chain), 0, 0);
        cluster.addJoint(&joint, nullptr);
    }
    geometry::Vector2iArray pairs(vertices * most);
    VMemArray<float> weights(vertices * most);
    for (int i = 0; i < vertices; ++i) {
        surface.vertices.emplace_back(float(i % 317), float(i % 101), float(i));
        for (int k = 0; k < most; ++k) {
            pairs[unsigned(i * most + k)] = geometry::Vector2i(i, (i / 1000 + k * 7) % joints);
            weights[unsigned(i * most + k)] = float(k + 1);
        }
    }
    cluster.setInfluences(pairs, weights);
    cluster.connect(0, &surface, -1);
    cluster.bind();
    bench::figure("action_skin_100000_ms", measured([&] { bench::keep(cluster.evaluate(0, 0)); }),
                  5);
}
} // namespace

int main()
{
    benchMove();
    benchKeyframes();
    benchSkin();
}

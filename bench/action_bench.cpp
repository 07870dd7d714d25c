// What an animated scene pays for its actions: events to many nodes, and schedules of many curves.

#include "action/keyframe.h"
#include "action/transformactions.h"
#include "geometry/zylhmatrix.h"
#include "kernel/vevent.h"
#include "kernel/zylobject.h"
#include "ratio.h"

#include <cmath>
#include <memory>
#include <vector>

using namespace action;

namespace
{
constexpr int count = 10000;

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
} // namespace

int main()
{
    benchMove();
    benchKeyframes();
}

#pragma once

#include "action/action.h"
#include "action/schedule.h"

#include <memory>

namespace action
{
/// The channels of a schedule that were sent last; angles are in radians.
class ZYL_EXPORT KeyframeConnections : public ChannelConnections<Schedule::channels>
{
public:
    KeyframeConnections();
};

/// Moves nodes by a schedule; the value is the time.
///
/// What is sent is the way from where the last time had led. Channels without a curve, or without a
/// value at that time, are at rest; with all of them at rest nothing is sent.
class ZYL_EXPORT Keyframe : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    using Action::read;
    using Action::write;

    const Schedule* schedule() const { return m_schedule.get(); }
    /// Takes the schedule over.
    void setSchedule(Schedule* schedule) { m_schedule.reset(schedule); }

    bool evaluate(int key, double value) override;
    ConnectionList* newConnections() const override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

private:
    static VMetaObject* metaObj;

    std::unique_ptr<Schedule> m_schedule;
};
} // namespace action

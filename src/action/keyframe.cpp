#include "action/keyframe.h"

#include "action/actionstream_p.h"
#include "action/channels_p.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "kernel/vdeclare.h"
#include "kernel/vevent.h"

#include <algorithm>

namespace action
{
namespace
{
constexpr float radians = 0.017453292519943295f;
constexpr const char* scheduleKeyword = "schedule";
constexpr quint8 scheduleTag = 0x80;
} // namespace

KeyframeConnections::KeyframeConnections()
{
    std::fill(last + Schedule::ScaleX, last + channels, 1.0);
}

VMetaObject* Keyframe::metaObj = nullptr;

VMetaObject* Keyframe::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("action::Keyframe", Action::staticMetaObject());
    return metaObj;
}

VMetaObject* Keyframe::metaObject() const
{
    return staticMetaObject();
}

bool Keyframe::evaluate(int key, double value)
{
    auto* const list = static_cast<KeyframeConnections*>(connections(key));
    if (!list || !m_schedule)
        return false;
    const int curves = int(std::min(m_schedule->size(), unsigned(Schedule::channels)));
    double now[Schedule::channels];
    bool isFound = false;
    for (int i = 0; i < Schedule::channels; ++i) {
        const AnimationCurve* const curve = i < curves ? m_schedule->at(unsigned(i)) : nullptr;
        if (curve && curve->evaluate(value, now[i]) == 0)
            isFound = true;
        else
            now[i] = i < Schedule::ScaleX ? 0 : 1;
    }
    if (!isFound)
        return false;
    for (int i = Schedule::RotateX; i < Schedule::ScaleX; ++i)
        now[i] = float(now[i]) * radians;

    geometry::Vector3f steps[3];
    for (int i = 0; i < Schedule::channels; ++i) {
        float& step = steps[i / 3][i % 3];
        if (i < Schedule::ScaleX) {
            step = float(now[i] - list->last[i]);
        } else {
            if (now[i] == 0)
                now[i] = 1;
            step = float(now[i] / list->last[i]);
        }
        if (!isSendable(now[i]) || !isSendable(step))
            return false;
    }
    geometry::Matrix4f m;
    m.translate(steps[0]);
    m.rotate(geometry::Quaternion().setValue(steps[1].x, steps[1].y, steps[1].z));
    m.scale(steps[2]);
    std::copy_n(now, Schedule::channels, list->last);
    return send(*list, VActionEvent::TransformBefore, &m);
}

ConnectionList* Keyframe::newConnections() const
{
    return new KeyframeConnections;
}

VFormatIO& Keyframe::read(VFormatIO& io)
{
    Action::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    auto schedule = std::make_unique<Schedule>();
    QDataStream* const data = stream->dataStream();
    if (!data) {
        readValue(*stream, scheduleKeyword, [&] { schedule->read(io); });
    } else if (peekTag(*data) == scheduleTag) {
        data->skipRawData(1);
        schedule->read(io);
    }
    if (!schedule->isEmpty())
        m_schedule = std::move(schedule);
    return io;
}

VFormatIO& Keyframe::write(VFormatIO& io) const
{
    Action::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || !m_schedule || m_schedule->isEmpty())
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        *data << scheduleTag;
        m_schedule->write(io);
    } else {
        stream->begin(scheduleKeyword);
        m_schedule->write(io);
        stream->end();
    }
    return io;
}
} // namespace action

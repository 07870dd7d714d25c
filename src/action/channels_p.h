#pragma once

#include "action/action.h"

#include <cmath>

namespace action
{
/// Whether a number can be sent: what isn't finite in single precision spoils a matrix or colour,
/// and the last value too, for good.
inline bool isSendable(double value)
{
    return std::isfinite(float(value));
}

/// A new value for one of the channels that a list remembers.
template <class Connections>
class ChannelChange
{
public:
    /// The list is null when nothing is connected.
    ChannelChange(ConnectionList* list, int channel, double value)
        : m_list(static_cast<Connections*>(list)), m_channel(channel), m_value(value)
    {
    }

    /// Whether there is something to send.
    bool isReal() const
    {
        return m_list && m_value != before() && isSendable(m_value) &&
               isSendable(m_value - before());
    }
    int channel() const { return m_channel; }
    double before() const { return m_list->last[m_channel]; }
    double value() const { return m_value; }
    double difference() const { return m_value - before(); }

    /// Keeps the value, before it is sent: what comes back on a ring of actions is no change then,
    /// and the list may be gone afterwards.
    Connections& store() const
    {
        m_list->last[m_channel] = m_value;
        return *m_list;
    }

private:
    Connections* m_list;
    int m_channel;
    double m_value;
};
} // namespace action

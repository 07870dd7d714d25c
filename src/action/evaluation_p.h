#pragma once

#include "action/action.h"

#include <qlogging.h>

namespace action
{
/// One level of actions that call each other, to be held while others may be called.
///
/// Besides the depth the work is counted: a chain in which each action calls the next one twice
/// has no ring, and yet no end. When one of the two is spent, everything up to the outermost action
/// gives up, or each level would try all its ways in turn.
class Evaluation
{
public:
    /// An action that may call these many receivers itself.
    explicit Evaluation(const Action& action, unsigned receivers = 0)
    {
        s_cost += actionCost + qint64(receivers);
        if (Q_UNLIKELY(++s_depth > mostLevels || s_cost > highestCost) && !s_abandoned)
            abandon(action);
        m_mayGoOn = !s_abandoned;
    }
    ~Evaluation()
    {
        if (--s_depth > 0)
            return;
        s_cost = 0;
        s_abandoned = false;
    }
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

    explicit operator bool() const { return m_mayGoOn; }

private:
    static constexpr int mostLevels = 64;
    // In events: some millions of actions, or a few hundred millions of receivers.
    static constexpr qint64 actionCost = 64;
    static constexpr qint64 highestCost = 1 << 28;

    [[gnu::cold, gnu::noinline]] static void abandon(const Action& action)
    {
        s_abandoned = true;
        if (s_depth > mostLevels)
            qWarning("Action::evaluate: More than %d levels at %s", mostLevels, action.name());
        else
            qWarning("Action::evaluate: Too many steps at %s", action.name());
    }

    static inline int s_depth = 0;
    static inline qint64 s_cost = 0; // since the outermost action began
    static inline bool s_abandoned = false;

    bool m_mayGoOn;
};
} // namespace action

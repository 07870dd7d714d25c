#pragma once

#include "geometry/zylvectorarray.h"
#include "toolkit/qintdict.h"
#include "toolkit/qstrlist.h"
#include "tools/vcolor.h"
#include "tools/vmemarray.h"
#include "tools/vptrvector.h"

class VFormatIO;

namespace action
{
class Action;

/// Values that actions look up, such as the colours for the states of a pump.
class ZYL_EXPORT Scheme
{
public:
    Scheme() = default;
    Scheme(const Scheme&) = delete;
    Scheme& operator=(const Scheme&) = delete;
    virtual ~Scheme();

    /// Read and write the scheme's part of a file, which here is none. Both return `io`.
    virtual VFormatIO& read(VFormatIO& io);
    virtual VFormatIO& write(VFormatIO& io) const;
};

/// A container of values, and which of them a number stands for. Values live as long as the
/// container isn't changed.
template <class T, class C>
class ZYL_EXPORT SimpleScheme : public Scheme
{
public:
    const C& values() const { return m_values; }
    /// Null for a number that stands for nothing.
    const T* find(int number) const { return m_map.find(number); }

protected:
    QIntDict<T> m_map;
    C m_values;
};

class ZYL_EXPORT ColorScheme : public SimpleScheme<VColor, VMemArray<VColor>>
{
public:
    const VMemArray<VColor>& colors() const { return values(); }
    const geometry::Vector2fArray& selector() const { return m_selector; }

    /// Each pair of the selector lets a number, x, stand for the colour at index y, both without
    /// their fractions; the last one for a number counts. Index 0, and one that no colour has,
    /// stand for nothing.
    void set(const VMemArray<VColor>& colors, const geometry::Vector2fArray& selector);

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

private:
    struct Meta;

    geometry::Vector2fArray m_selector;
};

class ZYL_EXPORT TriggerScheme : public SimpleScheme<char, QStrList>
{
};

/// Room for actions and their times, which a program fills and plays.
class ZYL_EXPORT TimeScheme : public TriggerScheme
{
public:
    struct ZYL_EXPORT Stage {
        Stage(unsigned stageTime, int stageKey, Action* stageAction)
            : time(stageTime), key(stageKey), action(stageAction)
        {
        }
        unsigned time;
        int key;
        Action* action; // not owned
    };

    TimeScheme();

    /// Owns its stages.
    VPtrVector<Stage>& stages() { return m_stages; }
    const VPtrVector<Stage>& stages() const { return m_stages; }
    /// Stages by their keys, not owned.
    QIntDict<Stage>& stagesByKey() { return m_stagesByKey; }
    const QIntDict<Stage>& stagesByKey() const { return m_stagesByKey; }

private:
    VPtrVector<Stage> m_stages;
    QIntDict<Stage> m_stagesByKey;
};
} // namespace action

#pragma once

#include "action/action.h"
#include "action/scheme.h"
#include "tools/vcolor.h"

#include <memory>

namespace action
{
/// A receiver, and the colour that it had when it was connected; invalid if it has none.
class ZYL_EXPORT ColorConnection : public Connection
{
public:
    ColorConnection(const ZYLObject* receiver, int index);

    VColor color() const { return m_color; }

private:
    VColor m_color;
};

/// Red, green, blue and alpha that were sent last.
class ZYL_EXPORT ColorConnections : public ChannelConnections<4>
{
};

/// Adds to one channel of colours, from 0 to 1.
///
/// Four keys make a group: key / 4 tells what is connected, and the remainder the channel. A
/// negative key counts as 0. What is sent is the difference from the last value, as with
/// MoveAction.
class ZYL_EXPORT ColorAction : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    bool evaluate(int key, double value) override;
    ConnectionList* newConnections() const override;

private:
    static VMetaObject* metaObj;
};

/// Sets the colour that a scheme has for the value, without its fraction. Without one, false.
class ZYL_EXPORT SelectColor : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    using Action::read;
    using Action::write;

    const ColorScheme* scheme() const { return m_scheme.get(); }
    /// Takes the scheme over.
    void setScheme(ColorScheme* scheme) { m_scheme.reset(scheme); }

    bool evaluate(int key, double value) override;
    Connection* newConnection(const ZYLObject* receiver, int index) const override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

private:
    static VMetaObject* metaObj;

    std::unique_ptr<ColorScheme> m_scheme;
};
} // namespace action

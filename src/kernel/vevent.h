#pragma once

#include "geometry/zylvector.h"
#include "toolkit/zylexport.h"
#include "tools/zyl.h"

/// What a window layer or an action tells an object. Root of all events; carries a type only.
class ZYL_EXPORT VEvent : public Zyl
{
public:
    /// The numbers of window events are those that window layers of this family have always used;
    /// 1000 and up belong to custom events, among them the codes of `VActionEvent`.
    enum Type {
        None = 0,
        Timer = 1,
        MouseButtonPress = 2,
        MouseButtonRelease = 3,
        MouseButtonDblClick = 4,
        MouseMove = 5,
        KeyPress = 6,
        KeyRelease = 7,
        FocusIn = 8,
        FocusOut = 9,
        Enter = 10,
        Leave = 11,
        Paint = 12,
        Move = 13,
        Resize = 14,
        Show = 17,
        Hide = 18,
        Close = 19,
        Wheel = 31,
        ContextMenu = 82,
        TabletMove = 87,
        TabletPress = 92,
        TabletRelease = 93,
        User = 1000
    };

    /// Buttons, and the modifier keys held with them.
    enum ButtonState {
        NoButton = 0,
        LeftButton = 0x0001,
        RightButton = 0x0002,
        MidButton = 0x0004,
        MouseButtonMask = 0x0007,
        ShiftButton = 0x0100,
        ControlButton = 0x0200,
        AltButton = 0x0400,
        MetaButton = 0x0800,
        KeyButtonMask = 0x0f00
    };

    explicit VEvent(int type) : m_type(type) {}
    virtual ~VEvent();

    int type() const { return m_type; }

private:
    int m_type;
};

/// What an event has whose receiver may take it or pass it on.
class ZYL_EXPORT VAcceptance
{
public:
    explicit VAcceptance(bool isAccepted) : m_accepted(isAccepted) {}

    bool isAccepted() const { return m_accepted; }
    void accept() { m_accepted = true; }
    void ignore() { m_accepted = false; }

private:
    bool m_accepted;
};

/// A press, release, double click or move. The global position is that of the pointer when the
/// event is made.
class ZYL_EXPORT VMouseEvent : public VEvent, public VAcceptance
{
public:
    VMouseEvent(VEvent::Type type, const geometry::Vector2i& position, int button, int state);
    ~VMouseEvent() override;

    const geometry::Vector2i& pos() const { return m_position; }
    const geometry::Vector2i& globalPos() const { return m_globalPosition; }
    int x() const { return m_position.x; }
    int y() const { return m_position.y; }

    /// The button that caused the event; `NoButton` for a move.
    int button() const { return m_button; }

    /// Buttons and modifiers just before the event.
    int state() const { return m_state; }

    /// Buttons and modifiers just after it: the button of the event is toggled.
    int stateAfter() const { return m_state ^ m_button; }

private:
    geometry::Vector2i m_position;
    geometry::Vector2i m_globalPosition;
    unsigned short m_button;
    unsigned short m_state;
};

/// A turn of the wheel; `delta` is in eighths of a degree, positive away from the user.
class ZYL_EXPORT VWheelEvent : public VEvent, public VAcceptance
{
public:
    VWheelEvent(const geometry::Vector2i& position, int delta, int state,
                Zyl::Orientation orientation);
    ~VWheelEvent() override;

    const geometry::Vector2i& pos() const { return m_position; }
    const geometry::Vector2i& globalPos() const { return m_globalPosition; }
    int delta() const { return m_delta; }
    int state() const { return m_state; }
    Zyl::Orientation orientation() const { return m_orientation; }

private:
    geometry::Vector2i m_position;
    geometry::Vector2i m_globalPosition;
    int m_delta;
    unsigned short m_state;
    Zyl::Orientation m_orientation;
};

/// A request for a context menu.
class ZYL_EXPORT VContextMenuEvent : public VEvent
{
public:
    enum Reason { Mouse, Keyboard, Other };

    VContextMenuEvent(Reason reason, const geometry::Vector2i& position, int state);
    ~VContextMenuEvent() override;

    Reason reason() const { return m_reason; }
    const geometry::Vector2i& pos() const { return m_position; }
    const geometry::Vector2i& globalPos() const { return m_globalPosition; }
    int state() const { return m_state; }

private:
    Reason m_reason;
    geometry::Vector2i m_position;
    geometry::Vector2i m_globalPosition;
    unsigned short m_state;
};

/// A move of a tablet's pen. Pressure runs from 0 to 255, the tilts from -60 to 60 degrees.
class ZYL_EXPORT VTabletEvent : public VEvent, public VAcceptance
{
public:
    VTabletEvent(VEvent::Type type, const geometry::Vector2i& position,
                 const geometry::Vector2i& globalPosition, int device, int pressure, int xTilt,
                 int yTilt, unsigned serial = 0, unsigned tool = 0);
    ~VTabletEvent() override;

    const geometry::Vector2i& pos() const { return m_position; }
    const geometry::Vector2i& globalPos() const { return m_globalPosition; }
    int device() const { return m_device; }
    int pressure() const { return m_pressure; }
    int xTilt() const { return m_xTilt; }
    int yTilt() const { return m_yTilt; }

    /// Two words that tell one pen from another.
    unsigned uniqueSerial() const { return m_unique[0]; }
    unsigned uniqueTool() const { return m_unique[1]; }

private:
    geometry::Vector2i m_position;
    geometry::Vector2i m_globalPosition;
    int m_device;
    int m_pressure;
    int m_xTilt;
    int m_yTilt;
    unsigned m_unique[2];
};

/// A change of the keyboard focus. The reason is one for the process: the layer that moves the
/// focus sets it, moves the focus, and resets it.
class ZYL_EXPORT VFocusEvent : public VEvent
{
public:
    enum Reason { Mouse, Tab, Backtab, ActiveWindow, Popup, Shortcut, Other };

    explicit VFocusEvent(VEvent::Type type) : VEvent(type) {}
    ~VFocusEvent() override;

    bool gotFocus() const { return type() == FocusIn; }
    bool lostFocus() const { return type() == FocusOut; }

    static Reason reason() { return m_reason; }
    static void setReason(Reason reason);

    /// Puts back the reason that stood before the last `setReason`.
    static void resetReason();

private:
    static Reason m_reason;
    static Reason m_previousReason;
};

/// A press or release of a key, told by its X keysym.
class ZYL_EXPORT VKeyEvent : public VEvent
{
public:
    VKeyEvent(VEvent::Type type, int key, int state) : VEvent(type), m_key(key), m_state(state) {}
    ~VKeyEvent() override;

    int key() const { return m_key; }

    /// Modifiers just before the event.
    int state() const { return m_state; }

    /// Modifiers just after it: a shift, control, alt or meta key toggles its own.
    int stateAfter() const;

private:
    int m_key;
    int m_state;
};

/// An event of an application's own kind.
class ZYL_EXPORT VCustomEvent : public VEvent
{
public:
    explicit VCustomEvent(int type) : VEvent(type) {}
    ~VCustomEvent() override;

    void* data() const { return m_data; }

    /// The event does not own what it points at.
    void setData(void* data) { m_data = data; }

private:
    void* m_data = nullptr;
};

/// A value on its way from an action to a node or material: a code that says what to do, a pointer
/// to the value, and a detail number. A handler that takes it marks it accepted and returns true.
class ZYL_EXPORT VActionEvent : public VCustomEvent, public VAcceptance
{
public:
    /// What the value is, and what becomes of it.
    enum Code {
        Elapsed = 1000,         ///< `double*`, the time that passed
        TransformBefore = 1001, ///< `Matrix4f*` E: the matrix M becomes E x M
        TransformAfter = 1002,  ///< `Matrix4f*` E: the matrix M becomes M x E
        GetTransform = 1003,    ///< `Matrix4f*`, filled by the handler
        SetTransform = 1004,    ///< `Matrix4f*`
        GetWorldMatrix = 1005,  ///< `Matrix4f*`, filled: from the node's space to the root's
        GetVertices = 1006,     ///< `Vector3fArray*`, filled with a copy
        SetVertices = 1007,     ///< `Vector3fArray*`, as many as there are; the handler copies
        AddColor = 1011,        ///< `Vector4f*`, added to the colour as four floats
        GetColor = 1012,        ///< `VColor*`, filled by the handler
        SetColor = 1013,        ///< `VColor*`
        SetText = 1015,         ///< `QString*`
        SetCamera = 1020        ///< the camera to look through, as a `ZYLObject*`
    };

    VActionEvent(int code, void* value, int detail = -1)
        : VCustomEvent(code), VAcceptance(false), m_detail(detail)
    {
        setData(value);
    }
    ~VActionEvent() override;

    int code() const { return type(); }

    /// The value as what the code says it points at.
    template <class T>
    T* value() const
    {
        return static_cast<T*>(data());
    }

    /// The part that is meant (a channel, a vertex), or -1.
    int detail() const { return m_detail; }
    void setDetail(int detail) { m_detail = detail; }

private:
    int m_detail;
};

#pragma once

#include "action/action.h"

namespace action
{
/// Watches objects, and turns their changes into numbers.
///
/// The objects connected under key -1 are watched. When another action that moves or colours one of
/// them has its signal `valueChanged(Connection*)` joined to a slot here, the tracker asks the
/// object for what its type says, and emits that with the object's position among the watched ones.
/// Then the objects connected under that position are told to look through it as a camera.
class ZYL_EXPORT ValueTracker : public Action
{
public:
    enum Type : int {
        Translate, ///< as a `Vector3f*`
        Rotate,    ///< as a `Quaternion*`
        Scale,     ///< as a `Vector3f*`
        TranslateX,
        TranslateY,
        TranslateZ,
        RotateX, ///< in radians
        RotateY,
        RotateZ,
        ScaleX,
        ScaleY,
        ScaleZ,
        Color, ///< as a `VColor*`
        Red,   ///< from 0 to 1
        Green,
        Blue,
        Alpha,
        Brightness ///< the largest of red, green and blue
    };

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool slot_invoke(int id, VUObject* o) override;
    bool signal_emit(int id, VUObject* o) override;
    bool property_op(int id, int op, VVariant* value) override;

    using Action::read;
    using Action::write;

    Type type() const { return Type(m_type); }
    void setType(Type type) { m_type = type; }

    /// Points the receivers under a position to the object watched there.
    bool evaluate(int key, double value) override;
    /// Points the receivers under a key to the connection's object.
    bool evaluate(int key, Connection* connection);
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    // Slots.
    void transform(Connection* connection);
    void changeColor(Connection* connection);

    // Signals.
    using Action::valueChanged;
    void valueChanged(int position, double value);
    /// What it points at lives until the call is over.
    void valueChanged(int position, void* value);

private:
    struct Meta;
    static VMetaObject* metaObj;

    template <class Emit>
    void track(Connection* connection, Emit emitChange);
    void emitTransform(int position, ZYLObject& object);
    void emitColor(int position, ZYLObject& object);

    int m_type = Translate;
};
} // namespace action

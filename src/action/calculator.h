#pragma once

#include "action/action.h"

#include <qstring.h>

namespace action
{
/// Works on a number and passes it on by its signal.
///
/// It listens to the keys among its inputs, and emits with the index among them instead of the key.
class ZYL_EXPORT Calculator : public Action
{
public:
    enum Type : int {
        Add,       ///< value + data
        Multiply,  ///< value * data
        Module,    ///< the remainder of value by data, with the sign of value
        Expression ///< the value itself; the expression is only stored
    };

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool signal_emit(int id, VUObject* o) override;
    bool property_op(int id, int op, VVariant* value) override;

    using Action::read;
    using Action::write;

    Type type() const { return Type(m_type); }
    /// A type without a meaning passes the value on.
    void setType(Type type) { m_type = type; }
    double data() const { return m_data; }
    void setData(double data) { m_data = data; }
    const VMemArray<int>& inputs() const { return m_inputs; }
    void setInputs(const VMemArray<int>& inputs) { m_inputs = inputs.copy(); }
    const QString& expression() const { return m_expression; }
    void setExpression(const QString& expression) { m_expression = expression; }

    /// False for a key that is no input.
    bool evaluate(int key, double value) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    // Signals.
    using Action::valueChanged;
    void valueChanged(int input, double value);

private:
    struct Meta;
    static VMetaObject* metaObj;

    int m_type = Add;
    double m_data = 0;
    VMemArray<int> m_inputs;
    QString m_expression;
};
} // namespace action

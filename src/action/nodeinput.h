#pragma once

#include "action/action.h"
#include "geometry/zylvectorarray.h"

#include <qstring.h>

#include <vector>

namespace action
{
/// The door by which measured values come in.
///
/// Values come for addresses, such as a device and a port, and go on under the index of the address
/// among the inputs. The overloads for an index take it as it is.
class ZYL_EXPORT NodeInput : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool signal_emit(int id, VUObject* o) override;

    using Action::read;
    using Action::write;

    const geometry::Vector2iArray& inputs() const { return m_inputs; }
    void setInputs(const geometry::Vector2iArray& inputs);

    // Each is false if nobody listens. A number goes to the signals, a state to those for states,
    // and a text to the objects connected under the index.
    bool evaluate(int input, double value) override;
    bool evaluate(int input, int state);
    bool evaluate(int input, const QString& text);
    /// The same for an address; false too for one that is no input.
    template <class T>
    bool evaluate(const geometry::Vector2i& address, const T& value)
    {
        const int input = indexOf(address);
        return input >= 0 && evaluate(input, value);
    }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    // Signals.
    using Action::valueChanged;
    void valueChanged(int input, double value);
    void stateChanged(int input, double state);

private:
    struct Meta;
    static VMetaObject* metaObj;

    int indexOf(const geometry::Vector2i& address) const;
    template <auto Signal>
    bool emitValue(int input, double value);

    geometry::Vector2iArray m_inputs;
    std::vector<int> m_order; // the inputs by their addresses, equal ones by their index
};
} // namespace action

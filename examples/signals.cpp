// A boiler tells a display of its changes: by text, as files store it, and by function.

#include <zyl/all/kernel.h>

#include <cstdio>

class Boiler : public VObject
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override { return staticMetaObject(); }
    bool slot_invoke(int id, VUObject* o) override;
    bool property_op(int id, int op, VVariant* value) override;

    // Signal.
    void heated(int channel, double degrees);

    // Slot.
    void show(int channel, double degrees) { std::printf("channel %d at %g degrees\n", channel, degrees); }

    // Property.
    double limit() const { return m_limit; }
    void setLimit(double limit) { m_limit = limit; }

private:
    struct Meta;
    static VMetaObject* metaObj;
    double m_limit = 100;
};

struct Boiler::Meta {
    static constexpr declare::Slots slotTable{declare::slot<&Boiler::show>("show(int,double)")};
    static constexpr declare::Signals signalTable{declare::signal<&Boiler::heated>("heated(int,double)")};
    static constexpr declare::Properties propertyTable{
        &metaObj, declare::property<&Boiler::limit, &Boiler::setLimit>("limit")};
};
VMetaObject* Boiler::metaObj = nullptr;
VMetaObject* Boiler::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("Boiler", VObject::staticMetaObject(), Meta::slotTable, Meta::signalTable,
                                      Meta::propertyTable);
    return metaObj;
}

bool Boiler::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) || VObject::slot_invoke(id, o);
}

bool Boiler::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) || VObject::property_op(id, op, value);
}

void Boiler::heated(int channel, double degrees)
{
    Meta::signalTable.send<&Boiler::heated>(this, channel, degrees);
}

int main()
{
    const VGlobal global;
    Boiler boiler, display;
    VObject::connect(&boiler, SIGNAL(heated(int,double)), &display, SLOT(show(int,double)));
    int alarms = 0;
    {
        const VScopedConnection alarm(&boiler, &Boiler::heated, [&](int, double degrees) {
            if (degrees > boiler.property("limit").toDouble())
                ++alarms;
        });
        boiler.setProperty("limit", VVariant(80));
        boiler.heated(1, 75);
        boiler.heated(1, 95);
    }
    boiler.heated(2, 99);
    std::printf("%d alarm\n", alarms);
    return alarms == 1 ? 0 : 1;
}

#pragma once

#include "kernel/vproperties.h"

#include <string>
#include <vector>

/// Shows every kind of member that a class can declare, and notes what reaches its slots.
class Thermometer : public VObject
{
public:
    enum Scale { Celsius, Fahrenheit, Kelvin };

    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool slot_invoke(int id, VUObject* o) override;
    bool signal_emit(int id, VUObject* o) override;
    bool property_op(int id, int op, VVariant* value) override;

    // Signals.
    void changed(int channel, double value);
    void named(const QString& name);
    void scaled(Scale scale);
    void seen(const VObject* object);
    void ticked();
    void spelled(const char* text, bool done);

    // Slots.
    void show(int channel, double value)
    {
        note("show " + std::to_string(channel) + " " + QString::number(value).toStdString());
    }
    void pick(int channel) { note("pick " + std::to_string(channel)); }
    void warm(double value) { note("warm " + QString::number(value).toStdString()); }
    void rename(const QString& name) { note("rename " + name.toStdString()); }
    void rescale(Scale scale) { note("rescale " + std::to_string(scale)); }
    void look(const VObject* object) { note(object == this ? "look self" : "look other"); }
    void reset() { note("reset"); }
    void flag(bool on) { note(on ? "flag on" : "flag off"); }
    void spell(const char* text, bool done)
    {
        note(std::string("spell ") + text + (done ? "." : ""));
    }
    int count(int by) { return m_count += by; }

    // Properties.
    double limit() const { return m_limit; }
    void setLimit(double limit) { m_limit = limit; }
    void resetLimit() { m_limit = 100; }
    QString label() const { return m_label; }
    void setLabel(const QString& label) { m_label = label; }
    VColor color() const { return m_color; }
    void setColor(VColor color) { m_color = color; }
    bool isHot() const { return m_limit > 50; }
    Scale scale() const { return m_scale; }
    void setScale(Scale scale) { m_scale = scale; }
    int alarms() const { return m_alarms; }
    void setAlarms(int alarms) { m_alarms = alarms; }

    std::vector<std::string> take() { return std::exchange(m_notes, {}); }

    std::vector<std::string> notified; // what connectNotify and disconnectNotify heard

protected:
    void connectNotify(const char* signal) override
    {
        notified.push_back(std::string("+") + signal);
    }
    void disconnectNotify(const char* signal) override
    {
        notified.push_back(std::string("-") + (signal ? signal : "all"));
    }

private:
    struct Meta;
    static inline VMetaObject* metaObj = nullptr;

    void note(std::string text) { m_notes.push_back(std::move(text)); }
    void secret() { note("secret"); }

    std::vector<std::string> m_notes;
    int m_count = 0;
    double m_limit = 100;
    QString m_label;
    VColor m_color;
    Scale m_scale = Celsius;
    int m_alarms = 0;
};

struct Thermometer::Meta {
    static constexpr declare::Slots slotTable{
        declare::slot<&Thermometer::show>("show(int,double)"),
        declare::slot<&Thermometer::pick>("pick(int)"),
        declare::slot<&Thermometer::warm>("warm(double)"),
        declare::slot<&Thermometer::rename>("rename(const VString&)"),
        declare::slot<&Thermometer::rescale>("rescale(Scale)"),
        declare::slot<&Thermometer::look>("look(const VObject*)"),
        declare::slot<&Thermometer::reset>("reset()"),
        declare::slot<&Thermometer::flag>("flag(bool)"),
        declare::slot<&Thermometer::spell>("spell(const char*,bool)"),
        declare::slot<&Thermometer::count>("count(int)"),
        declare::privateSlot<&Thermometer::secret>("secret()")};
    static constexpr declare::Signals signalTable{
        declare::signal<&Thermometer::changed>("changed(int,double)"),
        declare::signal<&Thermometer::named>("named(const VString&)"),
        declare::signal<&Thermometer::scaled>("scaled(Scale)"),
        declare::signal<&Thermometer::seen>("seen(const VObject*)"),
        declare::signal<&Thermometer::ticked>("ticked()"),
        declare::signal<&Thermometer::spelled>("spelled(const char*,bool)")};
    static constexpr VMetaEnum::Item scaleItems[] = {
        {"Celsius", Celsius}, {"Fahrenheit", Fahrenheit}, {"Kelvin", Kelvin}};
    static constexpr VMetaEnum::Item alarmItems[] = {
        {"None", 0}, {"Light", 1}, {"Horn", 2}, {"Call", 4}, {"All", 7}};
    static constexpr VMetaEnum enumTable[] = {VMetaEnum("Scale", scaleItems),
                                              VMetaEnum("Alarms", alarmItems, true)};
    static constexpr declare::Properties propertyTable{
        &metaObj,
        declare::property<&Thermometer::limit, &Thermometer::setLimit, &Thermometer::resetLimit>(
            "limit", VMetaProperty::NotStored),
        declare::property<&Thermometer::label, &Thermometer::setLabel>("label"),
        declare::property<&Thermometer::color, &Thermometer::setColor>("color"),
        declare::property<&Thermometer::isHot>("hot"),
        declare::property<&Thermometer::scale, &Thermometer::setScale>("scale", enumTable[0]),
        declare::enumProperty<&Thermometer::alarms, &Thermometer::setAlarms>("alarms", "Alarms")};
    static constexpr VClassInfo infoTable[] = {{"unit", "kelvin"}, {"unit", "rankine"}};
};

inline VMetaObject* Thermometer::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("plant::Thermometer", VObject::staticMetaObject(),
                                      Meta::slotTable, Meta::signalTable, Meta::propertyTable,
                                      Meta::enumTable, Meta::infoTable);
    return metaObj;
}

inline VMetaObject* Thermometer::metaObject() const
{
    return staticMetaObject();
}

inline bool Thermometer::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) || VObject::slot_invoke(id, o);
}

inline bool Thermometer::signal_emit(int id, VUObject* o)
{
    return Meta::signalTable.invoke(this, id, o) || VObject::signal_emit(id, o);
}

inline bool Thermometer::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) || VObject::property_op(id, op, value);
}

inline void Thermometer::changed(int channel, double value)
{
    Meta::signalTable.send<&Thermometer::changed>(this, channel, value);
}

inline void Thermometer::named(const QString& name)
{
    Meta::signalTable.send<&Thermometer::named>(this, name);
}

inline void Thermometer::scaled(Scale scale)
{
    Meta::signalTable.send<&Thermometer::scaled>(this, scale);
}

inline void Thermometer::seen(const VObject* object)
{
    Meta::signalTable.send<&Thermometer::seen>(this, object);
}

inline void Thermometer::ticked()
{
    Meta::signalTable.send<&Thermometer::ticked>(this);
}

inline void Thermometer::spelled(const char* text, bool done)
{
    Meta::signalTable.send<&Thermometer::spelled>(this, text, done);
}

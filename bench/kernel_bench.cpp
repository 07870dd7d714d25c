// Objects against Qt's: emission, connecting and properties, all by text.

#include "kernel/vproperties.h"
#include "ratio.h"

#include <qobject.h>
#include <qvariant.h>

#include <cstdlib>
#include <memory>
#include <new>

#include <malloc.h>

static long allocations = 0;

void* operator new(std::size_t size)
{
    ++allocations;
    void* block = std::malloc(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace
{
class Ours : public VObject
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;
    bool slot_invoke(int id, VUObject* o) override;
    bool property_op(int id, int op, VVariant* value) override;

    void changed(int channel, double value);
    void take(int channel, double value) { sum += channel + value; }
    double limit() const { return m_limit; }
    void setLimit(double limit) { m_limit = limit; }

    double sum = 0;

private:
    struct Meta;
    static VMetaObject* metaObj;

    double m_limit = 0;
};

struct Ours::Meta {
    static constexpr declare::Slots slotTable{declare::slot<&Ours::take>("take(int,double)")};
    static constexpr declare::Signals signalTable{
        declare::signal<&Ours::changed>("changed(int,double)")};
    static constexpr declare::Properties propertyTable{
        &metaObj, declare::property<&Ours::limit, &Ours::setLimit>("limit")};
};
VMetaObject* Ours::metaObj = nullptr;

VMetaObject* Ours::staticMetaObject()
{
    if (!metaObj)
        metaObj = declare::metaObject("Ours", VObject::staticMetaObject(), Meta::slotTable,
                                      Meta::signalTable, Meta::propertyTable);
    return metaObj;
}

VMetaObject* Ours::metaObject() const
{
    return staticMetaObject();
}

bool Ours::slot_invoke(int id, VUObject* o)
{
    return Meta::slotTable.invoke(this, id, o) || VObject::slot_invoke(id, o);
}

bool Ours::property_op(int id, int op, VVariant* value)
{
    return Meta::propertyTable.operate(this, id, op, value) || VObject::property_op(id, op, value);
}

void Ours::changed(int channel, double value)
{
    Meta::signalTable.send<&Ours::changed>(this, channel, value);
}
} // namespace

class Theirs : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double limit READ limit WRITE setLimit)

public:
    double limit() const { return m_limit; }
    void setLimit(double limit) { m_limit = limit; }

    double sum = 0;

public Q_SLOTS:
    void take(int channel, double value) { sum += channel + value; }

Q_SIGNALS:
    void changed(int channel, double value);

private:
    double m_limit = 0;
};

namespace
{
void emission(int receivers)
{
    Ours ours;
    Theirs theirs;
    std::vector<std::unique_ptr<Ours>> ourReceivers;
    std::vector<std::unique_ptr<Theirs>> theirReceivers;
    for (int i = 0; i < receivers; ++i) {
        ourReceivers.push_back(std::make_unique<Ours>());
        theirReceivers.push_back(std::make_unique<Theirs>());
        VObject::connect(&ours, "2changed(int,double)", ourReceivers.back().get(),
                         "1take(int,double)");
        QObject::connect(&theirs, SIGNAL(changed(int, double)), theirReceivers.back().get(),
                         SLOT(take(int, double)), Qt::DirectConnection);
    }
    const std::string name = "kernel emit to " + std::to_string(receivers);
    const long before = allocations;
    ours.changed(1, 2.5);
    bench::figure(name + ", allocations + 1", double(allocations - before + 1), 1);
    bench::compare(
        name, 0.5, [&] { ours.changed(1, 2.5); }, [&] { Q_EMIT theirs.changed(1, 2.5); });
}

void connecting(int others)
{
    Ours ours, receiver;
    Theirs theirs, theirReceiver;
    std::vector<std::unique_ptr<Ours>> ourOthers;
    std::vector<std::unique_ptr<Theirs>> theirOthers;
    for (int i = 0; i < others; ++i) {
        ourOthers.push_back(std::make_unique<Ours>());
        theirOthers.push_back(std::make_unique<Theirs>());
        VObject::connect(&ours, "2changed(int,double)", ourOthers.back().get(),
                         "1take(int,double)");
        QObject::connect(&theirs, SIGNAL(changed(int, double)), theirOthers.back().get(),
                         SLOT(take(int, double)));
    }
    bench::compare(
        "kernel connect and disconnect beside " + std::to_string(others), 1,
        [&] {
            VObject::connect(&ours, "2changed(int,double)", &receiver, "1take(int,double)");
            VObject::disconnect(&ours, "2changed(int,double)", &receiver, "1take(int,double)");
        },
        [&] {
            QObject::connect(&theirs, "2changed(int,double)", &theirReceiver, "1take(int,double)");
            QObject::disconnect(&theirs, "2changed(int,double)", &theirReceiver,
                                "1take(int,double)");
        });
}

void lifetimes()
{
    bench::compare(
        "kernel object connected, then destroyed", 1,
        [] {
            Ours sender, receiver;
            VObject::connect(&sender, "2changed(int,double)", &receiver, "1take(int,double)");
        },
        [] {
            Theirs sender, receiver;
            QObject::connect(&sender, "2changed(int,double)", &receiver, "1take(int,double)");
        });
}

void idleSize()
{
    const auto before = mallinfo2().uordblks;
    constexpr int count = 1000;
    std::vector<VObject*> objects(count);
    const auto vector = mallinfo2().uordblks;
    for (VObject*& object : objects)
        object = new VObject;
    bench::figure("kernel bytes of an idle object", double(mallinfo2().uordblks - vector) / count,
                  48);
    bench::keep(before);
    for (VObject* object : objects)
        delete object;
}

void properties()
{
    Ours ours;
    Theirs theirs;
    bench::compare(
        "kernel set a property by name", 0.5,
        [&] { bench::keep(ours.setProperty("limit", VVariant(2.5))); },
        [&] { bench::keep(theirs.setProperty("limit", QVariant(2.5))); });
    bench::compare(
        "kernel get a property by name", 0.5,
        [&] { bench::keep(ours.property("limit").toDouble()); },
        [&] { bench::keep(theirs.property("limit").toDouble()); });
}
} // namespace

int main()
{
    VObject::staticMetaObject();
    idleSize();
    emission(1);
    emission(10);
    connecting(0);
    connecting(10);
    lifetimes();
    properties();
    return 0;
}

#include "kernel_bench.moc"

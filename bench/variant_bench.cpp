// Tagged values against Qt's: copy, convert and compare of numbers and of texts.

#include "kernel/vvariant.h"
#include "ratio.h"

#include <qmetatype.h>
#include <qvariant.h>

namespace
{
constexpr int count = 256;

/// The same operation on both kinds over a run of values, so that neither is measured on one lucky
/// cache line.
template <class Value, class Operation>
auto overAll(std::vector<Value>& values, Operation operation)
{
    return [&values, operation] {
        for (Value& value : values)
            operation(value);
    };
}

template <class Make>
auto filled(Make make)
{
    std::vector<decltype(make(0))> values;
    for (int i = 0; i < count; ++i)
        values.push_back(make(i));
    return values;
}

template <class Ours, class Theirs>
void compareKind(const char* name, double wanted, std::vector<Ours> ours,
                 std::vector<Theirs> theirs, unsigned target, QMetaType::Type peerTarget)
{
    const std::string text = name;
    bench::compare(text + " copy", wanted,
                   overAll(ours, [](Ours& value) { bench::keep(Ours(value)); }),
                   overAll(theirs, [](Theirs& value) { bench::keep(Theirs(value)); }));
    bench::compare(text + " convert", wanted,
                   overAll(ours,
                           [target](Ours& value) {
                               Ours copy(value);
                               bench::keep(copy.convertTo(target));
                           }),
                   overAll(theirs, [peerTarget](Theirs& value) {
                       Theirs copy(value);
                       bench::keep(copy.convert(QMetaType(peerTarget)));
                   }));
    bench::compare(
        text + " compare", wanted,
        overAll(ours, [&ours](Ours& value) { bench::keep(value.compare(ours[7]) == 0); }),
        overAll(theirs, [&theirs](Theirs& value) { bench::keep(value == theirs[7]); }));
}
} // namespace

int main()
{
    const auto text = [](int i) { return QString::number(i * 1000003) + QLatin1String(" litres"); };
    compareKind("VVariant int", 1.0, filled([](int i) { return VVariant(i); }),
                filled([](int i) { return QVariant(i); }), VVariant::Double, QMetaType::Double);
    compareKind("VVariant double", 1.0, filled([](int i) { return VVariant(i * 0.5); }),
                filled([](int i) { return QVariant(i * 0.5); }), VVariant::Int, QMetaType::Int);
    compareKind("VVariant text", 2.0, filled([&](int i) { return VVariant(text(i)); }),
                filled([&](int i) { return QVariant(text(i)); }), VVariant::CString,
                QMetaType::QByteArray);
    compareKind(
        "VVariant number text", 2.0, filled([](int i) { return VVariant(QString::number(i)); }),
        filled([](int i) { return QVariant(QString::number(i)); }), VVariant::Int, QMetaType::Int);
    return 0;
}

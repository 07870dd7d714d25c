#pragma once

#include "math/biginteger.h"
#include "security/asnvalue.h"

namespace asn
{
/// Integers as a SEQUENCE.
class ZYL_EXPORT IntegerSequence : public QValueList<math::BigInteger>
{
public:
    void encode(DerValue& value) const;
    /// Throws when it isn't a sequence, or one of something else than integers.
    void decode(const DerValue& value);
};

/// Sequences of integers as a SEQUENCE.
class ZYL_EXPORT IntegerSequences : public QValueList<IntegerSequence>
{
public:
    void encode(DerValue& value) const;
    void decode(const DerValue& value);
};

/// A list of `T`, which has `encode(DerValue&) const` and `decode(const DerValue&)`, as a SEQUENCE.
template <class T>
class ZYL_EXPORT SequenceOf : public QValueList<T>
{
public:
    void encode(DerValue& value) const { value.setSequence(encoded()); }
    /// Throws for another tag, unless it is `implicit`, and what the elements throw.
    void decode(const DerValue& value, bool implicit = false)
    {
        decodeAll(implicit ? value.getList() : value.getSequence());
    }

protected:
    QValueList<DerValue> encoded() const;
    void decodeAll(const QValueList<DerValue>& list);
};

/// The same as a SET. The elements keep their order when encoded, so that what was signed stays
/// what it is.
template <class T>
class ZYL_EXPORT SetOf : public SequenceOf<T>
{
public:
    void encode(DerValue& value) const { value.setSet(this->encoded()); }
    void decode(const DerValue& value, bool implicit = false)
    {
        this->decodeAll(value.getSet(implicit));
    }
};

template <class T>
QValueList<DerValue> SequenceOf<T>::encoded() const
{
    QValueList<DerValue> list;
    for (const T& element : *this) {
        DerValue value;
        element.encode(value);
        list.append(value);
    }
    return list;
}

template <class T>
void SequenceOf<T>::decodeAll(const QValueList<DerValue>& list)
{
    QValueList<T> elements;
    for (const DerValue& value : list) {
        T element;
        element.decode(value);
        elements.append(element);
    }
    static_cast<QValueList<T>&>(*this) = elements;
}
} // namespace asn

#include "security/asnsequence.h"

#include "tools/vexception.h"

namespace asn
{
void IntegerSequence::encode(DerValue& value) const
{
    QValueList<DerValue> list;
    for (const math::BigInteger& integer : *this) {
        value.setInteger(integer);
        list.append(value);
    }
    value.setSequence(list);
}

void IntegerSequence::decode(const DerValue& value)
{
    if (value.tag != DerValue::Sequence)
        throw VException("IntegerSequence, not a sequence.");
    IntegerSequence integers;
    const QValueList<DerValue> list = value.getList();
    for (const DerValue& element : list)
        integers.append(element.getInteger());
    *this = integers;
}

void IntegerSequences::encode(DerValue& value) const
{
    QValueList<DerValue> list;
    for (const IntegerSequence& sequence : *this) {
        sequence.encode(value);
        list.append(value);
    }
    value.setSequence(list);
}

void IntegerSequences::decode(const DerValue& value)
{
    if (value.tag != DerValue::Sequence)
        throw VException("IntegerSequences, not a sequence.");
    IntegerSequences sequences;
    const QValueList<DerValue> list = value.getList();
    for (const DerValue& element : list) {
        IntegerSequence sequence;
        sequence.decode(element);
        sequences.append(sequence);
    }
    *this = sequences;
}
} // namespace asn

#include "kernel/vnamedobject.h"

#include "security/asnvalue.h"

#include <qbytearray.h>

VNamedObject::VNamedObject(const char* name) : m_name(qstrdup(name)) {}

VNamedObject::VNamedObject(const VNamedObject& other) : VNamedObject(other.name(nullptr)) {}

VNamedObject& VNamedObject::operator=(const VNamedObject& other)
{
    m_name.reset(qstrdup(other.name(nullptr)));
    return *this;
}

VNamedObject::~VNamedObject() = default;

void VNamedObject::setName(const char* name)
{
    m_name.reset(qstrdup(name)); // the copy comes first: it may be of the old name
}

QDataStream& VNamedObject::read(QDataStream& stream)
{
    asn::DerValue value;
    value.decode(stream);
    if (value.tag == asn::DerValue::PrintableString) {
        const QCString text = value.getPrintableString();
        setName(text.isNull() ? "" : text.data());
    }
    return stream;
}

QDataStream& VNamedObject::write(QDataStream& stream) const
{
    asn::DerValue(QCString(name(nullptr))).encode(stream);
    return stream;
}

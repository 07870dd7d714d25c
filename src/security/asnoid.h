#pragma once

#include "math/msbarray.h"
#include "toolkit/qcstring.h"

namespace asn
{
/// An object identifier, as the content octets that stand for it in DER.
class ZYL_EXPORT ObjectIdentifier : public math::MSBArray
{
public:
    ObjectIdentifier() = default;
    ObjectIdentifier(const math::MSBArray& octets) : math::MSBArray(octets) {}
    /// The identifier of a text as `setString` reads it; empty where it fails.
    explicit ObjectIdentifier(const char* text);

    /// Reads components of decimal digits with "." or " " between them: two at least, the first 0,
    /// 1 or 2, the second below 40 after 0 and 1. Returns how many octets the identifier takes, or
    /// 0 when the text is none; `store` writes as many of them as the array holds, and never makes
    /// it larger.
    unsigned setString(const char* text, bool store = true);

    /// The dotted form. Of a first octet group of more than one octet (arc 2 with a second
    /// component above 47) the groups are not shifted but joined by OR, so that 2.999 reads "1.23".
    /// A cut last component is left out.
    QCString toString() const;
};
} // namespace asn

// Object identifiers: the input as a text, and as octets.

#include "support.h"

#include "security/asnoid.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using asn::ObjectIdentifier;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const ObjectIdentifier fromText(text.c_str());
    fuzz::require(fromText.size() <= size);
    if (!fromText.isEmpty())
        fuzz::require(fromText.toString().contains('.') > 0);

    // Octets whose first group is one octet read back, but for groups with leading zeros.
    const ObjectIdentifier octets = math::MSBArray(text.data(), unsigned(size));
    const QCString shown = octets.toString();
    const ObjectIdentifier again(shown.data());
    fuzz::require(again.isEmpty() || again.toString() == shown);
    return 0;
}

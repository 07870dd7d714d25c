#pragma once

#include "toolkit/zylexport.h"

#include <memory>

class QDataStream;

/// A base for what has a name, which may be null.
class ZYL_EXPORT VNamedObject
{
public:
    /// Copies the name.
    explicit VNamedObject(const char* name = nullptr);
    VNamedObject(const VNamedObject& other);
    VNamedObject& operator=(const VNamedObject& other);
    virtual ~VNamedObject();

    virtual void setName(const char* name);

    /// The stream form is a DER printable string. A null name is written as an empty one, and an
    /// empty one is read as "". Anything else in the stream leaves the name as it is.
    virtual QDataStream& read(QDataStream& stream);
    virtual QDataStream& write(QDataStream& stream) const;

    /// "unnamed" for a null name.
    const char* name() const { return name("unnamed"); }
    const char* name(const char* defaultName) const { return m_name ? m_name.get() : defaultName; }

private:
    std::unique_ptr<char[]> m_name;
};

#pragma once

#include "action/action.h"

#include <qbytearray.h>
#include <qstringlist.h>

#include <vector>

namespace action
{
/// Tells receivers the time that passed, as it comes; the sum is their own business.
class ZYL_EXPORT ElapsedTime : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    bool evaluate(int key, double value) override;

private:
    static VMetaObject* metaObj;
};

/// Sends values as text.
///
/// Each key has a format, as printf has them: text with at most one real number, %e, %f or %g, with
/// a width and a precision of up to 99. Where there is no format, or another one, it is "%g".
class ZYL_EXPORT TextAction : public Action
{
public:
    static VMetaObject* staticMetaObject();
    VMetaObject* metaObject() const override;

    using Action::read;
    using Action::write;

    const QStringList& formats() const { return m_formats; }
    void setFormats(const QStringList& formats);

    bool evaluate(int key, double value) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

private:
    struct Meta;
    static VMetaObject* metaObj;

    QStringList m_formats;
    std::vector<QByteArray> m_checkedFormats;
};
} // namespace action

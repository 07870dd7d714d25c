#include "support/warnings.h"

#include <ostream>

namespace
{
WarningCatcher* innermost = nullptr;
}

WarningCatcher::WarningCatcher() : m_outer(innermost), m_previous(qInstallMessageHandler(&handle))
{
    innermost = this;
}

WarningCatcher::~WarningCatcher()
{
    innermost = m_outer;
    qInstallMessageHandler(m_previous);
}

QStringList WarningCatcher::take()
{
    QStringList texts;
    texts.swap(m_texts);
    return texts;
}

void WarningCatcher::handle(QtMsgType, const QMessageLogContext&, const QString& text)
{
    innermost->m_texts.append(text);
}

void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toLocal8Bit().constData() << '"';
}

#pragma once

#include <qlogging.h>
#include <qstringlist.h>

/// Collects the messages of its block instead of printing them, oldest first, whatever their type. Tests compare whole texts.
class WarningCatcher
{
public:
    WarningCatcher();
    ~WarningCatcher();
    WarningCatcher(const WarningCatcher&) = delete;
    WarningCatcher& operator=(const WarningCatcher&) = delete;

    /// All texts so far, and forgets them.
    QStringList take();

    /// The only text, or all of them joined by " | ".
    QString text() { return take().join(QLatin1String(" | ")); }
    bool isEmpty() const { return m_texts.isEmpty(); }

private:
    static void handle(QtMsgType, const QMessageLogContext&, const QString& text);

    QStringList m_texts;
    WarningCatcher* m_outer;
    QtMessageHandler m_previous;
};

/// Lets a failed comparison of texts print them.
void PrintTo(const QString& text, std::ostream* out);

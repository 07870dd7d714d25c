#include "kernel/vconnect.h"

#include <qlogging.h>

void VScopedConnection::disconnect()
{
    if (m_call.get())
        VObject::disconnectCall(m_call.get());
    release();
}

void VScopedConnection::connect(const VObject* sender, const VMetaObject* senderClass,
                                const std::type_info& type, const void* signal,
                                const VObject* receiver, VConnectedCall* call)
{
    m_call = VConnectedCallHold(call);
    if (!sender || !receiver) {
        qWarning("VScopedConnection: Cannot connect %s to %s",
                 sender ? sender->className() : "(null)",
                 receiver ? receiver->className() : "(null)");
        return;
    }
    for (int row = 0; const VMetaData* data = senderClass->signal(row); ++row) {
        if (!data->isMember || !data->isMember(type, signal))
            continue;
        VObject::connectCall(sender, senderClass->signalOffset() + row, receiver, call);
        return;
    }
    qWarning("VScopedConnection: The function is not a signal of %s", senderClass->className());
}

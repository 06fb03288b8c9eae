#pragma once

#include <QMessageLogContext>
#include <QString>

/// The process-wide message handler: one flushed line per message on standard output, and in the
/// kept log where there is one.
/// Reentrant; called on whichever thread logs. A type that Qt does not define writes nothing, and
/// a standard output that is gone is not reported: there is nowhere left to report it to.
void corvaneLogger(QtMsgType type, const QMessageLogContext& context, const QString& message);

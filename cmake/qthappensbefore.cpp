// Linked into every program of the tsan preset. Debian's Qt is not instrumented, so the sanitizer
// cannot see that a queued signal is delivered after it was emitted, and would report all that
// crosses threads with it. This tells it exactly that, emitter by emitter, and nothing more:
// a field shared in any other way is still reported.

#include <QtCore/private/qobject_p.h>

#include <QCoreApplication>
#include <QEvent>

extern "C" {
void __tsan_acquire(void* address); // NOLINT(bugprone-reserved-identifier)
void __tsan_release(void* address); // NOLINT(bugprone-reserved-identifier)
}

namespace {

void emitted(QObject* sender, int /*signal*/, void** /*arguments*/)
{
    __tsan_release(sender);
}

/// arguments: receiver, event, result (QInternal::EventNotifyCallback).
bool delivered(void** arguments)
{
    auto* const event = static_cast<QEvent*>(arguments[1]);
    if (event->type() == QEvent::MetaCall) {
        const QObject* const sender = static_cast<QAbstractMetaCallEvent*>(event)->sender();
        __tsan_acquire(const_cast<QObject*>(sender)); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
    return false;
}

const bool installed = [] {
    static QSignalSpyCallbackSet callbacks{&emitted, nullptr, nullptr, nullptr};
    qt_register_signal_spy_callbacks(&callbacks);
    return QInternal::registerCallback(QInternal::EventNotifyCallback, &delivered);
}();

} // namespace

// Linked into every program of the tsan preset. Debian's Qt is not instrumented, so the sanitizer
// cannot see that a queued signal is delivered after it was emitted, and would report all that
// crosses threads with it. This tells it exactly that, emitter by emitter, and nothing more:
// a field shared in any other way is still reported.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QThread>
#include <QtCore/private/qobject_p.h>

#include <dlfcn.h>

// The sanitizer's own names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}
// NOLINTEND(bugprone-reserved-identifier)

// Stands before Qt's own, which cannot be seen to wait: a thread's last act is to emit finished().
bool waitForThread(QThread* thread,
                   QDeadlineTimer deadline) asm("_ZN7QThread4waitE14QDeadlineTimer");
bool waitForThread(QThread* thread, QDeadlineTimer deadline)
{
    static const auto wait_of_qt = reinterpret_cast<bool (*)(QThread*, QDeadlineTimer)>(
        ::dlsym(RTLD_NEXT, "_ZN7QThread4waitE14QDeadlineTimer"));
    const bool finished = wait_of_qt(thread, deadline);
    if (finished)
        __tsan_acquire(thread);
    return finished;
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
        __tsan_acquire(const_cast<QObject*>(sender));
    }
    return false;
}

const bool installed = [] {
    static QSignalSpyCallbackSet callbacks{&emitted, nullptr, nullptr, nullptr};
    qt_register_signal_spy_callbacks(&callbacks);
    return QInternal::registerCallback(QInternal::EventNotifyCallback, &delivered);
}();

} // namespace

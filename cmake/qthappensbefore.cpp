// Linked into every program of the tsan preset. Debian's Qt is not instrumented, so the sanitizer
// cannot see that a queued signal is delivered after it was emitted, or a function run after it was
// handed to an object's thread, and would report all that crosses threads with it. This tells it
// exactly that, emitter by emitter and object by object, and nothing more: a field shared in any
// other way is still reported.

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

// Stands before Qt's own too, which makes an event without a sender of the function.
bool invokeOn(QObject* object, QtPrivate::QSlotObjectBase* function, Qt::ConnectionType type,
              void* result) asm("_ZN11QMetaObject16invokeMethodImplEP7QObject"
                                "PN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
bool invokeOn(QObject* object, QtPrivate::QSlotObjectBase* function, Qt::ConnectionType type,
              void* result)
{
    static const auto invoke_of_qt = reinterpret_cast<decltype(&invokeOn)>(
        ::dlsym(RTLD_NEXT, "_ZN11QMetaObject16invokeMethodImplEP7QObject"
                           "PN9QtPrivate15QSlotObjectBaseEN2Qt14Connectio"
                           "nTypeEPv"));
    __tsan_release(object);
    return invoke_of_qt(object, function, type, result);
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
        __tsan_acquire(sender != nullptr ? const_cast<QObject*>(sender) : arguments[0]);
    }
    return false;
}

const bool installed = [] {
    static QSignalSpyCallbackSet callbacks{&emitted, nullptr, nullptr, nullptr};
    qt_register_signal_spy_callbacks(&callbacks);
    return QInternal::registerCallback(QInternal::EventNotifyCallback, &delivered);
}();

} // namespace

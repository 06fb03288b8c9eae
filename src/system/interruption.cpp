#include "system/interruption.h"

#include <sys/eventfd.h>

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace {

std::atomic<int> event_fd{-1};

void noteSignal(int /*signal*/)
{
    const quint64 one = 1;
    // Nothing can be done in a handler about a write that fails; the next signal kills.
    [[maybe_unused]] const ssize_t written = ::write(event_fd, &one, sizeof one);
}

} // namespace

Interruption::Interruption()
    : m_event(::eventfd(0, EFD_CLOEXEC))
    , m_notifier(std::make_unique<QSocketNotifier>(m_event.get(), QSocketNotifier::Read))
{
    event_fd = m_event.get();
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        m_notifier->setEnabled(false);
        emit requested();
    });
}
